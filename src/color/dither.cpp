#include "color/dither.h"

#include "color/color_mode.h"
#include "color/color_table.h"
#include "color/depth.h"
#include "color/diagnostics.h"
#include "color/dither_row.h"
#include "color/pixel.h"
#include "color/row_convert.h"
#include "platform/global_memory.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace kowen {
namespace {

// The table of 1-bit targets.
constexpr uint8_t kMonoTable[8][3] = {{0, 0, 0},       {255, 255, 255}, {64, 64, 64},
                                      {128, 128, 128}, {160, 160, 160}, {192, 192, 192},
                                      {208, 208, 208}, {224, 224, 224}};

// What follows the quantised colours of deeper targets.
constexpr uint8_t kMustHaveColors[8][3] = {{255, 255, 255}, {255, 255, 0}, {255, 0, 255},
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
        std::memcpy(Lock<uint8_t>(table), kMonoTable, sizeof(kMonoTable));
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
        std::memcpy(entries + bytes, kMustHaveColors,
                    std::min(sizeof(kMustHaveColors), GlobalSize(table) - bytes));
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

// What is fixed while rows are dithered.
struct Ditherer {
    const uint8_t *source; ///< the next row of 24 bits
    uint32_t width;
    uint32_t stride;
    bool grey;        ///< rows are turned grey first
    uint8_t *rows[2]; ///< the row that is dithered and the one after it
    uint8_t *indices;
    NearestFinder finder;
    RowConverter converter;
    bool byIndex; ///< rows are converted from indices, not from colours
};

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

void OpenDitherer(Ditherer *ditherer, MemoryHandle room, const ColorTable &table, uint16_t to,
                  uint64_t pixels) noexcept {
    auto *bytes = Lock<uint8_t>(room);
    ditherer->rows[0] = bytes;
    ditherer->rows[1] = bytes + ditherer->stride;
    ditherer->indices = bytes + size_t{2} * ditherer->stride;
    ditherer->byIndex = table.count <= 256;
    OpenFinder(&ditherer->finder, table, pixels);
    if (ditherer->byIndex) {
        uint32_t map[256];
        MapIndices(table, to, map);
        OpenRowConverter(&ditherer->converter, 8, to, map, {nullptr, 0}, pixels);
    } else {
        OpenRowConverter(&ditherer->converter, 24, to, nullptr, table, pixels);
    }
}

void CloseDitherer(Ditherer *ditherer) noexcept {
    CloseRowConverter(&ditherer->converter);
    CloseFinder(&ditherer->finder);
}

void FetchRow(Ditherer *ditherer, uint8_t *row) noexcept {
    std::memcpy(row, ditherer->source, size_t{ditherer->width} * 3);
    ditherer->source += ditherer->stride;
    if (ditherer->grey)
        rev_rgb(static_cast<int32_t>(ditherer->width), row, kModeGreyScale);
}

// Dithers all rows into the target. Conversions are reported where rlConvertBitmapDepth would.
void DitherRows(Ditherer *ditherer, uint32_t height, uint8_t *target,
                uint32_t targetStride) noexcept {
    ReportDitherStart();
    if (height != 0)
        FetchRow(ditherer, ditherer->rows[0]);
    for (uint32_t y = 0; y < height; ++y) {
        uint8_t *next = y + 1 < height ? ditherer->rows[1] : nullptr;
        if (next != nullptr)
            FetchRow(ditherer, next);
        DitherRow(&ditherer->finder, ditherer->rows[0], next, ditherer->width, ditherer->indices);
        ConvertRow(&ditherer->converter, ditherer->byIndex ? ditherer->indices : ditherer->rows[0],
                   target, ditherer->width);
        ReportDitheredRow();
        std::swap(ditherer->rows[0], ditherer->rows[1]);
        target += targetStride;
    }
    ReportDitherEnd();
}

MemoryHandle DitherToTable(const TrueColors &picture, uint32_t width, uint32_t height, uint16_t to,
                           MemoryHandle table, uint16_t count) noexcept {
    Ditherer ditherer = {};
    ditherer.source = Lock<const uint8_t>(picture.pixels);
    ditherer.width = width;
    ditherer.stride = rlBytesPerLine(width, 24);
    ditherer.grey = to == 1;
    const MemoryHandle room = rlGetMemory(3, ditherer.stride);
    MemoryHandle result = rlGetMemory(1, rlCalcNewSize(width, height, to));
    if (room != 0 && result != 0) {
        const ColorTable colors = LockTable(table, count);
        ReportDitherTable(colors.entries, colors.count);
        OpenDitherer(&ditherer, room, colors, to, uint64_t{width} * height);
        DitherRows(&ditherer, height, Lock<uint8_t>(result), rlBytesPerLine(width, to));
        CloseDitherer(&ditherer);
        ReportConversionStart(GlobalSize(result));
        for (uint32_t y = 0; y < height; ++y)
            ReportConvertedRow(width, y);
        ReportConversionEnd();
    } else {
        rlFreeNewData(result);
        result = 0;
    }
    rlFreeNewData(room);
    return result;
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
