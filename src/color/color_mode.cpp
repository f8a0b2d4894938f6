#include "color/color_mode.h"

#include "platform/text.h"

#include <cstddef>

namespace kowen {
namespace {

constexpr int32_t kGreyModeTolerance = 10;
constexpr size_t kColourBytes = 3;

uint8_t Inverted(uint8_t channel) noexcept {
    return static_cast<uint8_t>(255 - channel);
}

bool IsGrey(const uint8_t *colour) noexcept {
    return feqi(colour[0], colour[1], kGreyModeTolerance) &&
           feqi(colour[1], colour[2], kGreyModeTolerance) &&
           feqi(colour[0], colour[2], kGreyModeTolerance);
}

void Invert(uint8_t *bytes, size_t count) noexcept {
    for (size_t i = 0; i < count; ++i)
        bytes[i] = Inverted(bytes[i]);
}

void InvertGreys(uint8_t *colours, size_t bytes) noexcept {
    for (size_t i = 0; i < bytes; i += kColourBytes)
        if (IsGrey(colours + i))
            Invert(colours + i, kColourBytes);
}

// Weights of 3, 6 and 1 of 10, at most 255.
uint8_t GreyOf(const uint8_t *colour) noexcept {
    return static_cast<uint8_t>((3u * colour[0] + 6u * colour[1] + colour[2]) / 10);
}

// The greys are inverted with 255 as flip; 0 leaves them.
void TurnGrey(uint8_t *colours, size_t bytes, uint8_t flip) noexcept {
    for (size_t i = 0; i < bytes; i += kColourBytes) {
        const auto grey = static_cast<uint8_t>(GreyOf(colours + i) ^ flip);
        colours[i] = colours[i + 1] = colours[i + 2] = grey;
    }
}

} // namespace

void rev_rgb(int32_t count, uint8_t *colours, int32_t mode) noexcept {
    const size_t bytes = count > 0 ? kColourBytes * static_cast<size_t>(count) : 0;
    switch (mode) {
    case kModeInverted:
        return Invert(colours, bytes);
    case kModeGreysInverted:
        return InvertGreys(colours, bytes);
    case kModeGreyScale:
        return TurnGrey(colours, bytes, 0);
    case kModeGreyScaleInverted:
        return TurnGrey(colours, bytes, 255);
    default:
        return;
    }
}

} // namespace kowen
