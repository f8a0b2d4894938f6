// Pictures as the coder is given them.
#pragma once

#include "jpeg/bands.h"
#include "reference/jpeg/encoder.h"
#include "support/bitmaps.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kowen {

/// A picture of one colour.
inline reference::Picture Flat(int width, int height, reference::Pixel pixel) {
    return {width, height,
            std::vector<reference::Pixel>(static_cast<size_t>(width) * static_cast<size_t>(height),
                                          pixel)};
}

/// A bitmap's rows as its producer holds them, bottom-up.
inline SourceRows BottomUp(TestBitmap &bitmap) {
    return {bitmap.Pixel(0, bitmap.height - 1), -bitmap.Stride(),
            static_cast<uint32_t>(bitmap.height), static_cast<uint32_t>(bitmap.width)};
}

} // namespace kowen
