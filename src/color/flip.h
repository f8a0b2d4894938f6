// Mirroring in place.
//
// Not on the export path.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

/// Mirrors a bitmap in place: horizontal exchanges left and right, vertical top and bottom; 0 is
/// no, all else yes.
///
/// bitmap         padded rows, the last one's padding included; stays the caller's.
/// depth          bits per pixel.
/// width, height  pixels.
///
/// Returns bitmap, or 0 when its block is too small for its size: nothing is changed then.
///
/// Kept deliberately: pixel x trades places with pixel width - x, so that the first pixel goes
/// just past the row's end (into the padding or the next row) and the last one stays.
/// Test: RlFlipBitmap.TheFirstPixelTradesWithTheOnePastTheEnd.
/// Kept deliberately: the middle row of an odd height is mirrored twice, so it stays.
/// Test: RlFlipBitmap.TheMiddleRowIsMirroredTwice.
/// Hardened: an exchange that would reach past the block is left out.
/// Test: RlFlipBitmap.AnExchangeThatReachesPastTheBlockIsLeftOut.
MemoryHandle rlFlipBitmap(MemoryHandle bitmap, uint16_t depth, uint32_t width, uint32_t height,
                          int32_t horizontal, int32_t vertical) noexcept;

} // namespace kowen
