#include "setup/unlock_counter.h"

// KOWEN_UNLOCK_SYMBOL is GlobalUnlock's name for the linker, which --wrap was given too.
extern "C" {
int32_t CountingUnlock(uintptr_t handle) noexcept __asm__("__wrap_" KOWEN_UNLOCK_SYMBOL);
int32_t RealUnlock(uintptr_t handle) noexcept __asm__("__real_" KOWEN_UNLOCK_SYMBOL);

int32_t CountingUnlock(uintptr_t handle) noexcept {
    ++kowen::unlockCount;
    return RealUnlock(handle);
}
}

namespace kowen {

int unlockCount = 0;

} // namespace kowen
