#include "device/device_record.h"

#include "platform/global_memory.h"
#include "platform/state.h"

namespace kowen {

int32_t AllocGlobal() noexcept {
    if (hCommon == 0) {
        hEMData = GlobalAlloc(kGlobalFlags, sizeof(EMData));
        lpEMData = Lock<EMData>(hEMData);
    }
    return 0;
}

int32_t FreeGlobal() noexcept {
    if (!lpEMData)
        return 0;
    GlobalUnlock(hEMData);
    GlobalFree(hEMData);
    hEMData = 0;
    lpEMData = nullptr;
    return 0;
}

int32_t LockGlobal(uint32_t) noexcept {
    return 0;
}

int32_t UnlockGlobal(uint32_t) noexcept {
    return 0;
}

} // namespace kowen
