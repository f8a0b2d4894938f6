// A colour table as the operations see it: no more entries than its block holds.
#pragma once

#include "color/pixel.h"
#include "platform/global_memory.h"

#include <algorithm>
#include <cstdint>

namespace kowen {

/// 2^bits as the 16-bit count that tables are asked for with: 0 from 16 bits on.
constexpr uint16_t ColoursOf(uint16_t bits) noexcept {
    return bits < 16 ? static_cast<uint16_t>(1u << bits) : 0;
}

/// Borrowed view of a colour table; entries is null when there is none.
struct TableView {
    const uint8_t *entries; ///< 3 bytes each: red, green, blue
    uint32_t count;
};

/// Returns the first wanted entries of a table, borrowed; none for handle 0.
///
/// Hardened: there are no more than the table's block holds.
/// Test: RlConvertBitmapDepth.EntriesThatTheTargetsTableLacksAreNotFound.
inline TableView LockTable(MemoryHandle table, uint32_t wanted) noexcept {
    const auto *entries = Lock<const uint8_t>(table);
    return {entries,
            entries == nullptr ? 0 : std::min(wanted, GlobalSize(table) / kTableEntryBytes)};
}

} // namespace kowen
