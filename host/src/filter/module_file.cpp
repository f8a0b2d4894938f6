#include "filter/module_file.h"

#include "base/descriptor.h"
#include "base/failure.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kowen::host {
namespace {

constexpr unsigned char kOwnClass = sizeof(void *) == 8 ? ELFCLASS64 : ELFCLASS32;

[[noreturn]] void Fail(const std::string &path, const std::string &reason) {
    throw Failure(KOWEN_HOST_ERR_MODULE, "cannot load the module " + path + ": " + reason);
}

/// A module's file, open.
class ModuleFile {
public:
    explicit ModuleFile(const std::string &modulePath)
        : path(modulePath), file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
        struct stat status = {};
        if (!file.Open() || fstat(file.Get(), &status) != 0)
            FailWith(KOWEN_HOST_ERR_MODULE, "cannot load the module " + path, errno);
        if (!S_ISREG(status.st_mode))
            Fail(path, "it is no file");
        size = static_cast<uint64_t>(status.st_size);
    }

    // A record that must be there.
    template <typename Record> Record At(uint64_t offset) const {
        Record record;
        Require(offset, sizeof record);
        if (pread(file.Get(), &record, sizeof record, static_cast<off_t>(offset)) !=
            static_cast<ssize_t>(sizeof record))
            FailWith(KOWEN_HOST_ERR_MODULE, "cannot read the module " + path, errno);
        return record;
    }

    void Require(uint64_t offset, uint64_t bytes) const {
        if (offset > size || bytes > size - offset)
            Fail(path,
                 "the file is cut short, at " + std::to_string(size) + " bytes; install it again");
    }

    void RequireOne(bool there) const {
        if (!there)
            Fail(path, "the file is damaged, a part of it is missing; install it again");
    }

    bool IsElf() const {
        using Magic = std::array<char, SELFMAG>;
        return size >= SELFMAG && std::memcmp(At<Magic>(0).data(), ELFMAG, SELFMAG) == 0;
    }

private:
    const std::string &path;
    Descriptor file;
    uint64_t size = 0;
};

void CheckSegments(const ModuleFile &file, const ElfW(Ehdr) & header) {
    for (unsigned i = 0; i < header.e_phnum; ++i) {
        const auto segment = file.At<ElfW(Phdr)>(header.e_phoff + uint64_t{i} * sizeof(ElfW(Phdr)));
        file.Require(segment.p_offset, segment.p_filesz);
        if (segment.p_type == PT_DYNAMIC)
            file.RequireOne(file.At<ElfW(Dyn)>(segment.p_offset).d_tag != DT_NULL);
    }
}

// The table of sections is the end of the file, which a copy that stops early does not reach.
void CheckSections(const ModuleFile &file, const ElfW(Ehdr) & header) {
    if (header.e_shnum == 0 || header.e_shentsize != sizeof(ElfW(Shdr)))
        return;
    file.Require(header.e_shoff, uint64_t{header.e_shnum} * sizeof(ElfW(Shdr)));
    for (unsigned i = 1; i < header.e_shnum; ++i) {
        const auto section = file.At<ElfW(Shdr)>(header.e_shoff + uint64_t{i} * sizeof(ElfW(Shdr)));
        file.RequireOne(section.sh_type != SHT_NULL);
        if (section.sh_type != SHT_NOBITS)
            file.Require(section.sh_offset, section.sh_size);
    }
}

} // namespace

void CheckModuleFile(const std::string &path) {
    const ModuleFile file(path);
    if (!file.IsElf())
        return;
    const auto header = file.At<ElfW(Ehdr)>(0);
    if (header.e_ident[EI_CLASS] != kOwnClass || header.e_phentsize != sizeof(ElfW(Phdr)))
        return;
    CheckSegments(file, header);
    CheckSections(file, header);
}

} // namespace kowen::host
