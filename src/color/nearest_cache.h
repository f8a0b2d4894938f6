// The nearest entries of one table for many colours: a colour that comes again is not searched
// again, unless another one has taken its slot.
//
// Not on the export path.
#pragma once

#include "color/table_view.h"

#include <cstdint>

namespace kowen {

inline constexpr uint32_t kNearestSlots = 4096;

/// Each slot holds one colour that was searched for, and the low byte of its entry's index. Opened
/// and used within one call of the library; nothing to free.
struct NearestCache {
    TableView table;
    uint32_t slots[kNearestSlots]; ///< red, green, blue and the index, from the highest byte down
};

/// Prepares searches in a table; borrowed as long as the cache is used.
void OpenNearestCache(NearestCache *cache, const TableView &table) noexcept;

/// Returns the low byte of what rlNearestRGBIndex returns for a pixel value's red, green and blue.
uint8_t NearestIndex(NearestCache *cache, uint32_t value) noexcept;

} // namespace kowen
