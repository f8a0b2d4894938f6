// One row of dithering: errors spread in integers, every sum limited to 0..255.
#pragma once

#include "color/nearest_finder.h"

#include <cstdint>

namespace kowen {

/// Dithers one row of width pixels of 24 bits; see _rlDitherOneLine. The finder's table is the one
/// to dither to.
///
/// indices  out: the index of each pixel's colour, modulo 256; or null.
void DitherRow(NearestFinder *finder, uint8_t *current, uint8_t *next, uint32_t width,
               uint8_t *indices) noexcept;

} // namespace kowen
