// Sizes of pictures and rows as the device window and the requests give them.
#pragma once

#include <cstdint>

namespace kowen {

/// Columns of the device window: |trunc(x2) - trunc(x1)| + 1, from 1 to 2^32.
uint64_t WindowColumns() noexcept;

/// Rows of the device window: |trunc(y2) - trunc(y1)| + 1, from 1 to 2^32.
uint64_t WindowRows() noexcept;

/// Bits per pixel from a request's precision: -32768 means 1, any other negative its absolute.
uint32_t DepthOfPrecision(int32_t precision) noexcept;

/// How a bitmap lies in memory.
struct RowLayout {
    uint32_t width;  ///< pixels per row
    uint32_t stride; ///< bytes per row
    uint32_t bytes;  ///< all rows
};

/// Computes a layout. Returns false when a size does not fit into 32 bits; the layout is then not
/// to be used.
bool LayOutRows(uint64_t width, uint32_t depth, uint32_t rows, RowLayout *layout) noexcept;

} // namespace kowen
