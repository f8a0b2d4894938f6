#include "color/color_mode.h"

#include "platform/text.h"

#include <cstddef>

namespace kowen {
namespace {

constexpr int32_t kGreyTolerance = 10;

uint8_t Inverted(unsigned channel) noexcept {
    return static_cast<uint8_t>(255 - channel);
}

// At most 255: (3 + 6 + 1) x 255 / 10.
uint8_t GreyOf(const uint8_t *color) noexcept {
    return static_cast<uint8_t>((3u * color[0] + 6u * color[1] + color[2]) / 10);
}

bool IsGrey(const uint8_t *color) noexcept {
    return feqi(color[0], color[1], kGreyTolerance) && feqi(color[1], color[2], kGreyTolerance) &&
           feqi(color[0], color[2], kGreyTolerance);
}

void Invert(uint8_t *color) noexcept {
    for (int channel = 0; channel < 3; ++channel)
        color[channel] = Inverted(color[channel]);
}

void SetGrey(uint8_t *color, uint8_t grey) noexcept {
    color[0] = color[1] = color[2] = grey;
}

} // namespace

void rev_rgb(int32_t count, uint8_t *colors, int32_t mode) noexcept {
    for (int32_t i = 0; i < count; ++i) {
        uint8_t *color = colors + size_t{3} * static_cast<size_t>(i);
        if (mode == kModeInverted || (mode == kModeGreysInverted && IsGrey(color)))
            Invert(color);
        else if (mode == kModeGreyScale)
            SetGrey(color, GreyOf(color));
        else if (mode == kModeGreyScaleInverted)
            SetGrey(color, Inverted(GreyOf(color)));
    }
}

} // namespace kowen
