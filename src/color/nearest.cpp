#include "color/nearest.h"

#include "platform/text.h"

#include <cstddef>

namespace kowen {
namespace {

constexpr int32_t kGreyTolerance = 4;
constexpr uint32_t kFarthest = 0x7FFFFFFF;

bool IsGreyEntry(const uint8_t *entry) noexcept {
    return entry[0] == entry[1] && entry[1] == entry[2];
}

bool IsGreyRequest(int32_t red, int32_t green, int32_t blue) noexcept {
    return feqi(red, green, kGreyTolerance) && feqi(green, blue, kGreyTolerance) &&
           feqi(red, blue, kGreyTolerance);
}

// Unsigned all through, so that no argument overflows.
uint32_t Square(int32_t a, uint8_t b) noexcept {
    const uint32_t difference = static_cast<uint32_t>(a) - b;
    return difference * difference;
}

} // namespace

int32_t rlNearestRGBIndex(int32_t red, int32_t green, int32_t blue, const uint8_t *table,
                          uint32_t size) noexcept {
    const bool grey = IsGreyRequest(red, green, blue);
    uint32_t best = kFarthest;
    uint32_t index = 0;
    for (uint32_t i = 0; i < size && best != 0; ++i) {
        const uint8_t *entry = table + size_t{i} * 3;
        if (IsGreyEntry(entry) != grey)
            continue;
        const uint32_t distance =
            Square(red, entry[0]) + Square(green, entry[1]) + Square(blue, entry[2]);
        if (distance < best) {
            best = distance;
            index = i;
        }
    }
    return static_cast<int32_t>(index);
}

} // namespace kowen
