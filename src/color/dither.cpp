#include "color/dither.h"

#include "color/color_mode.h"
#include "color/depth.h"
#include "color/diagnostics.h"
#include "color/nearest.h"
#include "color/pixel.h"
#include "color/reduce.h"
#include "color/table_view.h"
#include "platform/global_memory.h"

#include <algorithm>
#include <cstring>

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

constexpr uint16_t kMonoColours = 8;
constexpr uint16_t kMustHaves = 8;

// A bitmap of 24 bits per pixel.
struct TrueColours {
    MemoryHandle pixels;
    uint32_t width;
    uint32_t height;
};

// A copy of a bitmap with 24 bits; its pixels are 0 on failure.
TrueColours CopyOf(MemoryHandle bitmap, uint32_t width, uint32_t height, uint16_t from,
                   MemoryHandle palette) noexcept {
    return {rlConvertBitmapDepth(bitmap, width, height, from, 24, palette, 0, 0), width, height};
}

// A table and how many of its colours are meant.
struct ChosenTable {
    MemoryHandle table; ///< 0 on failure
    uint16_t count;
};

bool IsMono(uint16_t to) noexcept {
    return ColoursOf(to) < 3;
}

ChosenTable MakeMonoTable() noexcept {
    const MemoryHandle table = rlGetMemory(kMonoColours, kTableEntryBytes);
    if (table != 0)
        std::memcpy(Lock<uint8_t>(table), MonoTable, sizeof(MonoTable));
    return {table, kMonoColours};
}

// Quantised colours and the must-haves, in a table of 2^to entries.
ChosenTable MakeColourTable(const TrueColours &picture, uint16_t to) noexcept {
    const uint16_t colours = ColoursOf(to);
    uint16_t quantised = colours > kMustHaves ? colours - kMustHaves : 0;
    const MemoryHandle reduced =
        rlReduceColorTable(picture.pixels, static_cast<uint16_t>(picture.width),
                           static_cast<uint16_t>(picture.height), &quantised);
    const MemoryHandle table = reduced != 0 ? rlGetMemory(kTableEntryBytes, colours) : 0;
    if (table != 0) {
        auto *entries = Lock<uint8_t>(table);
        const size_t bytes = size_t{quantised} * kTableEntryBytes;
        std::memcpy(entries, Lock<uint8_t>(reduced), bytes);
        std::memcpy(entries + bytes, must_have_colors,
                    std::min(sizeof(must_have_colors), GlobalSize(table) - bytes));
    }
    rlFreeNewData(reduced);
    return {table, colours};
}

// The table that a picture is dithered to when the caller may have given one.
ChosenTable ChooseTable(const TrueColours &picture, uint16_t to, MemoryHandle given) noexcept {
    if (given != 0)
        return {given, ColoursOf(to)};
    return IsMono(to) ? MakeMonoTable() : MakeColourTable(picture, to);
}

void TurnRowGrey(const TrueColours &picture, uint8_t *row) noexcept {
    rev_rgb(static_cast<int32_t>(picture.width), row, kModeGreyScale);
}

// Dithers all rows in place; those of no columns are none. For 1 bit, each is turned grey before
// errors reach it.
void DitherRows(const TrueColours &picture, const TableView &table, bool turnsGrey) noexcept {
    const uint32_t rows = picture.width != 0 ? picture.height : 0;
    const size_t stride = rlBytesPerLine(picture.width, 24);
    uint8_t *row = Lock<uint8_t>(picture.pixels);
    ReportDitherStart();
    if (turnsGrey && rows != 0)
        TurnRowGrey(picture, row);
    for (uint32_t y = 0; y < rows; ++y, row += stride) {
        uint8_t *next = y + 1 < rows ? row + stride : nullptr;
        if (turnsGrey && next != nullptr)
            TurnRowGrey(picture, next);
        _rlDitherOneLine(row, next, table.entries, picture.width,
                         static_cast<uint16_t>(table.count));
        ReportDitheredRow();
    }
    ReportDitherEnd();
}

MemoryHandle DitherToTable(const TrueColours &picture, uint16_t to, MemoryHandle table,
                           uint16_t count) noexcept {
    const TableView colours = LockTable(table, count);
    ReportDitherTable(colours.entries, colours.count);
    DitherRows(picture, colours, to == 1);
    return rlConvertBitmapDepth(picture.pixels, picture.width, picture.height, 24, to, 0, table,
                                count);
}

} // namespace

MemoryHandle rlDitherBitmap(MemoryHandle bitmap, uint32_t width, uint32_t height, uint16_t from,
                            uint16_t to, MemoryHandle palette, MemoryHandle *table) noexcept {
    const TrueColours picture = CopyOf(bitmap, width, height, from, palette);
    if (picture.pixels == 0)
        return 0;
    MemoryHandle result = 0;
    const ChosenTable chosen = ChooseTable(picture, to, *table);
    if (chosen.table != 0) {
        *table = chosen.table;
        result = DitherToTable(picture, to, chosen.table, chosen.count);
    }
    GlobalFree(picture.pixels);
    return result;
}

MemoryHandle rlDitherGetCT(MemoryHandle bitmap, uint32_t width, uint32_t height, uint16_t from,
                           uint16_t to, MemoryHandle palette, MemoryHandle *table,
                           uint16_t *count) noexcept {
    *count = 0;
    const TrueColours picture = CopyOf(bitmap, width, height, from, palette);
    if (picture.pixels == 0)
        return 0;
    const ChosenTable chosen = ChooseTable(picture, to, IsMono(to) ? *table : 0);
    GlobalFree(picture.pixels);
    if (chosen.table == 0)
        return 0;
    *table = chosen.table;
    *count = chosen.count;
    const TableView colours = LockTable(chosen.table, chosen.count);
    ReportDitherTable(colours.entries, colours.count);
    return chosen.table;
}

MemoryHandle rlDitherGivenCT(MemoryHandle bitmap, uint32_t width, uint32_t height, uint16_t from,
                             uint16_t to, MemoryHandle palette, MemoryHandle table,
                             uint16_t count) noexcept {
    const TrueColours picture = CopyOf(bitmap, width, height, from, palette);
    if (picture.pixels == 0)
        return 0;
    const MemoryHandle result = DitherToTable(picture, to, table, count);
    GlobalFree(picture.pixels);
    return result;
}

} // namespace kowen
