// A TIFF structure, as TIFF files and EXIF data are. Whatever is read of it is checked.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace kowen::cli {

/// Numbers and directories. What lies behind the end is 0.
class TiffStructure {
public:
    explicit TiffStructure(std::span<const uint8_t> data) : bytes(data), little(At(0) == 'I') {}

    bool Valid() const { return Short(2) == 42; }
    bool Little() const { return little; }
    size_t Size() const { return bytes.size(); }

    uint32_t Short(size_t at) const {
        return little ? At(at) | At(at + 1) << 8 : At(at) << 8 | At(at + 1);
    }

    uint32_t Long(size_t at) const {
        return little ? Short(at) | Short(at + 2) << 16 : Short(at) << 16 | Short(at + 2);
    }

    size_t First() const { return Long(4); }
    size_t Next(size_t directory) const { return Long(directory + 2 + Entries(directory) * 12); }

    /// Entries of a directory that lie in the data at least in part.
    uint32_t Entries(size_t directory) const {
        const uint32_t said = Short(directory);
        const size_t room = directory < bytes.size() ? (bytes.size() - directory) / 12 + 1 : 0;
        return said < room ? said : static_cast<uint32_t>(room);
    }

    size_t Entry(size_t directory, uint32_t number) const {
        return directory + 2 + size_t{number} * 12;
    }

    /// Where the entry of a tag is; 0 when there is none. Of an entry the tag is at 0, the type at
    /// 2, the count at 4, the value or its place at 8.
    size_t Find(size_t directory, uint32_t tag) const {
        for (uint32_t i = 0; i < Entries(directory); ++i) {
            if (Short(Entry(directory, i)) == tag)
                return Entry(directory, i);
        }
        return 0;
    }

private:
    uint32_t At(size_t at) const { return at < bytes.size() ? bytes[at] : 0; }

    std::span<const uint8_t> bytes;
    bool little;
};

} // namespace kowen::cli
