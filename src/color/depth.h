// Colour depth conversion, colour maps and 32-bit layouts.
//
// Sizes are pixels, depths bits per pixel (pixel.h). A colour table shorter than a depth needs is
// completed with (0, 0, 0) as a source's, and searched as far as it goes as a target's.
//
// With a diagnostic level of 1 or more, or below 0, the conversions report on standard error.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

/// Converts a bitmap to another depth, choosing the colours when it gets fewer bits.
///
/// bits   the source bitmap; borrowed, not freed.
/// table  in: the source's colour table, or 0; borrowed. Out: the new table, owned by the caller.
///
/// With fewer bits: from 24 bits to 8 or more the picture's own colours are reduced, else above
/// 4 bits the colours of the table are. A target below 8 bits is dithered with the result, or with
/// colours that rlDitherBitmap chooses.
///
/// Returns the new bitmap, owned by the caller; 0 when memory is exhausted or the source's block
/// is too small for its size.
///
/// Kept deliberately: table becomes 0 when no new table was made, also when the depth only grows;
/// a caller that needs its table keeps its handle.
/// Test: RlChangeColorResolution.GrowingClearsTheTableHandle.
MemoryHandle rlChangeColorResolution(MemoryHandle bits, uint32_t width, uint32_t height,
                                     uint16_t from, uint16_t to, MemoryHandle *table) noexcept;

/// Makes a table of at most *count colours for a 24-bit picture.
///
/// image  24-bit bitmap, or a colour table as its one row; borrowed. It may lack the padding of
///        its last row.
/// count  in: entries wanted, the size of the new block; out: entries made.
///
/// Returns the table, owned by the caller; a count of 0 makes an empty one. 0 with a count of 0
/// when memory is exhausted or the image's block is too small for its size.
MemoryHandle rlReduceColorTable(MemoryHandle image, uint16_t width, uint16_t height,
                                uint16_t *count) noexcept;

/// Converts a bitmap to another depth with given tables.
///
/// fromTable  the source's colour table, or 0; borrowed.
/// toTable    the target's, or 0; borrowed. When there is none and the depth does not shrink, the
///            source's is meant.
/// count      entries of toTable.
///
/// An indexed source is mapped by rlBuildColormap. A source of 24 or 32 bits becomes the nearest
/// index below 24 bits, and keeps its bytes above.
///
/// Returns the new bitmap, owned by the caller; 0 when memory is exhausted, when its size does not
/// fit 32 bits, or when the source's block is too small for its size.
///
/// Kept deliberately: a map to 24 bits holds colours and a map to 32 bits holds indices, which
/// rlSetPixel stores as they are without toTable and looks up in it otherwise.
/// Test: RlConvertBitmapDepth.AMapTo32BitsHoldsIndices.
MemoryHandle rlConvertBitmapDepth(MemoryHandle bits, uint32_t width, uint32_t height, uint16_t from,
                                  uint16_t to, MemoryHandle fromTable, MemoryHandle toTable,
                                  uint32_t count) noexcept;

/// Builds the index map of an indexed source: 2^from entries of 32 bits.
///
/// fromTable  2^from entries of 3 bytes, or null; borrowed.
/// toTable    count entries, or null; borrowed. Null means fromTable when from <= to.
///
/// An entry is the source entry's pixel value for a target of 24 bits, else its nearest index in
/// the target's table. All entries are 0 when a table is missing.
///
/// Returns the map, for rlFreeColormap; 0 when memory is exhausted.
/// Hardened: sources of more than 16 bits have no map, not only those of 24.
MemoryHandle rlBuildColormap(const uint8_t *fromTable, uint16_t from, const uint8_t *toTable,
                             uint16_t to, uint32_t count) noexcept;

/// Frees a map; 0 is ignored. Returns 0.
int32_t rlFreeColormap(MemoryHandle map) noexcept;

/// Converts 32-bit pixels in place: each of the first three bytes becomes 255 minus itself and the
/// fourth 0.
/// Hardened, here and below: pixels beyond the block's end are left out.
void rlRGB4toCMYK(MemoryHandle bits, uint32_t width, uint32_t height) noexcept;

/// Converts 32-bit pixels C, M, Y, K to red, green, blue in place: 255 - max(C, K) and so on.
///
/// Kept deliberately: the result is packed from the start of the block, 3 bytes a pixel, without
/// padding of rows. Test: RlCMYKtoRGB.RowsAreNotPadded.
void rlCMYKtoRGB(MemoryHandle bits, uint32_t width, uint32_t height) noexcept;

/// Drops the fourth byte of 32-bit pixels in place; the result is packed as of rlCMYKtoRGB.
void rlALPHAtoRGB(MemoryHandle bits, uint32_t width, uint32_t height) noexcept;

} // namespace kowen
