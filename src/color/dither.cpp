#include "color/dither.h"

#include "color/color_table.h"
#include "color/depth.h"
#include "color/diagnostics.h"
#include "color/dither_row.h"
#include "color/dither_rows.h"
#include "color/pixel.h"
#include "color/row_convert.h"
#include "platform/global_memory.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace kowen {
namespace {

// The table of 1-bit targets.
constexpr uint8_t MonoTable[8][3] = {{0, 0, 0},       {255, 255, 255}, {64, 64, 64},
                                     {128, 128, 128}, {160, 160, 160}, {192, 192, 192},
                                     {208, 208, 208}, {224, 224, 224}};

// What follows the quantised colours of deeper targets.
constexpr uint8_t must_have_colors[8][3] = {{255, 255, 255}, {255, 255, 0}, {255, 0, 255},
                                            {0, 255, 255},   {255, 0, 0},   {0, 255, 0},
                                            {0, 0, 255},     {0, 0, 0}};

constexpr uint16_t kMonoColors = 8;
constexpr uint16_t kMustHaves = 8;

// The picture with 24 bits per pixel: the source itself, or a copy to be freed.
struct TrueColors {
    MemoryHandle pixels; ///< 0 on failure
    MemoryHandle copy;
};

TrueColors OpenTrueColors(MemoryHandle bitmap, uint32_t width, uint32_t height, uint16_t from,
                          MemoryHandle palette) noexcept {
    // A copy of 24 bits is of no use, except to be reported.
    if (from == 24 && _debug_color_res == 0)
        return {BitmapFits(bitmap, width, height, from) ? bitmap : 0, 0};
    const MemoryHandle copy = rlConvertBitmapDepth(bitmap, width, height, from, 24, palette, 0, 0);
    return {copy, copy};
}

void CloseTrueColors(const TrueColors &picture) noexcept {
    rlFreeNewData(picture.copy);
}

// A table and how many of its colours are meant.
struct ChosenTable {
    MemoryHandle table; ///< 0 on failure
    uint16_t count;
};

uint16_t ColorsOf(uint16_t bits) noexcept {
    return bits < 16 ? static_cast<uint16_t>(1u << bits) : 0;
}

bool IsMono(uint16_t to) noexcept {
    return ColorsOf(to) < 3;
}

ChosenTable MakeMonoTable() noexcept {
    const MemoryHandle table = rlGetMemory(kMonoColors, kTableEntryBytes);
    if (table != 0)
        std::memcpy(Lock<uint8_t>(table), MonoTable, sizeof(MonoTable));
    return {table, kMonoColors};
}

// Quantised colours and the must-haves, in a table of 2^to entries.
ChosenTable MakeColorTable(const TrueColors &picture, uint32_t width, uint32_t height,
                           uint16_t to) noexcept {
    const uint16_t colors = ColorsOf(to);
    uint16_t quantised = colors > kMustHaves ? colors - kMustHaves : 0;
    const MemoryHandle reduced = rlReduceColorTable(picture.pixels, static_cast<uint16_t>(width),
                                                    static_cast<uint16_t>(height), &quantised);
    const MemoryHandle table = reduced != 0 ? rlGetMemory(kTableEntryBytes, colors) : 0;
    if (table != 0) {
        auto *entries = Lock<uint8_t>(table);
        const size_t bytes = size_t{quantised} * kTableEntryBytes;
        std::memcpy(entries, Lock<uint8_t>(reduced), bytes);
        std::memcpy(entries + bytes, must_have_colors,
                    std::min(sizeof(must_have_colors), GlobalSize(table) - bytes));
    }
    rlFreeNewData(reduced);
    return {table, colors};
}

// The table that a picture is dithered to when the caller may have given one.
ChosenTable ChooseTable(const TrueColors &picture, uint32_t width, uint32_t height, uint16_t to,
                        MemoryHandle given) noexcept {
    if (given != 0)
        return {given, ColorsOf(to)};
    return IsMono(to) ? MakeMonoTable() : MakeColorTable(picture, width, height, to);
}

// What each index becomes in the target: what rlConvertBitmapDepth makes of its colour.
void MapIndices(const ColorTable &table, uint16_t to, uint32_t map[256]) noexcept {
    for (uint32_t i = 0; i < 256; ++i) {
        uint32_t color = ColorValue(0, 0, 0);
        if (i < table.count) {
            const uint8_t *entry = table.entries + size_t{i} * kTableEntryBytes;
            color = ColorValue(entry[0], entry[1], entry[2]);
        }
        map[i] = StoredValue(to, color, nullptr, table.entries, table.count);
    }
}

// Prepares the conversion of dithered rows: of their indices, or of their colours where an index
// does not fit a byte.
void OpenTarget(RowConverter *converter, const ColorTable &table, uint16_t to,
                uint64_t pixels) noexcept {
    if (table.count > 256)
        return OpenRowConverter(converter, 24, to, nullptr, table, pixels);
    uint32_t map[256];
    MapIndices(table, to, map);
    OpenRowConverter(converter, 8, to, map, {nullptr, 0}, pixels);
}

// Dithered rows are converted as they come; this reports it as rlConvertBitmapDepth would.
void ReportConversion(MemoryHandle result, uint32_t width, uint32_t height) noexcept {
    ReportConversionStart(GlobalSize(result));
    for (uint32_t y = 0; y < height; ++y)
        ReportConvertedRow(width, y);
    ReportConversionEnd();
}

MemoryHandle DitherToTable(const TrueColors &picture, uint32_t width, uint32_t height, uint16_t to,
                           MemoryHandle table, uint16_t count) noexcept {
    RowDitherer ditherer;
    const ColorTable colors = LockTable(table, count);
    MemoryHandle result = rlGetMemory(1, rlCalcNewSize(width, height, to));
    if (result != 0 && OpenRowDitherer(&ditherer, Lock<const uint8_t>(picture.pixels), width,
                                       height, colors, to == 1)) {
        OpenTarget(&ditherer.converter, colors, to, uint64_t{width} * height);
        ReportDitherTable(colors.entries, colors.count);
        ReportDitherStart();
        DitherRows(&ditherer, Lock<uint8_t>(result), rlBytesPerLine(width, to));
        ReportDitherEnd();
        ReportConversion(result, width, height);
        CloseRowConverter(&ditherer.converter);
        CloseRowDitherer(&ditherer);
        return result;
    }
    rlFreeNewData(result);
    return 0;
}

} // namespace

MemoryHandle rlDitherBitmap(MemoryHandle bitmap, uint32_t width, uint32_t height, uint16_t from,
                            uint16_t to, MemoryHandle palette, MemoryHandle *table) noexcept {
    const TrueColors picture = OpenTrueColors(bitmap, width, height, from, palette);
    MemoryHandle result = 0;
    if (picture.pixels != 0) {
        const ChosenTable chosen = ChooseTable(picture, width, height, to, *table);
        if (chosen.table != 0) {
            *table = chosen.table;
            result = DitherToTable(picture, width, height, to, chosen.table, chosen.count);
        }
    }
    CloseTrueColors(picture);
    return result;
}

MemoryHandle rlDitherGetCT(MemoryHandle bitmap, uint32_t width, uint32_t height, uint16_t from,
                           uint16_t to, MemoryHandle palette, MemoryHandle *table,
                           uint16_t *count) noexcept {
    *count = 0;
    const TrueColors picture = OpenTrueColors(bitmap, width, height, from, palette);
    if (picture.pixels == 0)
        return 0;
    const ChosenTable chosen = ChooseTable(picture, width, height, to, IsMono(to) ? *table : 0);
    CloseTrueColors(picture);
    if (chosen.table == 0)
        return 0;
    *table = chosen.table;
    *count = chosen.count;
    const ColorTable colors = LockTable(chosen.table, chosen.count);
    ReportDitherTable(colors.entries, colors.count);
    return chosen.table;
}

MemoryHandle rlDitherGivenCT(MemoryHandle bitmap, uint32_t width, uint32_t height, uint16_t from,
                             uint16_t to, MemoryHandle palette, MemoryHandle table,
                             uint16_t count) noexcept {
    const TrueColors picture = OpenTrueColors(bitmap, width, height, from, palette);
    if (picture.pixels == 0)
        return 0;
    const MemoryHandle result = DitherToTable(picture, width, height, to, table, count);
    CloseTrueColors(picture);
    return result;
}

void _rlDitherOneLine(uint8_t *current, uint8_t *next, const uint8_t *table, uint32_t width,
                      uint16_t count) noexcept {
    NearestFinder finder;
    OpenFinder(&finder, {table, count}, 0);
    DitherRow(&finder, current, next, width, nullptr);
}

} // namespace kowen
