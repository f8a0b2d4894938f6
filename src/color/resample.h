// Shrinking and stretching by dropping and repeating pixels, and mirroring.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

MemoryHandle rlShrinkBitmap(MemoryHandle bitmap, uint16_t depth, uint32_t width, uint32_t height,
                            uint32_t targetWidth, uint32_t targetHeight) noexcept;
MemoryHandle rlStretchBitmap(MemoryHandle bitmap, uint16_t depth, uint32_t width, uint32_t height,
                             uint32_t targetWidth, uint32_t targetHeight) noexcept;
MemoryHandle rlFlipBitmap(MemoryHandle bitmap, uint16_t depth, uint32_t width, uint32_t height,
                          int32_t horizontal, int32_t vertical) noexcept;

} // namespace kowen
