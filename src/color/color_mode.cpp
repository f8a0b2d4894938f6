#include "color/color_mode.h"

#include "platform/text.h"

#include <cstddef>

namespace kowen {
namespace {

constexpr int32_t kGreyTolerance = 10;
constexpr size_t kColorBytes = 3;

uint8_t Inverted(uint8_t channel) noexcept {
    return static_cast<uint8_t>(255 - channel);
}

bool IsGrey(const uint8_t *color) noexcept {
    return feqi(color[0], color[1], kGreyTolerance) && feqi(color[1], color[2], kGreyTolerance) &&
           feqi(color[0], color[2], kGreyTolerance);
}

void Invert(uint8_t *bytes, size_t count) noexcept {
    for (size_t i = 0; i < count; ++i)
        bytes[i] = Inverted(bytes[i]);
}

void InvertGreys(uint8_t *colors, size_t bytes) noexcept {
    for (size_t i = 0; i < bytes; i += kColorBytes)
        if (IsGrey(colors + i))
            Invert(colors + i, kColorBytes);
}

// The greys are inverted with 255 as flip; 0 leaves them.
void TurnGrey(uint8_t *colors, size_t bytes, uint8_t flip) noexcept {
    for (size_t i = 0; i < bytes; i += kColorBytes) {
        const auto grey = static_cast<uint8_t>(GreyOf(colors + i) ^ flip);
        colors[i] = colors[i + 1] = colors[i + 2] = grey;
    }
}

} // namespace

void rev_rgb(int32_t count, uint8_t *colors, int32_t mode) noexcept {
    const size_t bytes = count > 0 ? kColorBytes * static_cast<size_t>(count) : 0;
    switch (mode) {
    case kModeInverted:
        return Invert(colors, bytes);
    case kModeGreysInverted:
        return InvertGreys(colors, bytes);
    case kModeGreyScale:
        return TurnGrey(colors, bytes, 0);
    case kModeGreyScaleInverted:
        return TurnGrey(colors, bytes, 255);
    default:
        return;
    }
}

} // namespace kowen
