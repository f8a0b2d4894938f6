// Rows of pixels from one depth to another: the loops below rlConvertBitmapDepth.
//
// The plain form reads each pixel with rlGetPixel and writes it with rlSetPixel. These give the
// same bytes: what an indexed pixel becomes is worked out once per value, and true colours are
// searched with ColorCubes or a NearestFinder.
#pragma once

#include "color/color_cubes.h"
#include "color/color_table.h"
#include "color/nearest_finder.h"

#include <cstdint>

namespace kowen {

/// What rows are converted by; it must stay where it is. Opened, used and closed within one call of
/// the library.
struct RowConverter {
    uint16_t from;         ///< depth of the source
    uint16_t to;           ///< depth of the target
    bool searches;         ///< true colours become indices by finder
    uint8_t index[256];    ///< of each source value: the byte stored up to 8 bits per pixel
    uint8_t color[256][4]; ///< of each source value: the bytes stored with 24 and 32
    NearestFinder finder;
    ColorCubes cubes;
};

/// Number of values that a pixel of an indexed depth can have; 1 for depths that read as 0 only.
constexpr uint32_t PixelValues(uint16_t bits) noexcept {
    return bits == 1 || bits == 4 || bits == 8 ? 1u << bits : 1;
}

constexpr bool IsTrueColor(uint16_t bits) noexcept {
    return bits == 24 || bits == 32;
}

/// Prepares rows of depth from for depth to, for about pixels pixels.
///
/// indexMap  one entry for each of PixelValues(from), or null; borrowed for the call.
/// table     the target's colour table, or none; borrowed until CloseRowConverter.
void OpenRowConverter(RowConverter *converter, uint16_t from, uint16_t to, const uint32_t *indexMap,
                      const ColorTable &table, uint64_t pixels) noexcept;

/// Frees what OpenRowConverter took.
void CloseRowConverter(RowConverter *converter) noexcept;

/// Converts width pixels. The target's row is zero before; its padding stays zero.
void ConvertRow(RowConverter *converter, const uint8_t *source, uint8_t *target,
                uint32_t width) noexcept;

} // namespace kowen
