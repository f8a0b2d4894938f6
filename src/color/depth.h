// Colour depth conversion, colour maps and 32-bit layouts.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

MemoryHandle rlChangeColorResolution(MemoryHandle bits, uint32_t width, uint32_t height,
                                     uint16_t from, uint16_t to, MemoryHandle *table) noexcept;
MemoryHandle rlReduceColorTable(MemoryHandle image, uint16_t width, uint16_t height,
                                uint16_t *count) noexcept;
MemoryHandle rlConvertBitmapDepth(MemoryHandle bits, uint32_t width, uint32_t height, uint16_t from,
                                  uint16_t to, MemoryHandle fromTable, MemoryHandle toTable,
                                  uint32_t count) noexcept;
MemoryHandle rlBuildColormap(const uint8_t *fromTable, uint16_t from, const uint8_t *toTable,
                             uint16_t to, uint32_t count) noexcept;
int32_t rlFreeColormap(MemoryHandle map) noexcept;
int32_t rlNearestRGBIndex(int32_t red, int32_t green, int32_t blue, const uint8_t *table,
                          uint32_t size) noexcept;
void rlRGB4toCMYK(MemoryHandle bits, uint32_t width, uint32_t height) noexcept;
void rlCMYKtoRGB(MemoryHandle bits, uint32_t width, uint32_t height) noexcept;
void rlALPHAtoRGB(MemoryHandle bits, uint32_t width, uint32_t height) noexcept;

} // namespace kowen
