// The table of named entries that a host receives.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

inline constexpr uint16_t kEntryCount = 9;

/// Writes the table's address and its count into the host's record and touches nothing else.
/// A null record is left alone.
void LoadEntryPointers(EntryPointRecord *record) noexcept;

} // namespace kowen
