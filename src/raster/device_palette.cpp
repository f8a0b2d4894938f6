#include "raster/device_palette.h"

#include "device/device_record.h"
#include "platform/global_memory.h"

#include <algorithm>
#include <cstring>

namespace kowen {

MemoryHandle MakeDevicePalette(uint32_t bytes) noexcept {
    const MemoryHandle palette = GlobalAlloc(kGlobalFlags, bytes);
    void *colours = GlobalLock(palette);
    if (colours)
        std::memcpy(colours, lpEMData->colorTable, std::min(bytes, kColorTableBytes));
    GlobalUnlock(palette);
    return palette;
}

} // namespace kowen
