// Bitmap layout, memory and pixel access: what every colour operation is defined by.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

/// Diagnostic level of the colour library; 0 is silent.
extern int16_t _debug_color_res;

uint32_t rlBytesPerLine(uint32_t width, uint16_t bits) noexcept;
uint32_t rlCalcNewSize(uint32_t width, uint32_t height, uint16_t bits) noexcept;
uint32_t rlGetPixel(const uint8_t *pixels, uint32_t bytesPerLine, uint32_t x, uint32_t y,
                    uint16_t bits) noexcept;
int32_t rlSetPixel(uint8_t *pixels, uint32_t bytesPerLine, uint32_t x, uint32_t y, uint16_t bits,
                   uint32_t value, const uint32_t *indexMap, const uint8_t *colorTable,
                   uint32_t colorCount) noexcept;
MemoryHandle rlGetMemory(uint16_t count, uint32_t size) noexcept;
void *rlLockMemory(MemoryHandle handle) noexcept;
int32_t rlUnlockMemory(MemoryHandle handle) noexcept;
MemoryHandle rlPointertoHandle(const void *data) noexcept;
int32_t rlFreeNewData(MemoryHandle handle) noexcept;
MemoryHandle InitColorLib() noexcept;
int32_t TermColorLib(MemoryHandle context) noexcept;

} // namespace kowen
