#include "color/color_resolution.h"

#include "color/depth.h"
#include "color/dither.h"
#include "color/pixel.h"
#include "color/reduce.h"
#include "color/table_view.h"
#include "platform/global_memory.h"

#include <cstring>

namespace kowen {
namespace {

// Reduces a table's 2^from colours, the missing ones black, as one row of pixels.
MemoryHandle ReduceTable(MemoryHandle table, uint16_t from, uint16_t *count) noexcept {
    const uint16_t colours = ColoursOf(from);
    if (table == 0 || BitmapFits(table, colours, 1, 24))
        return rlReduceColorTable(table, colours, 1, count);
    const MemoryHandle complete = rlGetMemory(kTableEntryBytes, colours);
    if (complete != 0)
        std::memcpy(Lock<uint8_t>(complete), Lock<uint8_t>(table), GlobalSize(table));
    const MemoryHandle reduced = rlReduceColorTable(complete, colours, 1, count);
    rlFreeNewData(complete);
    return reduced;
}

} // namespace

MemoryHandle rlChangeColorResolution(MemoryHandle bits, uint32_t width, uint32_t height,
                                     uint16_t from, uint16_t to, MemoryHandle *table) noexcept {
    MemoryHandle newTable = 0;
    uint16_t count = 0;
    if (to < from) {
        count = ColoursOf(to);
        if (from == 24 && to >= 8)
            newTable = rlReduceColorTable(bits, static_cast<uint16_t>(width),
                                          static_cast<uint16_t>(height), &count);
        else if (to > 4)
            newTable = ReduceTable(*table, from, &count);
    }
    const MemoryHandle result =
        to < 8 && from > to
            ? rlDitherBitmap(bits, width, height, from, to, *table, &newTable)
            : rlConvertBitmapDepth(bits, width, height, from, to, *table, newTable, count);
    *table = newTable;
    return result;
}

} // namespace kowen
