// Dithering to small colour tables: errors go right and down with weights after Floyd and
// Steinberg, in integers, left to right on every row.
//
// Not on the export path: a JPEG has no colour table.
//
// Sizes are pixels, depths bits per pixel (pixel.h). With a diagnostic level other than 0 the
// functions report on standard output, and the conversions below them on standard error.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

/// Converts a bitmap to a depth below its own by dithering.
///
/// bitmap   the source; borrowed.
/// palette  the source's colour table, or 0; borrowed.
/// table    in: the table to dither to, or 0; borrowed. Out: the table that was used, the same or
///          a new one that the caller owns; as it was when none was made.
///
/// Without a table, 1 bit is dithered to eight greys; a deeper target with 2^to colours to at most
/// 2^to - 8 quantised ones and eight primaries. For 1 bit the picture is turned grey first,
/// whatever the table.
///
/// Returns the new bitmap, owned by the caller; 0 when memory is exhausted.
///
/// Hardened: a source that its block does not hold gives 0.
/// Test: RlDitherGivenCT.ASourceWithoutAllItsPixelsGivesNone.
/// Hardened: below 4 bits there are as many primaries as the table has entries for.
/// Test: RlDitherBitmap.FewerThanFourBitsGetTheMustHavesThatFit.
/// Hardened: rows without bytes are not dithered one by one: no block limits how many there are.
/// Test: RlDitherGivenCT.RowsWithoutBytesAreNotDitheredOneByOne.
///
/// Kept deliberately: 1 bit is dithered to eight greys, of which the lowest bit of the index
/// remains. Test: RlDitherBitmap.OneBitKeepsTheLowestBitOfTheGreysIndex.
MemoryHandle rlDitherBitmap(MemoryHandle bitmap, uint32_t width, uint32_t height, uint16_t from,
                            uint16_t to, MemoryHandle palette, MemoryHandle *table) noexcept;

/// Makes the table that rlDitherBitmap would use, and dithers nothing.
///
/// table  in: used as it is for a target of 1 bit, ignored for deeper ones. Out: the table; as it
///        was when there is none.
/// count  out: its number of colours; 0 when there is none.
///
/// Returns the table, owned as by rlDitherBitmap; 0 when memory is exhausted.
MemoryHandle rlDitherGetCT(MemoryHandle bitmap, uint32_t width, uint32_t height, uint16_t from,
                           uint16_t to, MemoryHandle palette, MemoryHandle *table,
                           uint16_t *count) noexcept;

/// As rlDitherBitmap, with the first count colours of a given table; borrowed.
MemoryHandle rlDitherGivenCT(MemoryHandle bitmap, uint32_t width, uint32_t height, uint16_t from,
                             uint16_t to, MemoryHandle palette, MemoryHandle table,
                             uint16_t count) noexcept;

/// Dithers one row of 24-bit pixels in place and adds its errors to the next one.
///
/// current  width pixels; each becomes its nearest colour of the table (rlNearestRGBIndex).
/// next     width pixels, or null after the last row.
/// table    count entries of 3 bytes; borrowed.
///
/// Hardened: a table without entries is black. Test: RlDitherOneLine.AnEmptyTableIsBlack.
///
/// Kept deliberately: the last pixel is not searched and spreads no error: it takes the colour of
/// the pixel before it, entry 0 in a row of one.
/// Test: RlDitherOneLine.TheLastPixelTakesItsLeftNeighboursColour.
void _rlDitherOneLine(uint8_t *current, uint8_t *next, const uint8_t *table, uint32_t width,
                      uint16_t count) noexcept;

} // namespace kowen
