#include "picture/bitmap.h"

#include <cstring>

namespace kowen::host {
namespace {

constexpr size_t kRowAlignment = 4;

size_t RowBytes(uint32_t width, int depth) {
    const size_t bytes = (size_t{width} * static_cast<size_t>(depth) + 7) / 8;
    return (bytes + kRowAlignment - 1) / kRowAlignment * kRowAlignment;
}

} // namespace

Bitmap::Bitmap(const FilterModule &owner, uint32_t columns, uint32_t rows, int bits,
               const std::vector<uint8_t> &colours)
    : module(owner), width(columns), height(rows), depth(bits), rowBytes(RowBytes(columns, bits)),
      palette(colours), pixels(owner, uint64_t{rowBytes} * rows) {
    // The padding of a row is coded by nobody, but it is read.
    for (uint32_t y = 0; y < height; ++y)
        std::memset(Row(y) + rowBytes - kRowAlignment, 0, kRowAlignment);
    if (palette.empty())
        return;
    paletteBlock = WrappedBlock(owner, palette.size());
    std::memcpy(paletteBlock.Data(), palette.data(), palette.size());
}

Bitmap Bitmap::Copy() const {
    Bitmap copy(module, width, height, depth, palette);
    std::memcpy(copy.pixels.Data(), pixels.Data(), pixels.Size());
    return copy;
}

BitmapRecord Bitmap::Record() const {
    BitmapRecord record = {};
    record.depth = static_cast<uint16_t>(depth);
    record.width = static_cast<uint16_t>(width);
    record.height = static_cast<uint16_t>(height);
    record.palette = paletteBlock.Handle();
    record.pixels = pixels.Handle();
    return record;
}

} // namespace kowen::host
