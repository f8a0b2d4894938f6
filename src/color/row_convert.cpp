#include "color/row_convert.h"

#include "color/pixel_bytes.h"

#include <cstring>

namespace kowen {
namespace {

// Pixels of a row that are held as bytes at a time; a multiple of 8, so that pieces of a row begin
// at whole bytes at every depth.
constexpr uint32_t kPiece = 1024;

const uint8_t *PixelAt(const uint8_t *row, uint32_t x, uint16_t bits) noexcept {
    return row + static_cast<size_t>(uint64_t{x} * bits / 8);
}

// The values of count indexed pixels, as bytes: in the row itself or in room.
const uint8_t *Values(uint16_t from, const uint8_t *source, uint32_t count,
                      uint8_t *room) noexcept {
    if (from == 8)
        return source;
    UnpackPixels(from, source, count, room);
    return room;
}

void LookUp(const uint8_t table[256], const uint8_t *values, uint32_t count,
            uint8_t *indices) noexcept {
    for (uint32_t i = 0; i < count; ++i)
        indices[i] = table[values[i]];
}

template <int Bits>
void SearchOneByOne(NearestFinder *finder, const uint8_t *source, uint32_t step, uint32_t count,
                    uint8_t *indices) noexcept {
    for (uint32_t i = 0; i < count; ++i, source += step)
        indices[i] =
            static_cast<uint8_t>(FindNearest<Bits>(finder, source[0], source[1], source[2]));
}

template <int From, int To>
void CopyColors(const uint8_t *source, uint8_t *target, uint32_t count) noexcept {
    for (uint32_t i = 0; i < count; ++i, source += From, target += To)
        std::memcpy(target, source, std::min(From, To));
}

void SearchCubes(RowConverter *converter, const uint8_t *source, uint32_t count,
                 uint8_t *indices) noexcept {
    uint8_t room[kPiece * 3];
    if (converter->from == 32)
        CopyColors<4, 3>(source, room, count);
    FindInCubes(&converter->cubes, converter->from == 32 ? room : source, count, indices);
}

// As LookUp, for true colours: the nearest entry of the table, or without one the value's lowest
// byte, which is the fourth byte with 32 bits and 0 with 24.
void Search(RowConverter *converter, const uint8_t *source, uint32_t count,
            uint8_t *indices) noexcept {
    const uint32_t step = converter->from / 8u;
    for (uint32_t i = 0; !converter->searches && i < count; ++i)
        indices[i] = step == 4 ? source[i * 4 + 3] : 0;
    if (!converter->searches)
        return;
    if (ServesPixels(converter->cubes))
        SearchCubes(converter, source, count, indices);
    else if (converter->finder.cellBits == 6)
        SearchOneByOne<6>(&converter->finder, source, step, count, indices);
    else if (converter->finder.cellBits == 5)
        SearchOneByOne<5>(&converter->finder, source, step, count, indices);
    else
        SearchOneByOne<0>(&converter->finder, source, step, count, indices);
}

void Indices(RowConverter *converter, const uint8_t *source, uint32_t count,
             uint8_t *indices) noexcept {
    uint8_t room[kPiece];
    if (IsTrueColor(converter->from))
        Search(converter, source, count, indices);
    else
        LookUp(converter->index, Values(converter->from, source, count, room), count, indices);
}

void ToIndices(RowConverter *converter, const uint8_t *source, uint8_t *target,
               uint32_t count) noexcept {
    if (converter->to == 8)
        return Indices(converter, source, count, target);
    uint8_t indices[kPiece];
    Indices(converter, source, count, indices);
    PackPixels(converter->to, indices, count, target);
}

// Four bytes at a time while there is room for the fourth, which the next pixel overwrites.
void ToColors24(const uint8_t (*color)[4], const uint8_t *values, uint32_t count,
                uint8_t *target) noexcept {
    for (uint32_t i = 0; i + 1 < count; ++i, target += 3)
        std::memcpy(target, color[values[i]], 4);
    if (count != 0)
        std::memcpy(target, color[values[count - 1]], 3);
}

void ToColors32(const uint8_t (*color)[4], const uint8_t *values, uint32_t count,
                uint8_t *target) noexcept {
    for (uint32_t i = 0; i < count; ++i, target += 4)
        std::memcpy(target, color[values[i]], 4);
}

void ToColors(const RowConverter &converter, const uint8_t *source, uint8_t *target,
              uint32_t count) noexcept {
    uint8_t room[kPiece];
    const uint8_t *values = Values(converter.from, source, count, room);
    if (converter.to == 24)
        ToColors24(converter.color, values, count, target);
    else
        ToColors32(converter.color, values, count, target);
}

void CopyColors(uint16_t from, uint16_t to, const uint8_t *source, uint8_t *target,
                uint32_t width) noexcept {
    if (from == to)
        std::memcpy(target, source, size_t{width} * (from / 8u));
    else if (from == 24)
        CopyColors<3, 4>(source, target, width);
    else
        CopyColors<4, 3>(source, target, width);
}

} // namespace

void OpenRowConverter(RowConverter *converter, uint16_t from, uint16_t to, const uint32_t *indexMap,
                      const ColorTable &table, uint64_t pixels) noexcept {
    *converter = {};
    converter->from = from;
    converter->to = to;
    converter->searches = IsTrueColor(from) && to < 24 && table.entries != nullptr;
    if (converter->searches) {
        OpenColorCubes(&converter->cubes, table, pixels);
        OpenFinder(&converter->finder, table, ServesPixels(converter->cubes) ? 0 : pixels);
    }
    for (uint32_t value = 0; !IsTrueColor(from) && value < PixelValues(from); ++value) {
        const uint32_t stored = StoredValue(to, value, indexMap, table.entries, table.count);
        converter->index[value] = LowByteOf(stored);
        converter->color[value][0] = RedOf(stored);
        converter->color[value][1] = GreenOf(stored);
        converter->color[value][2] = BlueOf(stored);
        converter->color[value][3] = LowByteOf(stored);
    }
}

void CloseRowConverter(RowConverter *converter) noexcept {
    CloseColorCubes(&converter->cubes);
    CloseFinder(&converter->finder);
}

void ConvertRow(RowConverter *converter, const uint8_t *source, uint8_t *target,
                uint32_t width) noexcept {
    const uint16_t from = converter->from;
    const uint16_t to = converter->to;
    if (IsTrueColor(from) && IsTrueColor(to))
        return CopyColors(from, to, source, target, width);
    if (!IsTrueColor(to) && PixelValues(to) == 1)
        return; // a depth that is not written
    if (from == 24 && to == 8 && ServesPixels(converter->cubes))
        return FindInCubes(&converter->cubes, source, width, target);
    for (uint32_t x = 0; x < width; x += kPiece) {
        const uint32_t count = std::min(width - x, kPiece);
        const uint8_t *piece = PixelAt(source, x, from);
        uint8_t *out = target + (PixelAt(target, x, to) - target);
        if (IsTrueColor(to))
            ToColors(*converter, piece, out, count);
        else
            ToIndices(converter, piece, out, count);
    }
}

} // namespace kowen
