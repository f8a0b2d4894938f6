// The rows of a bitmap from one depth to another: the loops below rlConvertBitmapDepth.
//
// A pixel is read with rlGetPixel and written with rlSetPixel. The rows that exports convert, of
// 1, 4, 8 or 32 bits to 24, have loops of their own that give the same bytes.
#pragma once

#include "color/nearest_cache.h"
#include "color/table_view.h"

#include <cstdint>

namespace kowen {

/// Two bitmaps of one size, and what the pixels of one become in the other. Prepared and used
/// within one call of the library; nothing to free.
struct RowConverter {
    uint16_t from; ///< bits per pixel of the source
    uint16_t to;   ///< and of the target
    uint32_t width;
    uint32_t sourceStride; ///< bytes from row to row
    uint32_t targetStride;
    uint32_t stored[256]; ///< of each value of an indexed source: StoredValue
    bool searches;        ///< true colours become indices of nearest's table
    NearestCache nearest; ///< open when searches is set
};

/// Number of values that a pixel of an indexed depth can have; 1 for depths that read as 0 only.
constexpr uint32_t PixelValues(uint16_t bits) noexcept {
    return bits == 1 || bits == 4 || bits == 8 ? 1u << bits : 1;
}

/// Prepares rows of width pixels, of depth from, for depth to.
///
/// indexMap  one entry for each of PixelValues(from), or null; borrowed for the call.
/// table     the target's colour table, or none; borrowed as long as the converter is used.
void PrepareRowConverter(RowConverter *converter, uint16_t from, uint16_t to, uint32_t width,
                         const uint32_t *indexMap, const TableView &table) noexcept;

/// Converts height rows and reports each (ReportConvertedRow).
///
/// source  padded rows, borrowed; the last one's padding may be missing.
/// target  padded rows, zero before; their padding stays zero.
///
/// Hardened: rows without bytes are not converted one by one: no block limits how many there are.
/// Test: RlConvertBitmapDepth.RowsWithoutBytesAreNotConvertedOneByOne.
void ConvertRows(RowConverter *converter, const uint8_t *source, uint8_t *target,
                 uint32_t height) noexcept;

} // namespace kowen
