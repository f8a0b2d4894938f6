// The table of named entries that a host receives.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

inline constexpr uint16_t kEntryCount = 9;
inline constexpr uint32_t kFilterVersion = 0x02000005;

/// Writes the table's address and its count into the host's record and touches nothing else.
/// A null record is left alone.
void LoadEntryPointers(EntryPointRecord *record) noexcept;

/// Returns kFilterVersion: version 2.0 in the high 16 bits, release 5 in the low.
uint32_t QIVGetFilterVersion() noexcept;

} // namespace kowen
