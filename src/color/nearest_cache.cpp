#include "color/nearest_cache.h"

#include "color/nearest.h"
#include "color/pixel.h"

#include <algorithm>

namespace kowen {
namespace {

// The upper bits of a product with 2^32 divided by the golden ratio: colours that are close to each
// other fall into slots that are not. Black has slot 0.
uint32_t SlotOf(uint32_t colour) noexcept {
    return (colour >> 8) * 2654435769u >> 20;
}

uint32_t Searched(const TableView &table, uint32_t colour) noexcept {
    const int32_t index = rlNearestRGBIndex(RedOf(colour), GreenOf(colour), BlueOf(colour),
                                            table.entries, table.count);
    return colour | LowByteOf(static_cast<uint32_t>(index));
}

} // namespace

void OpenNearestCache(NearestCache *cache, const TableView &table) noexcept {
    cache->table = table;
    // Every slot holds black, which is only looked for in its own.
    std::fill_n(cache->slots, kNearestSlots, Searched(table, ColourValue(0, 0, 0)));
}

uint8_t NearestIndex(NearestCache *cache, uint32_t value) noexcept {
    const uint32_t colour = value & ColourValue(255, 255, 255);
    uint32_t &slot = cache->slots[SlotOf(colour)];
    if ((slot & ColourValue(255, 255, 255)) != colour)
        slot = Searched(cache->table, colour);
    return LowByteOf(slot);
}

} // namespace kowen
