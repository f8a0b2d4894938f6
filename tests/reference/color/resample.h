// Second ways of shrinking and stretching, pixel by pixel along the row, and of mirroring, bit by
// bit.
#pragma once

#include "reference/color/bitmap.h"

namespace kowen::reference {

/// For sizes whose positions fit 16 bits.
Bytes Resample(const Bytes &bitmap, uint16_t depth, uint32_t width, uint32_t height,
               uint32_t targetWidth, uint32_t targetHeight);

void Flip(Bytes &bitmap, uint16_t depth, uint32_t width, uint32_t height, bool horizontal,
          bool vertical);

} // namespace kowen::reference
