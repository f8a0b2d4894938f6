// EscapeSetup, checked.
#pragma once

#include "kowen/kowen.h"

namespace kowen::check {

int32_t CheckedEscapeSetup(MemoryHandle setup, int32_t code, uint32_t size, const void *in,
                           void *out, int32_t persist);

} // namespace kowen::check
