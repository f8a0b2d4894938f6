#include "readers/tiff_exif.h"

#include "readers/tiff_structure.h"

#include <algorithm>
#include <iterator>

namespace kowen::cli {
namespace {

constexpr uint32_t kExifDirectory = 0x8769;
constexpr uint32_t kGpsDirectory = 0x8825;
constexpr uint32_t kInteroperability = 0xA005;
// Maker, model, date, artist, copyright.
constexpr uint32_t kOfPicture[] = {0x010F, 0x0110,         0x0132,       0x013B,
                                   0x8298, kExifDirectory, kGpsDirectory};
// Resolution and program, which nearly every TIFF has: not worth EXIF data by themselves.
constexpr uint32_t kOfFile[] = {0x011A, 0x011B, 0x0128, 0x0131};
constexpr size_t kMostBytes = size_t{1} << 20; // far more than a JPEG takes
constexpr size_t kEntryBytes = 12;
constexpr size_t kInline = 4; // bytes of a value that stands in its entry

template <size_t kCount> bool IsOneOf(const uint32_t (&tags)[kCount], uint32_t tag) {
    return std::find(std::begin(tags), std::end(tags), tag) != std::end(tags);
}

bool IsDirectory(uint32_t tag) {
    return tag == kExifDirectory || tag == kGpsDirectory;
}

// Bytes of a value of each type; 0 for types that there are not.
size_t TypeBytes(uint32_t type) {
    constexpr uint8_t kBytes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8};
    return type < sizeof kBytes ? kBytes[type] : 0;
}

class Copy {
public:
    explicit Copy(std::span<const uint8_t> tiffFile)
        : file(tiffFile), tiff(tiffFile), bytes(tiffFile.begin(), tiffFile.begin() + 8) {
        Put(4, 4, 8);
    }

    bool AddFirst() { return AddDirectory(tiff.First(), true) != 0; }
    std::vector<uint8_t> Take() { return std::move(bytes); }

private:
    void Put(size_t at, size_t count, size_t value) {
        for (size_t i = 0; i < count; ++i)
            bytes[tiff.Little() ? at + i : at + count - 1 - i] =
                static_cast<uint8_t>(value >> 8 * i);
    }

    size_t ValueBytes(size_t entry) const {
        return TypeBytes(tiff.Short(entry + 2)) * size_t{tiff.Long(entry + 4)};
    }

    bool Wanted(size_t entry, bool first) const {
        const uint32_t tag = tiff.Short(entry);
        if (entry + kEntryBytes > file.size())
            return false;
        if (first ? !IsOneOf(kOfPicture, tag) && !IsOneOf(kOfFile, tag)
                  : IsDirectory(tag) || tag == kInteroperability)
            return false;
        const size_t size = ValueBytes(entry);
        const size_t at = tiff.Long(entry + 8);
        return size != 0 && size <= kMostBytes &&
               (size <= kInline || (at <= file.size() && size <= file.size() - at));
    }

    // Returns where it lies; 0 when nothing of it is wanted. The directories in it come behind it.
    size_t AddDirectory(size_t source, bool first) {
        std::vector<size_t> entries;
        for (uint32_t i = 0; i < tiff.Entries(source); ++i) {
            if (Wanted(tiff.Entry(source, i), first))
                entries.push_back(tiff.Entry(source, i));
        }
        const bool speaks = std::any_of(entries.begin(), entries.end(), [&](size_t entry) {
            return !first || IsOneOf(kOfPicture, tiff.Short(entry));
        });
        if (!speaks)
            return 0;
        const size_t begin = bytes.size();
        bytes.resize(begin + 2 + entries.size() * kEntryBytes + 4);
        size_t at = begin + 2;
        for (const size_t entry : entries)
            at += AddEntry(at, entry) ? kEntryBytes : 0;
        Put(begin, 2, (at - begin - 2) / kEntryBytes);
        std::fill_n(bytes.begin() + static_cast<ptrdiff_t>(at), 4, uint8_t{0}); // no next one
        return begin;
    }

    bool AddEntry(size_t at, size_t entry) {
        const size_t size = ValueBytes(entry);
        std::copy_n(file.begin() + static_cast<ptrdiff_t>(entry), kEntryBytes,
                    bytes.begin() + static_cast<ptrdiff_t>(at));
        if (IsDirectory(tiff.Short(entry))) {
            const size_t place = AddDirectory(tiff.Long(entry + 8), false);
            Put(at + 8, 4, place);
            return place != 0;
        }
        if (size <= kInline)
            return true;
        if (bytes.size() + size > kMostBytes)
            return false;
        bytes.resize(bytes.size() + bytes.size() % 2);
        Put(at + 8, 4, bytes.size());
        const auto value = file.begin() + static_cast<ptrdiff_t>(tiff.Long(entry + 8));
        bytes.insert(bytes.end(), value, value + static_cast<ptrdiff_t>(size));
        return true;
    }

    std::span<const uint8_t> file;
    TiffStructure tiff;
    std::vector<uint8_t> bytes;
};

} // namespace

std::vector<uint8_t> ExifOfTiff(std::span<const uint8_t> file) {
    if (file.size() < 8 || !TiffStructure(file).Valid())
        return {};
    Copy copy(file);
    return copy.AddFirst() ? copy.Take() : std::vector<uint8_t>();
}

} // namespace kowen::cli
