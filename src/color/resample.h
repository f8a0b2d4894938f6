// Shrinking and stretching by dropping and repeating pixels.
//
// No filtering: every pixel of the result is one pixel of the source. Positions are computed in
// doubles from the unsigned sizes and truncated toward zero. Sizes are pixels, depths bits per
// pixel (pixel.h).
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

/// Returns a new bitmap of targetWidth x targetHeight pixels at the same depth, owned by the
/// caller: stretched when targetHeight > height, else shrunk vertically; each row likewise by the
/// widths. The bitmap is borrowed. Both functions are the same.
///
/// Returns 0 when memory is exhausted, when the target's size does not fit 32 bits, or when a
/// 16-bit position would wrap (see Shrink and StretchX).
///
/// Hardened: a bitmap that its block does not hold gives 0.
/// Test: RlShrinkBitmap.ASourceWithoutAllItsPixelsGivesNone.
///
/// Kept deliberately: the top row and the left column stay zero where size x (target / size)
/// truncates one short. Test: RlStretchBitmap.TruncationLeavesTheTopRowUnfilled.
MemoryHandle rlShrinkBitmap(MemoryHandle bitmap, uint16_t depth, uint32_t width, uint32_t height,
                            uint32_t targetWidth, uint32_t targetHeight) noexcept;
MemoryHandle rlStretchBitmap(MemoryHandle bitmap, uint16_t depth, uint32_t width, uint32_t height,
                             uint32_t targetWidth, uint32_t targetHeight) noexcept;

/// Resamples a bitmap row by row, from the first row (Shrink, targetHeight <= height) or from the
/// last (Stretch, targetHeight > height); each row across by the widths.
///
/// source       height rows, padded; borrowed.
/// destination  targetHeight rows, padded; zero before.
///
/// Returns whether it was done; not when memory is exhausted.
///
/// Hardened: a Shrink whose row position does not fit 16 bits is not done.
/// Test: Shrink.APositionBeyond16BitsFails.
bool Shrink(const uint8_t *source, uint8_t *destination, uint16_t depth, uint32_t width,
            uint32_t height, uint32_t targetWidth, uint32_t targetHeight) noexcept;
bool Stretch(const uint8_t *source, uint8_t *destination, uint16_t depth, uint32_t width,
             uint32_t height, uint32_t targetWidth, uint32_t targetHeight) noexcept;

/// Resamples rows across, from the left (ShrinkX, targetWidth <= width) or from the right
/// (StretchX, targetWidth > width). Not on the export path: Shrink and Stretch sample their rows
/// themselves, by positions that they compute once.
///
/// source       rows of width pixels, padded; borrowed.
/// destination  as many rows of targetWidth pixels, padded; zero before.
///
/// Returns whether it was done; not when memory is exhausted.
///
/// Hardened: a StretchX whose position does not fit 16 bits is not done.
/// Test: StretchX.APositionBeyond16BitsFails.
///
/// Kept deliberately: ShrinkX takes the last pixel from the last source pixel, whatever its
/// position. Test: ShrinkX.TheLastPixelComesFromTheLastSourcePixel.
bool ShrinkX(const uint8_t *source, uint8_t *destination, uint16_t depth, uint32_t width,
             uint32_t rows, uint32_t targetWidth) noexcept;
bool StretchX(const uint8_t *source, uint8_t *destination, uint16_t depth, uint32_t width,
              uint32_t rows, uint32_t targetWidth) noexcept;

} // namespace kowen
