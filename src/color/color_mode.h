// The colour-mode transform: colours unchanged, inverted or turned grey.
#pragma once

#include <cstdint>

namespace kowen {

/// Modes of rev_rgb, in the order of the setup's colour modes 103 to 107.
enum : int32_t {
    kModeUnchanged = 0,
    kModeInverted = 1,
    kModeGreysInverted = 2,
    kModeGreyScale = 3,
    kModeGreyScaleInverted = 4
};

/// Transforms count colours of 3 bytes red, green, blue in place; with a count below 1 nothing is
/// touched, and colours may be null.
///
/// kModeInverted           each channel c becomes 255 - c.
/// kModeGreysInverted      the same, for colours whose channels differ by at most 10 only.
/// kModeGreyScale          every channel becomes (3 red + 6 green + blue) / 10.
/// kModeGreyScaleInverted  every channel becomes 255 minus that.
/// Every other mode leaves the colours as they are.
void rev_rgb(int32_t count, uint8_t *colours, int32_t mode) noexcept;

} // namespace kowen
