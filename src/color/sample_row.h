// Resampling rows across: which source pixel each target pixel takes, and the loops that copy.
//
// The positions are the same for every row, so they are computed once.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

/// Rows of width pixels to rows of targetWidth. Opened, used and closed within one call.
struct RowSampler {
    uint16_t depth; ///< bits per pixel
    uint32_t width;
    uint32_t targetWidth;
    uint32_t first;     ///< target pixels before this one stay as they are
    MemoryHandle block; ///< what the pointers below point into
    uint32_t *source;   ///< for each target pixel the source pixel; never decreases
    uint8_t *values;    ///< a source row with a byte per pixel, for depths of 1 and 4
    uint8_t *samples;   ///< and a target row
};

/// Quotient of two sizes as the positions are computed with.
double Ratio(uint32_t numerator, uint32_t denominator) noexcept;

/// i x ratio truncated toward zero.
uint32_t Position(uint32_t i, double ratio) noexcept;

/// The greatest position that fits the 16 bits that StretchX and Shrink keep it in.
inline constexpr uint32_t kLastPosition = 0xFFFF;

/// Computes the positions: shrinking when targetWidth <= width, else stretching. Returns false,
/// with nothing to close, when memory is exhausted or a position to stretch to does not fit
/// 16 bits.
bool OpenRowSampler(RowSampler *sampler, uint16_t depth, uint32_t width,
                    uint32_t targetWidth) noexcept;

/// Frees what OpenRowSampler allocated.
void CloseRowSampler(RowSampler *sampler) noexcept;

/// Resamples one row. The target's row is zero before.
void SampleRow(const RowSampler &sampler, const uint8_t *source, uint8_t *target) noexcept;

} // namespace kowen
