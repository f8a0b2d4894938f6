// Plain forms of dithering.
#pragma once

#include "reference/color/bitmap.h"

namespace kowen::reference {

/// One row; next may be null.
void DitherOneLine(uint8_t *current, uint8_t *next, const Bytes &table, uint32_t width,
                   uint32_t count);

/// A bitmap to the first count entries of a table.
Bytes DitherGivenCT(const Bytes &bitmap, uint32_t width, uint32_t height, uint16_t from,
                    uint16_t to, const Bytes *palette, const Bytes &table, uint32_t count);

/// The table that dithering chooses, and its number of colours.
struct Table {
    Bytes entries;
    uint32_t count;
};
Table DitherGetCT(const Bytes &bitmap, uint32_t width, uint32_t height, uint16_t from, uint16_t to,
                  const Bytes *palette);

} // namespace kowen::reference
