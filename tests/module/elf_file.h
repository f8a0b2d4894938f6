// What the dynamic loader reads of a module of this machine's own word size.
#pragma once

#include <link.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

struct DynamicSymbol {
    std::string name;
    unsigned binding; ///< STB_...
    bool defined;
};

class ElfFile {
public:
    explicit ElfFile(const std::string &path) {
        std::FILE *file = std::fopen(path.c_str(), "rb");
        if (file == nullptr)
            std::abort();
        unsigned char piece[65536];
        for (std::size_t n; (n = std::fread(piece, 1, sizeof piece, file)) != 0;)
            bytes.insert(bytes.end(), piece, piece + n);
        std::fclose(file);
        header = At<ElfW(Ehdr)>(0);
    }

    std::vector<DynamicSymbol> DynamicSymbols() const {
        std::vector<DynamicSymbol> symbols;
        const ElfW(Shdr) table = Section(SHT_DYNSYM);
        const ElfW(Shdr) names = SectionAt(table.sh_link);
        for (std::size_t i = 1; i < table.sh_size / sizeof(ElfW(Sym)); ++i) {
            const auto symbol = At<ElfW(Sym)>(table.sh_offset + i * sizeof(ElfW(Sym)));
            // The binding is in the upper half of the byte, in both word sizes.
            symbols.push_back({Text(names.sh_offset + symbol.st_name),
                               static_cast<unsigned>(symbol.st_info) >> 4,
                               symbol.st_shndx != SHN_UNDEF});
        }
        return symbols;
    }

    /// The values of one tag of the dynamic section.
    std::vector<unsigned long> Dynamic(long tag) const {
        std::vector<unsigned long> values;
        const ElfW(Shdr) section = Section(SHT_DYNAMIC);
        for (std::size_t i = 0; i < section.sh_size / sizeof(ElfW(Dyn)); ++i) {
            const auto entry = At<ElfW(Dyn)>(section.sh_offset + i * sizeof(ElfW(Dyn)));
            if (static_cast<long>(entry.d_tag) == tag)
                values.push_back(entry.d_un.d_val);
        }
        return values;
    }

    /// The libraries that the loader must find before.
    std::vector<std::string> Needed() const {
        std::vector<std::string> names;
        const ElfW(Shdr) texts = SectionAt(Section(SHT_DYNAMIC).sh_link);
        for (const unsigned long offset : Dynamic(DT_NEEDED))
            names.push_back(Text(texts.sh_offset + offset));
        return names;
    }

    /// The flags of the first segment of a type; -1 when there is none.
    int SegmentFlags(unsigned type) const {
        for (unsigned i = 0; i < header.e_phnum; ++i) {
            const auto segment = At<ElfW(Phdr)>(header.e_phoff + i * sizeof(ElfW(Phdr)));
            if (segment.p_type == type)
                return static_cast<int>(segment.p_flags);
        }
        return -1;
    }

private:
    template <typename Record> Record At(std::size_t offset) const {
        Record record;
        if (offset + sizeof record > bytes.size())
            std::abort();
        std::memcpy(&record, bytes.data() + offset, sizeof record);
        return record;
    }

    std::string Text(std::size_t offset) const {
        return reinterpret_cast<const char *>(bytes.data() + offset);
    }

    ElfW(Shdr) SectionAt(unsigned index) const {
        return At<ElfW(Shdr)>(header.e_shoff + index * sizeof(ElfW(Shdr)));
    }

    ElfW(Shdr) Section(unsigned type) const {
        for (unsigned i = 0; i < header.e_shnum; ++i)
            if (SectionAt(i).sh_type == type)
                return SectionAt(i);
        std::abort();
    }

    std::vector<unsigned char> bytes;
    ElfW(Ehdr) header;
};
