// All rows of a picture, dithered and converted: the loop of the ditherer.
//
// The plain form dithers a 24-bit copy of the picture in place and converts it afterwards. Here a
// row is only held until its errors are spread, and converted from its indices.
#pragma once

#include "color/dither_band.h"
#include "color/nearest_finder.h"
#include "color/row_convert.h"

#include <cstdint>

namespace kowen {

/// A picture while it is dithered. Opened, used and closed within one call of the library.
struct RowDitherer {
    const uint8_t *picture; ///< rows of 24 bits
    uint32_t width;
    uint32_t height;
    uint32_t stride;
    bool turnsGrey;    ///< rows are turned grey first
    bool isGrey;       ///< and stay grey: they are held with one byte per pixel
    uint32_t bandRows; ///< rows that are dithered at a time while there are as many
    MemoryHandle room; ///< the block of the rows below
    uint8_t *carried;  ///< the next row to be dithered, with the errors of the one before
    uint8_t *below[kBandRows];
    uint8_t *indices[kMostBandRows];
    NearestFinder finder;
    QuickCells cells;
    GreyChoices greys;
    RowConverter converter; ///< the caller's: from 8 bits, or from 24 for more than 256 colours
};

/// Prepares a picture of 24-bit rows, borrowed until CloseRowDitherer. Returns false, with nothing
/// to close, when memory is exhausted.
bool OpenRowDitherer(RowDitherer *ditherer, const uint8_t *picture, uint32_t width, uint32_t height,
                     const ColorTable &table, bool turnsGrey) noexcept;

/// Frees what OpenRowDitherer took.
void CloseRowDitherer(RowDitherer *ditherer) noexcept;

/// Dithers all rows and converts them to target, whose rows are stride bytes long and zero before.
void DitherRows(RowDitherer *ditherer, uint8_t *target, uint32_t stride) noexcept;

} // namespace kowen
