#include "color/row_convert.h"

#include "color/diagnostics.h"
#include "color/pixel.h"
#include "color/pixel_bytes.h"

#include <algorithm>
#include <cstring>

namespace kowen {
namespace {

// Pixels that are held as bytes at a time; a multiple of 8, so that each piece of a row begins at a
// whole byte.
constexpr uint32_t kPiece = 1024;

// The bytes that each value of an indexed source becomes with 24 bits, and one more.
using Colours = uint8_t[256][4];

bool IsTrueColour(uint16_t bits) noexcept {
    return bits == 24 || bits == 32;
}

void FillColours(const RowConverter &converter, Colours colours) noexcept {
    for (uint32_t value = 0; value < PixelValues(converter.from); ++value) {
        const uint32_t colour = converter.stored[value];
        colours[value][0] = RedOf(colour);
        colours[value][1] = GreenOf(colour);
        colours[value][2] = BlueOf(colour);
        colours[value][3] = 0;
    }
}

// Four bytes at a time while there is room for the fourth, which the next pixel overwrites.
void StoreColours(const Colours colours, const uint8_t *values, uint32_t count,
                  uint8_t *target) noexcept {
    for (uint32_t i = 0; i + 1 < count; ++i, target += 3)
        std::memcpy(target, colours[values[i]], 4);
    if (count != 0)
        std::memcpy(target, colours[values[count - 1]], 3);
}

// A row of 1 or 4 bits to 24.
void WidenPackedRow(uint16_t from, const Colours colours, const uint8_t *source, uint8_t *target,
                    uint32_t width) noexcept {
    uint8_t values[kPiece];
    for (uint32_t x = 0; x < width; x += kPiece) {
        const uint32_t count = std::min(width - x, kPiece);
        UnpackPixels(from, source + size_t{x} / 8 * from, count, values);
        StoreColours(colours, values, count, target + size_t{x} * 3);
    }
}

// A row of 32 bits to 24.
void DropFourthBytes(const uint8_t *source, uint8_t *target, uint32_t width) noexcept {
    for (uint32_t x = 0; x < width; ++x)
        std::memcpy(target + size_t{x} * 3, source + size_t{x} * 4, 3);
}

void WidenRow(const RowConverter &converter, const Colours colours, const uint8_t *source,
              uint8_t *target) noexcept {
    if (converter.from == 32)
        DropFourthBytes(source, target, converter.width);
    else if (converter.from == 8)
        StoreColours(colours, source, converter.width, target);
    else
        WidenPackedRow(converter.from, colours, source, target, converter.width);
}

uint32_t Stored(RowConverter *converter, uint32_t value) noexcept {
    if (!IsTrueColour(converter->from))
        return converter->stored[value];
    return converter->searches ? NearestIndex(&converter->nearest, value) : value;
}

// Row y, one pixel after the other.
void ConvertPixels(RowConverter *converter, const uint8_t *source, uint8_t *target,
                   uint32_t y) noexcept {
    for (uint32_t x = 0; x < converter->width; ++x) {
        const uint32_t value = rlGetPixel(source, converter->sourceStride, x, y, converter->from);
        rlSetPixel(target, converter->targetStride, x, y, converter->to, Stored(converter, value),
                   nullptr, nullptr, 0);
    }
}

// Whether WidenRow serves. It does not trace.
bool Widens(const RowConverter &converter) noexcept {
    const bool isKnown = PixelValues(converter.from) > 1 || converter.from == 32;
    return isKnown && converter.to == 24 && !TracesPixels();
}

} // namespace

void PrepareRowConverter(RowConverter *converter, uint16_t from, uint16_t to, uint32_t width,
                         const uint32_t *indexMap, const TableView &table) noexcept {
    converter->from = from;
    converter->to = to;
    converter->width = width;
    converter->sourceStride = rlBytesPerLine(width, from);
    converter->targetStride = rlBytesPerLine(width, to);
    converter->searches = IsTrueColour(from) && to < 24 && table.entries != nullptr;
    if (converter->searches)
        OpenNearestCache(&converter->nearest, table);
    for (uint32_t value = 0; !IsTrueColour(from) && value < PixelValues(from); ++value)
        converter->stored[value] = StoredValue(to, value, indexMap, table.entries, table.count);
}

void ConvertRows(RowConverter *converter, const uint8_t *source, uint8_t *target,
                 uint32_t height) noexcept {
    if (converter->targetStride == 0 && _debug_color_res == 0)
        return;
    const bool widens = Widens(*converter);
    Colours colours;
    if (widens && converter->from <= 8)
        FillColours(*converter, colours);
    for (uint32_t y = 0; y < height; ++y) {
        if (widens)
            WidenRow(*converter, colours, source + size_t{y} * converter->sourceStride,
                     target + size_t{y} * converter->targetStride);
        else
            ConvertPixels(converter, source, target, y);
        ReportConvertedRow();
    }
}

} // namespace kowen
