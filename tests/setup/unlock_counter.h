// Counts the unlocks of global memory in this test program; the linker sends them here.
#pragma once

#include <cstdint>

namespace kowen {

extern int unlockCount;

} // namespace kowen
