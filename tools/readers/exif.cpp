#include "readers/exif.h"

#include <algorithm>
#include <cstddef>

namespace kowen::cli {
namespace {

constexpr uint8_t kPrefix[] = {'E', 'x', 'i', 'f', 0, 0};
constexpr uint32_t kOrientationTag = 0x0112;
constexpr size_t kEntryBytes = 12;
constexpr size_t kTypeAt = 2; // in an entry
constexpr size_t kValueAt = 8;
constexpr uint32_t kLong = 4; // type of four bytes; two are usual
constexpr uint32_t kUpright = 1;
constexpr uint32_t kLastOrientation = 8;

// Numbers of a TIFF structure; what lies behind its end is 0.
class Tiff {
public:
    explicit Tiff(std::span<const uint8_t> data) : bytes(data), little(At(0) == 'I') {}

    uint32_t Short(size_t at) const {
        return little ? At(at) | At(at + 1) << 8 : At(at) << 8 | At(at + 1);
    }

    uint32_t Long(size_t at) const {
        return little ? Short(at) | Short(at + 2) << 16 : Short(at) << 16 | Short(at + 2);
    }

private:
    uint32_t At(size_t at) const { return at < bytes.size() ? bytes[at] : 0; }

    std::span<const uint8_t> bytes;
    bool little;
};

} // namespace

uint32_t ExifOrientation(std::span<const uint8_t> exif) {
    if (exif.size() >= sizeof kPrefix && std::equal(kPrefix, kPrefix + sizeof kPrefix, exif.data()))
        exif = exif.subspan(sizeof kPrefix);
    const Tiff tiff(exif);
    if (tiff.Short(2) != 42)
        return kUpright;
    const size_t directory = tiff.Long(4);
    const uint32_t entries = tiff.Short(directory);
    for (uint32_t i = 0; i < entries; ++i) {
        const size_t entry = directory + 2 + i * kEntryBytes;
        if (entry >= exif.size())
            break;
        if (tiff.Short(entry) != kOrientationTag)
            continue;
        const bool isLong = tiff.Short(entry + kTypeAt) == kLong;
        const uint32_t value = isLong ? tiff.Long(entry + kValueAt) : tiff.Short(entry + kValueAt);
        return value >= kUpright && value <= kLastOrientation ? value : kUpright;
    }
    return kUpright;
}

} // namespace kowen::cli
