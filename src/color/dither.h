// Dithering to small colour tables.
//
// Errors go right and down with weights after Floyd and Steinberg, in integers, left to right on
// every row. Sizes are pixels, depths bits per pixel (pixel.h).
//
// With a diagnostic level other than 0 the functions report on standard output.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

/// Converts a bitmap to a depth below its own by dithering.
///
/// palette  the source's colour table, or 0; borrowed.
/// table    in: the table to dither to, or 0; borrowed. Out: the table that was used, the same or
///          a new one that the caller owns.
///
/// Without a table, 1 bit is dithered to eight greys; a deeper target with 2^to colours to at most
/// 2^to - 8 quantised ones and eight primaries (as many as there is room for below 4 bits). For
/// 1 bit the picture is turned grey first, whatever the table.
///
/// Returns the new bitmap, owned by the caller; 0 when memory is exhausted or the source's block
/// is too small for its size. table is left as it was when no table was made.
///
/// Kept deliberately: 1 bit is dithered to eight greys, of which the lowest bit of the index
/// remains. Test: RlDitherBitmap.OneBitKeepsTheLowestBitOfTheGreysIndex.
MemoryHandle rlDitherBitmap(MemoryHandle bitmap, uint32_t width, uint32_t height, uint16_t from,
                            uint16_t to, MemoryHandle palette, MemoryHandle *table) noexcept;

/// Makes the table that rlDitherBitmap would use, and dithers nothing.
///
/// table  in: used as it is for a target of 1 bit, ignored for deeper ones. Out: the table.
/// count  out: its number of colours; 0 when there is none.
///
/// Returns the table, 0 on failure as of rlDitherBitmap; table is left as it was then.
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
/// table    count entries of 3 bytes; an entry that it lacks is black.
///
/// Kept deliberately: the last pixel is not searched and spreads no error: it takes the colour of
/// the pixel before it, entry 0 in a row of one.
/// Test: RlDitherOneLine.TheLastPixelTakesItsLeftNeighboursColor.
void _rlDitherOneLine(uint8_t *current, uint8_t *next, const uint8_t *table, uint32_t width,
                      uint16_t count) noexcept;

} // namespace kowen
