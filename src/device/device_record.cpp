#include "device/device_record.h"

#include "device/common_record.h"
#include "platform/global_memory.h"

namespace kowen {

MemoryHandle hCommon = 0;
CommonRecord *lpCommon = nullptr;
MemoryHandle hEMData = 0;
EMData *lpEMData = nullptr;

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
