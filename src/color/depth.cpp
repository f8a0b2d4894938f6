#include "color/depth.h"

#include "color/diagnostics.h"
#include "color/nearest.h"
#include "color/pixel.h"
#include "color/row_convert.h"
#include "color/table_view.h"
#include "platform/global_memory.h"

#include <cstring>

namespace kowen {
namespace {

// Deeper sources have no index map: it would need 2^24 entries and more.
constexpr uint16_t kDeepestMapped = 16;

const uint8_t *EntryOf(const uint8_t *table, uint32_t index) noexcept {
    return table + size_t{index} * kTableEntryBytes;
}

// The first values entries of the index map from one table to another; see rlBuildColormap.
void FillColormap(uint32_t *map, uint32_t values, const uint8_t *fromTable, uint16_t from,
                  const uint8_t *toTable, uint16_t to, uint32_t count) noexcept {
    if (from <= to && toTable == nullptr) {
        toTable = fromTable;
        count = 1u << from;
    }
    for (uint32_t i = 0; i < values; ++i) {
        map[i] = 0;
        if (fromTable == nullptr || toTable == nullptr)
            continue;
        const uint8_t *colour = EntryOf(fromTable, i);
        map[i] = to == 24 ? ColourValue(colour[0], colour[1], colour[2])
                          : static_cast<uint32_t>(
                                rlNearestRGBIndex(colour[0], colour[1], colour[2], toTable, count));
    }
}

// A copy of a table with all 2^bits entries, the missing ones 0; 0 when memory is exhausted.
MemoryHandle CompletedTable(const TableView &table, uint16_t bits) noexcept {
    const MemoryHandle complete = rlGetMemory(kTableEntryBytes, 1u << bits);
    if (complete != 0 && table.count != 0)
        std::memcpy(Lock<uint8_t>(complete), table.entries, size_t{table.count} * kTableEntryBytes);
    return complete;
}

// Prepares the conversion of rows of width pixels; false when memory is exhausted.
bool PrepareConversion(RowConverter *converter, uint16_t from, uint16_t to, uint32_t width,
                       MemoryHandle fromTable, const TableView &target) noexcept {
    if (from > kDeepestMapped) {
        PrepareRowConverter(converter, from, to, width, nullptr, target);
        return true;
    }
    const TableView source = LockTable(fromTable, 1u << from);
    const bool isShort = fromTable != 0 && source.count < 1u << from;
    const MemoryHandle complete = isShort ? CompletedTable(source, from) : 0;
    if (isShort && complete == 0)
        return false;
    uint32_t map[256];
    FillColormap(map, PixelValues(from), isShort ? Lock<uint8_t>(complete) : source.entries, from,
                 target.entries, to, target.count);
    PrepareRowConverter(converter, from, to, width, map, target);
    rlFreeNewData(complete);
    return true;
}

} // namespace

MemoryHandle rlConvertBitmapDepth(MemoryHandle bits, uint32_t width, uint32_t height, uint16_t from,
                                  uint16_t to, MemoryHandle fromTable, MemoryHandle toTable,
                                  uint32_t count) noexcept {
    if (!BitmapFits(bits, width, height, from))
        return 0;
    MemoryHandle result = rlGetMemory(1, rlCalcNewSize(width, height, to));
    RowConverter converter;
    if (result != 0 &&
        !PrepareConversion(&converter, from, to, width, fromTable, LockTable(toTable, count))) {
        GlobalFree(result);
        result = 0;
    }
    if (result != 0) {
        ReportConversionStart(GlobalSize(result));
        ConvertRows(&converter, Lock<const uint8_t>(bits), Lock<uint8_t>(result), height);
    }
    ReportConversionEnd();
    return result;
}

MemoryHandle rlBuildColormap(const uint8_t *fromTable, uint16_t from, const uint8_t *toTable,
                             uint16_t to, uint32_t count) noexcept {
    if (from > kDeepestMapped)
        return 0;
    const MemoryHandle map = rlGetMemory(sizeof(uint32_t), 1u << from);
    if (map != 0)
        FillColormap(Lock<uint32_t>(map), 1u << from, fromTable, from, toTable, to, count);
    return map;
}

int32_t rlFreeColormap(MemoryHandle map) noexcept {
    rlFreeNewData(map);
    return 0;
}

} // namespace kowen
