// Bitmap layout, memory and pixel access: what every colour operation is defined by.
//
// A bitmap has no record: its pixel block, width and height in pixels and bits per pixel stand
// beside each other in every call. Rows follow one another from the lowest address, each padded to
// a multiple of 4 bytes. Depths are 1 (leftmost pixel in the highest bit), 4 (left pixel in the
// high nibble), 8, 24 (red, green, blue) and 32. Every other depth reads as 0 and is not written.
//
// Pixel values are exchanged as 32 bits: the number itself up to 8 bits per pixel; with 24 and 32
// bits the pixel's bytes from the highest down, the lowest 0 with 24. Bitmaps are bytes, the same
// on every host.
#pragma once

#include "kowen/records.h"

#include <cstddef>
#include <cstdint>

namespace kowen {

/// Diagnostic level of the colour library; 0 is silent. Set by hand while debugging, read by the
/// whole folder. Above 3 every pixel that is written is traced on standard error.
extern int16_t _debug_color_res;

/// Bytes of one entry of a colour table: red, green, blue.
inline constexpr uint32_t kTableEntryBytes = 3;

/// What a row, bitmap or block size that does not fit 32 bits becomes; GlobalAlloc refuses it.
inline constexpr uint32_t kSizeTooLarge = 0xFFFFFFFF;

/// A colour as pixel value.
constexpr uint32_t ColourValue(uint8_t red, uint8_t green, uint8_t blue) noexcept {
    return uint32_t{red} << 24 | uint32_t{green} << 16 | uint32_t{blue} << 8;
}
constexpr uint8_t RedOf(uint32_t value) noexcept {
    return static_cast<uint8_t>(value >> 24);
}
constexpr uint8_t GreenOf(uint32_t value) noexcept {
    return static_cast<uint8_t>(value >> 16);
}
constexpr uint8_t BlueOf(uint32_t value) noexcept {
    return static_cast<uint8_t>(value >> 8);
}

/// What rlSetPixel stores the low byte of: a table index, or the fourth byte of a 32-bit pixel.
constexpr uint8_t LowByteOf(uint32_t value) noexcept {
    return static_cast<uint8_t>(value);
}

/// Returns the bytes of one row: width x bits rounded up to whole bytes, then to a multiple of 4.
///
/// Hardened: width x bits does not wrap; a row that does not fit 32 bits is kSizeTooLarge.
/// Test: RlBytesPerLine.DoesNotWrap.
uint32_t rlBytesPerLine(uint32_t width, uint16_t bits) noexcept;

/// Returns the bytes of a whole bitmap: bytes per row x height.
///
/// Hardened: a size that does not fit 32 bits is kSizeTooLarge, which no allocation grants, instead
/// of a wrapped and thus too small size.
/// Test: RlCalcNewSize.ASizeBeyond32BitsIsRefusedByTheMemory.
uint32_t rlCalcNewSize(uint32_t width, uint32_t height, uint16_t bits) noexcept;

/// Whether every pixel of a bitmap lies inside its block (handle 0 holds none). The padding of the
/// last row may be missing.
bool BitmapFits(MemoryHandle pixels, uint32_t width, uint32_t height, uint16_t bits) noexcept;

/// Returns the pixel value at column x of row y; 0 for a depth that has none. Nothing is checked:
/// x is below the width and y below the height. Not on the export path.
uint32_t rlGetPixel(const uint8_t *pixels, uint32_t bytesPerLine, uint32_t x, uint32_t y,
                    uint16_t bits) noexcept;

/// The value that rlSetPixel stores for a given one; arguments as there.
///
/// With an index map, the map's entry. Else, below 24 bits with a colour table, the index of the
/// table's nearest colour (rlNearestRGBIndex). Else the value. With 24 and 32 bits and both a map
/// and a table, the map's entry is looked up in the table.
///
/// Hardened: with 24 and 32 bits a table without a map is not looked at.
/// Test: RlSetPixel.ColoursIgnoreATableWithoutAMap.
/// Hardened: an entry of the map that is no index of the table stands for (0, 0, 0).
/// Test: RlSetPixel.AMapEntryOutsideTheTableIsBlack.
uint32_t StoredValue(uint16_t bits, uint32_t value, const uint32_t *indexMap,
                     const uint8_t *colourTable, uint32_t colourCount) noexcept;

/// Writes one pixel; its neighbours in the same byte stay. Coordinates as in rlGetPixel. Not on the
/// export path.
///
/// value        of a pixel of the source's depth.
/// indexMap     one 32-bit entry per possible value, or null; borrowed.
/// colourTable  colourCount entries of 3 bytes, or null; borrowed.
///
/// Stores StoredValue of its arguments: the lowest bit, four bits or byte of it; the three bytes
/// from the highest down; or all four. Returns 0.
int32_t rlSetPixel(uint8_t *pixels, uint32_t bytesPerLine, uint32_t x, uint32_t y, uint16_t bits,
                   uint32_t value, const uint32_t *indexMap, const uint8_t *colourTable,
                   uint32_t colourCount) noexcept;

/// Whether the diagnostic level asks for a trace of every written pixel.
inline bool TracesPixels() noexcept {
    return _debug_color_res > 3;
}

/// Traces one written pixel on standard error when the diagnostic level asks for it.
void TracePixel(uint32_t x, uint32_t y) noexcept;

/// Returns a new block of count x size zero bytes, owned by the caller; 0 when memory is exhausted.
///
/// Hardened: a product that does not fit 32 bits is refused. Test:
/// RlGetMemory.AProductBeyond32BitsFails.
MemoryHandle rlGetMemory(uint16_t count, uint32_t size) noexcept;

/// Returns the block's data; null for handle 0.
void *rlLockMemory(MemoryHandle handle) noexcept;

/// Returns 0; nothing to do. Not on the export path.
int32_t rlUnlockMemory(MemoryHandle handle) noexcept;

/// Returns the handle of a block from its locked data pointer; 0 for null. Not on the export path.
MemoryHandle rlPointertoHandle(const void *data) noexcept;

/// Frees a block. Returns 1; 0 for handle 0.
int32_t rlFreeNewData(MemoryHandle handle) noexcept;

} // namespace kowen
