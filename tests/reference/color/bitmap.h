// The reference of the colour library: one pixel at a time, as the operations are defined. Written
// apart from it, for reading, not for speed; blocks are vectors, a missing table is null.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kowen::reference {

using Bytes = std::vector<uint8_t>;

uint32_t BytesPerLine(uint32_t width, uint16_t bits);
Bytes MakeBitmap(uint32_t width, uint32_t height, uint16_t bits);

uint32_t GetPixel(const uint8_t *pixels, uint32_t bytesPerLine, uint32_t x, uint32_t y,
                  uint16_t bits);
void SetPixel(uint8_t *pixels, uint32_t bytesPerLine, uint32_t x, uint32_t y, uint16_t bits,
              uint32_t value, const std::vector<uint32_t> *indexMap, const Bytes *table,
              uint32_t count);

/// The nearest of the first count entries; of all entries when there are fewer.
uint32_t NearestRGBIndex(int red, int green, int blue, const Bytes &table, uint32_t count);

/// The index map; empty for a source of more than 16 bits.
std::vector<uint32_t> BuildColormap(const Bytes *fromTable, uint16_t from, const Bytes *toTable,
                                    uint16_t to, uint32_t count);

Bytes ConvertBitmapDepth(const Bytes &bits, uint32_t width, uint32_t height, uint16_t from,
                         uint16_t to, const Bytes *fromTable, const Bytes *toTable, uint32_t count);

void ColorMode(int count, uint8_t *colours, int mode);

} // namespace kowen::reference
