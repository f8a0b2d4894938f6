// The cell writer: bands of 24-bit pixels in, a JPEG file out.
#pragma once

#include "io/file_handle.h"

#include <cstdint>

namespace kowen {

int32_t BeginCellBitmap(FileHandle output, uint32_t width, uint32_t height, int32_t depth,
                        const void *palette, MemoryHandle *environment) noexcept;
int32_t WriteCellBits(FileHandle output, MemoryHandle pixels, uint32_t width, uint32_t rows,
                      int32_t depth, uint16_t pixelOrder, MemoryHandle environment) noexcept;
int32_t EndCellBitmap(FileHandle ignored, MemoryHandle environment) noexcept;
int32_t QueryCellFormat(double *width, double *height, uint16_t *depth, int32_t *resolution,
                        void *ignored1, void *ignored2) noexcept;

} // namespace kowen
