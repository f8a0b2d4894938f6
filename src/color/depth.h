// Colour depth conversion with given tables.
//
// Sizes are pixels, depths bits per pixel (pixel.h). With a diagnostic level of 1 or more, or below
// 0, the conversion reports on standard error.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

/// Converts a bitmap to another depth. Exports convert 1, 4, 8 and 32 bits to 24.
///
/// bits       the source bitmap; borrowed.
/// fromTable  the source's colour table, or 0; borrowed.
/// toTable    the target's, or 0; borrowed. When there is none and the depth does not shrink, the
///            source's is meant.
/// count      entries of toTable.
///
/// An indexed source is mapped by rlBuildColormap. A source of 24 or 32 bits becomes the nearest
/// index below 24 bits, and keeps its bytes above.
///
/// Returns the new bitmap, owned by the caller; 0 when memory is exhausted or its size does not fit
/// 32 bits.
///
/// Hardened: a source that its block does not hold gives 0.
/// Test: RlConvertBitmapDepth.ASourceWithoutAllItsPixelsGivesNone.
/// Hardened: entries that fromTable lacks are (0, 0, 0).
/// Test: RlConvertBitmapDepth.EntriesThatTheSourcesTableLacksAreBlack.
///
/// Kept deliberately: a map to 24 bits holds colours and a map to 32 bits holds indices, which
/// rlSetPixel stores as they are without toTable and looks up in it otherwise.
/// Test: RlConvertBitmapDepth.AMapTo32BitsHoldsIndices.
MemoryHandle rlConvertBitmapDepth(MemoryHandle bits, uint32_t width, uint32_t height, uint16_t from,
                                  uint16_t to, MemoryHandle fromTable, MemoryHandle toTable,
                                  uint32_t count) noexcept;

/// Builds the index map of an indexed source: 2^from entries of 32 bits. Not on the export path.
///
/// fromTable  2^from entries of 3 bytes, or null; borrowed.
/// toTable    count entries, or null; borrowed. Null means fromTable when from <= to.
///
/// An entry is the source entry's pixel value for a target of 24 bits, else its nearest index in
/// the target's table. All entries are 0 when a table is missing.
///
/// Returns the map, for rlFreeColormap; 0 when memory is exhausted.
///
/// Hardened: sources of more than 16 bits have no map, not only those of 24: the result is 0.
/// Test: RlBuildColormap.IsNoneForDeepSources.
MemoryHandle rlBuildColormap(const uint8_t *fromTable, uint16_t from, const uint8_t *toTable,
                             uint16_t to, uint32_t count) noexcept;

/// Frees a map; 0 is ignored. Returns 0. Not on the export path.
int32_t rlFreeColormap(MemoryHandle map) noexcept;

} // namespace kowen
