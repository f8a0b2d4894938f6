// Shrinking and stretching by dropping and repeating pixels.
//
// No filtering: every pixel of the result is one pixel of the source. Positions are computed in
// doubles from the unsigned sizes and truncated toward zero.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

/// Returns a new bitmap of targetWidth x targetHeight pixels at the same depth, owned by the
/// caller: stretched when targetHeight > height, else shrunk vertically; each row likewise by the
/// widths. Sizes are pixels, bitmap is borrowed. Both functions are the same.
///
/// Returns 0 when memory is exhausted, when the target's size does not fit 32 bits, when the
/// bitmap's block is too small for its size, or when a 16-bit position would wrap (see Shrink and
/// StretchX).
///
/// Kept deliberately: the top row and the left column stay zero where size x (target / size)
/// truncates one short. Test: RlStretchBitmap.TruncationLeavesTheTopRowUnfilled.
MemoryHandle rlShrinkBitmap(MemoryHandle bitmap, uint16_t depth, uint32_t width, uint32_t height,
                            uint32_t targetWidth, uint32_t targetHeight) noexcept;
MemoryHandle rlStretchBitmap(MemoryHandle bitmap, uint16_t depth, uint32_t width, uint32_t height,
                             uint32_t targetWidth, uint32_t targetHeight) noexcept;

/// Resamples whole bitmaps row by row, from the first row (Shrink, targetHeight <= height) or from
/// the last (Stretch, targetHeight > height). Both bitmaps have padded rows; destination is zero.
/// Returns whether it was done.
///
/// Hardened: a Shrink whose row position does not fit 16 bits is not done.
/// Test: Shrink.APositionBeyond16BitsFails.
bool Shrink(const uint8_t *source, uint8_t *destination, uint16_t depth, uint32_t width,
            uint32_t height, uint32_t targetWidth, uint32_t targetHeight) noexcept;
bool Stretch(const uint8_t *source, uint8_t *destination, uint16_t depth, uint32_t width,
             uint32_t height, uint32_t targetWidth, uint32_t targetHeight) noexcept;

/// Resamples rows across, from the left (ShrinkX, targetWidth <= width) or from the right
/// (StretchX, targetWidth > width). Returns whether it was done.
///
/// Kept deliberately: ShrinkX takes the last pixel from the last source pixel, whatever its
/// position. Test: ShrinkX.TheLastPixelComesFromTheLastSourcePixel.
/// Hardened: a StretchX whose position does not fit 16 bits is not done.
/// Test: StretchX.APositionBeyond16BitsFails.
bool ShrinkX(const uint8_t *source, uint8_t *destination, uint16_t depth, uint32_t width,
             uint32_t rows, uint32_t targetWidth) noexcept;
bool StretchX(const uint8_t *source, uint8_t *destination, uint16_t depth, uint32_t width,
              uint32_t rows, uint32_t targetWidth) noexcept;

} // namespace kowen
