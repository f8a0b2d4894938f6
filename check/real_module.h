// The module behind the checking module.
#pragma once

#include "kowen/kowen.h"

namespace kowen::check {

/// The functions of the real module; all null when it could not be loaded.
struct RealModule {
    EntryPointRecord table = {};
    LoadPointersFunction loadPointers = nullptr;
    char *name = nullptr; ///< its szDLLName, 260 bytes
    CreateSetupFunction createSetup = nullptr;
    DestroySetupFunction destroySetup = nullptr;
    EditSetupFunction editSetup = nullptr;
    EscapeSetupFunction escapeSetup = nullptr;
    GetFilterVersionFunction getFilterVersion = nullptr;
    ShortDoorFunction exportDoor = nullptr;
    ShortDoorFunction rasterDoor = nullptr;
    ExportCellDataFunction exportCellData = nullptr;
    GlobalAllocFunction globalAlloc = nullptr;
    GlobalLockFunction globalLock = nullptr;
    GlobalUnlockFunction globalUnlock = nullptr;
    GlobalFreeFunction globalFree = nullptr;
    GlobalReAllocFunction globalReAlloc = nullptr;
    GlobalSizeFunction globalSize = nullptr;
    GlobalHandleFunction globalHandle = nullptr;
    GlobalPointerToHandleFunction globalPointerToHandle = nullptr;
    GlobalCompactFunction globalCompact = nullptr;
    SetDisplayInfoFunction setDisplayInfo = nullptr;
    SetDisplayInfoFunction setPrinterInfo = nullptr;
    GetDisplayInfoFunction getDisplayInfo = nullptr;
    GetDisplayInfoFunction getPrinterInfo = nullptr;
    InquireSupportFunction inquireSupport = nullptr;
    ScaleImageSizeFunction scaleImageSize = nullptr;
};

/// Loads the module named by KOWEN_CHECKED_MODULE, else kowen.so beside this one, with this one,
/// and unloads it with this one. Null when that fails, which is told once.
const RealModule *Real();

/// The path of the checking module itself, and of the real one.
const char *OwnPath();
const char *RealPath();

} // namespace kowen::check
