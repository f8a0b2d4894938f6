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

constexpr uint32_t kXResolutionTag = 0x011A;
constexpr uint32_t kYResolutionTag = 0x011B;
constexpr uint32_t kUnitTag = 0x0128;
constexpr uint32_t kRational = 5;
constexpr uint32_t kInch = 2;
constexpr uint32_t kCentimetre = 3;
constexpr double kCentimetresPerInch = 2.54;

std::span<const uint8_t> WithoutPrefix(std::span<const uint8_t> exif) {
    const bool prefixed =
        exif.size() >= sizeof kPrefix && std::equal(kPrefix, kPrefix + sizeof kPrefix, exif.data());
    return prefixed ? exif.subspan(sizeof kPrefix) : exif;
}

double Rational(const TiffStructure &tiff, uint32_t tag) {
    const size_t entry = tiff.Find(tiff.First(), tag);
    if (entry == 0 || tiff.Short(entry + kTypeAt) != kRational)
        return 0;
    const size_t at = tiff.Long(entry + kValueAt);
    const uint32_t divisor = tiff.Long(at + 4);
    return divisor == 0 ? 0 : tiff.Long(at) / static_cast<double>(divisor);
}

} // namespace

uint32_t ExifOrientation(std::span<const uint8_t> exif) {
    const TiffStructure tiff(WithoutPrefix(exif));
    const size_t entry = tiff.Valid() ? tiff.Find(tiff.First(), kOrientationTag) : 0;
    if (entry == 0)
        return kUpright;
    const bool isLong = tiff.Short(entry + kTypeAt) == kLong;
    const uint32_t value = isLong ? tiff.Long(entry + kValueAt) : tiff.Short(entry + kValueAt);
    return value >= kUpright && value <= kLastOrientation ? value : kUpright;
}

// Without a unit it is the inch.
ExifDpi ExifResolution(std::span<const uint8_t> exif) {
    const TiffStructure tiff(WithoutPrefix(exif));
    if (!tiff.Valid())
        return {};
    const size_t entry = tiff.Find(tiff.First(), kUnitTag);
    const uint32_t unit = entry == 0 ? kInch : tiff.Short(entry + kValueAt);
    const double perInch = unit == kInch ? 1 : unit == kCentimetre ? kCentimetresPerInch : 0;
    const ExifDpi dpi = {Rational(tiff, kXResolutionTag) * perInch,
                         Rational(tiff, kYResolutionTag) * perInch};
    return dpi.x > 0 && dpi.y > 0 ? dpi : ExifDpi{};
}

void TakeExif(PictureFacts *facts) {
    facts->orientation = ExifOrientation(facts->exif);
    if (facts->xDpi > 0)
        return;
    const ExifDpi dpi = ExifResolution(facts->exif);
    facts->xDpi = dpi.x;
    facts->yDpi = dpi.y;
}

} // namespace kowen::cli
