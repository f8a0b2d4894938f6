// A whole export in one call: 8 x 8 grey pixels through the bitmap door.
#pragma once

#include "support/module_host.h"

#include <cstring>
#include <string>

inline int32_t ExportTinyPicture(const ModuleHost &host, const std::string &outputName) {
    constexpr int kSide = 8;
    constexpr uint32_t kRowBytes = kSide * 3;
    const auto alloc = host.Symbol<GlobalAllocFunction>("GlobalAlloc");
    const auto lock = host.Symbol<GlobalLockFunction>("GlobalLock");
    const auto free = host.Symbol<GlobalFreeFunction>("GlobalFree");
    const MemoryHandle setup =
        host.Entry<CreateSetupFunction>("CreateSetup")(0, "/absent/p.ini", nullptr, nullptr);
    BitmapRecord bitmap = {};
    bitmap.depth = 24;
    bitmap.width = kSide;
    bitmap.height = kSide;
    bitmap.pixels = alloc(KOWEN_GLOBAL_FLAGS, kRowBytes * kSide);
    std::memset(lock(bitmap.pixels), 0x80, kRowBytes * kSide);
    CellRecord cell = {};
    cell.resolution = 96;
    cell.targetResolution = 96;
    cell.targetWidth = cell.pageWidth = kSide;
    cell.targetHeight = cell.pageHeight = kSide;
    HostRecord hostRecord = {};
    hostRecord.setup = setup;
    const int32_t result = host.Entry<ExportCellDataFunction>("ExportCellData")(
        outputName.c_str(), &bitmap, &cell, &hostRecord);
    free(bitmap.pixels);
    host.Entry<DestroySetupFunction>("DestroySetup")(setup);
    return result;
}
