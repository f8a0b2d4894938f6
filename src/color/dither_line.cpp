#include "color/dither.h"
#include "color/nearest.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace kowen {
namespace {

constexpr size_t kPixelBytes = 3;

constexpr uint8_t kBlack[kPixelBytes] = {0, 0, 0};

const uint8_t *EntryOf(const uint8_t *table, uint16_t count, uint32_t index) noexcept {
    return index < count ? table + index * kPixelBytes : kBlack;
}

void Add(uint8_t *channel, int amount) noexcept {
    *channel = static_cast<uint8_t>(std::clamp(*channel + amount, 0, 255));
}

// Hands the error of one channel on: 7/16 to the right, and 5/16, 3/16 and 1/16 to below, below
// left and below right, in integers: s = 7 error / 16 and q = error / 8, truncated toward zero.
//
// right  the channel of the pixel to the right
// below  and of the one below, or null; hasLeft says whether one is to the left of that.
void SpreadError(int error, uint8_t *right, uint8_t *below, bool hasLeft) noexcept {
    const int s = 7 * error / 16;
    const int q = error / 8;
    Add(right, s);
    if (below == nullptr)
        return;
    Add(below, s - q);
    if (hasLeft)
        Add(below - kPixelBytes, s - 2 * q);
    Add(below + kPixelBytes, s - 3 * q);
}

} // namespace

void _rlDitherOneLine(uint8_t *current, uint8_t *next, const uint8_t *table, uint32_t width,
                      uint16_t count) noexcept {
    if (width == 0)
        return;
    const uint8_t *chosen = EntryOf(table, count, 0);
    for (size_t at = 0; at < (width - 1) * kPixelBytes; at += kPixelBytes) {
        uint8_t *pixel = current + at;
        const int32_t index = rlNearestRGBIndex(pixel[0], pixel[1], pixel[2], table, count);
        chosen = EntryOf(table, count, static_cast<uint32_t>(index));
        for (size_t c = 0; c < kPixelBytes; ++c)
            SpreadError(pixel[c] - chosen[c], pixel + kPixelBytes + c,
                        next != nullptr ? next + at + c : nullptr, at > 0);
        std::memcpy(pixel, chosen, kPixelBytes);
    }
    std::memcpy(current + (width - 1) * kPixelBytes, chosen, kPixelBytes);
}

} // namespace kowen
