// A second way of dithering: each pixel gathers the errors of those before it, one row's errors at
// a time, where the library hands them on.
#pragma once

#include "reference/color/bitmap.h"

namespace kowen::reference {

/// A row of 24-bit pixels, without padding, after dithering.
struct DitheredRow {
    Bytes colours;
    std::vector<int> errors; ///< of each channel; 0 for the last pixel
};

/// Dithers a row that has the errors of the row above already.
DitheredRow DitherRow(const Bytes &row, const Bytes &table, uint32_t count);

/// The row below, with the errors of the one above.
Bytes WithErrors(const Bytes &row, const std::vector<int> &errorsAbove);

/// A bitmap dithered to the first count entries of a table; arguments as of rlDitherGivenCT.
Bytes DitherGivenCT(const Bytes &bitmap, uint32_t width, uint32_t height, uint16_t from,
                    uint16_t to, const Bytes *palette, const Bytes &table, uint32_t count);

/// The table that dithering chooses when none is given, and its number of colours.
struct Table {
    Bytes entries;
    uint32_t count;
};
Table DitherGetCT(const Bytes &bitmap, uint32_t width, uint32_t height, uint16_t from, uint16_t to,
                  const Bytes *palette);

} // namespace kowen::reference
