// Setup escapes: one setting read or changed by number.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

int32_t xEscapeSetup(MemoryHandle setup, int32_t code, uint32_t size, const void *in, void *out,
                     int32_t persist) noexcept;

} // namespace kowen
