// Bitmaps of four bytes a pixel, changed in place.
//
// Sizes are pixels; rows of 32 bits have no padding. The block stays the caller's; handle 0 has no
// pixels.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

/// Each of the first three bytes becomes 255 minus itself and the fourth 0.
///
/// Not on the export path: no usable colour format asks for four printing colours.
///
/// Hardened: pixels beyond the block's end are left out.
/// Test: RlRGB4toCMYK.PixelsBeyondTheBlockAreLeftOut.
void rlRGB4toCMYK(MemoryHandle bits, uint32_t width, uint32_t height) noexcept;

/// Converts pixels C, M, Y, K to red, green, blue: 255 - max(C, K) and so on.
///
/// Hardened: pixels beyond the block's end are left out.
/// Test: RlCMYKtoRGB.PixelsBeyondTheBlockAreLeftOut.
///
/// Kept deliberately: the result is packed from the start of the block, 3 bytes a pixel, without
/// padding of rows. Test: RlCMYKtoRGB.RowsAreNotPadded.
void rlCMYKtoRGB(MemoryHandle bits, uint32_t width, uint32_t height) noexcept;

/// Drops the fourth byte; the result is packed as that of rlCMYKtoRGB.
///
/// Hardened: pixels beyond the block's end are left out.
/// Test: RlALPHAtoRGB.PixelsBeyondTheBlockAreLeftOut.
void rlALPHAtoRGB(MemoryHandle bits, uint32_t width, uint32_t height) noexcept;

} // namespace kowen
