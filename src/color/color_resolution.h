// A bitmap to any depth, whatever its colours become: widened, reduced or dithered.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

/// Converts a bitmap to another depth, choosing the colours when it gets fewer bits.
///
/// bits           the source bitmap; borrowed, not freed.
/// width, height  pixels.
/// from, to       bits per pixel (pixel.h).
/// table          in: the source's colour table, or 0; borrowed. Out: the new table, owned by the
///                caller.
///
/// With fewer bits: from 24 bits to 8 or more the picture's own colours are reduced, else above
/// 4 bits the colours of the table are. A target below 8 bits is dithered with the result, or with
/// colours that rlDitherBitmap chooses. Exports only widen.
///
/// Returns the new bitmap, owned by the caller; 0 when memory is exhausted or the source's block
/// is too small for its size.
///
/// Kept deliberately: table becomes 0 when no new table was made, also when the depth only grows;
/// a caller that needs its table keeps its handle.
/// Test: RlChangeColorResolution.GrowingClearsTheTableHandle.
MemoryHandle rlChangeColorResolution(MemoryHandle bits, uint32_t width, uint32_t height,
                                     uint16_t from, uint16_t to, MemoryHandle *table) noexcept;

} // namespace kowen
