// The device's colour table as the palette of a bitmap.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

/// Makes a palette of so many bytes from the device's colour table; entries beyond that are black.
/// Returns its handle, the caller's; 0 without memory.
MemoryHandle MakeDevicePalette(uint32_t bytes) noexcept;

} // namespace kowen
