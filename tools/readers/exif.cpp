#include "readers/exif.h"

#include "readers/tiff_structure.h"

#include <algorithm>
#include <cstddef>

namespace kowen::cli {
namespace {

constexpr uint8_t kPrefix[] = {'E', 'x', 'i', 'f', 0, 0};
constexpr uint32_t kOrientationTag = 0x0112;
constexpr size_t kTypeAt = 2; // in an entry
constexpr size_t kValueAt = 8;
constexpr uint32_t kLong = 4; // type of four bytes; two are usual
constexpr uint32_t kUpright = 1;
constexpr uint32_t kLastOrientation = 8;

} // namespace

uint32_t ExifOrientation(std::span<const uint8_t> exif) {
    if (exif.size() >= sizeof kPrefix && std::equal(kPrefix, kPrefix + sizeof kPrefix, exif.data()))
        exif = exif.subspan(sizeof kPrefix);
    const TiffStructure tiff(exif);
    const size_t entry = tiff.Valid() ? tiff.Find(tiff.First(), kOrientationTag) : 0;
    if (entry == 0)
        return kUpright;
    const bool isLong = tiff.Short(entry + kTypeAt) == kLong;
    const uint32_t value = isLong ? tiff.Long(entry + kValueAt) : tiff.Short(entry + kValueAt);
    return value >= kUpright && value <= kLastOrientation ? value : kUpright;
}

} // namespace kowen::cli
