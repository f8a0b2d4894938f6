#include "color/pixel.h"
#include "color/resample.h"
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

// Exchanges pixels 1, 2, ... of Bytes bytes with those as far from the end.
template <int Bytes> void MirrorBytes(uint8_t *row, uint32_t width) noexcept {
    for (uint32_t x = 1; x < width / 2; ++x)
        std::swap_ranges(row + size_t{x} * Bytes, row + (size_t{x} + 1) * Bytes,
                         row + size_t{width - x} * Bytes);
}

// Mirrors a row. Only the first exchange leaves it, and may have to be left out.
void MirrorRow(const Canvas &canvas, uint32_t y) noexcept {
    uint8_t *row = canvas.pixels + size_t{y} * canvas.stride;
    if (canvas.width >= 2)
        ExchangePixels(canvas, y, 0, canvas.width);
    if (TracesPixels() || canvas.depth < 8)
        for (uint32_t x = 1; x < canvas.width / 2; ++x)
            ExchangePixels(canvas, y, x, canvas.width - x);
    else if (canvas.depth == 8)
        MirrorBytes<1>(row, canvas.width);
    else if (canvas.depth == 24)
        MirrorBytes<3>(row, canvas.width);
    else if (canvas.depth == 32)
        MirrorBytes<4>(row, canvas.width);
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
