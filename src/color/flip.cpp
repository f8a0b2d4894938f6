#include "color/flip.h"

#include "color/pixel.h"
#include "platform/global_memory.h"

#include <algorithm>

namespace kowen {
namespace {

// A bitmap that is mirrored in place, and where its block ends.
struct Canvas {
    uint8_t *pixels;
    uint32_t stride;
    uint32_t width;
    uint64_t blockBits;
    uint16_t depth;
};

// Whether the pixel lies inside the block, past the end of its row or not.
bool Inside(const Canvas &canvas, uint32_t x, uint32_t y) noexcept {
    const uint64_t rowBits = uint64_t{y} * canvas.stride * 8;
    return rowBits + (uint64_t{x} + 1) * canvas.depth <= canvas.blockBits;
}

void ExchangePixels(const Canvas &canvas, uint32_t y, uint32_t x, uint32_t farX) noexcept {
    if (!Inside(canvas, farX, y))
        return;
    const uint32_t left = rlGetPixel(canvas.pixels, canvas.stride, x, y, canvas.depth);
    const uint32_t right = rlGetPixel(canvas.pixels, canvas.stride, farX, y, canvas.depth);
    rlSetPixel(canvas.pixels, canvas.stride, x, y, canvas.depth, right, nullptr, nullptr, 0);
    rlSetPixel(canvas.pixels, canvas.stride, farX, y, canvas.depth, left, nullptr, nullptr, 0);
}

void MirrorRow(const Canvas &canvas, uint32_t y) noexcept {
    for (uint32_t x = 0; x < canvas.width / 2; ++x)
        ExchangePixels(canvas, y, x, canvas.width - x);
}

void ExchangeRows(const Canvas &canvas, uint32_t top, uint32_t bottom) noexcept {
    uint8_t *row = canvas.pixels + size_t{top} * canvas.stride;
    if (top != bottom)
        std::swap_ranges(row, row + canvas.stride, canvas.pixels + size_t{bottom} * canvas.stride);
}

} // namespace

MemoryHandle rlFlipBitmap(MemoryHandle bitmap, uint16_t depth, uint32_t width, uint32_t height,
                          int32_t horizontal, int32_t vertical) noexcept {
    const uint32_t size = rlCalcNewSize(width, height, depth);
    if (size != 0 && (bitmap == 0 || GlobalSize(bitmap) < size))
        return 0;
    const Canvas canvas = {Lock<uint8_t>(bitmap), rlBytesPerLine(width, depth), width,
                           uint64_t{GlobalSize(bitmap)} * 8, depth};
    for (uint32_t top = 0; size != 0 && top < height / 2 + height % 2; ++top) {
        const uint32_t bottom = height - 1 - top;
        if (vertical != 0)
            ExchangeRows(canvas, top, bottom);
        if (horizontal != 0) {
            MirrorRow(canvas, top);
            MirrorRow(canvas, bottom);
        }
    }
    return bitmap;
}

} // namespace kowen
