#include "export/offscreen.h"

#include "platform/global_memory.h"

namespace kowen {

namespace {

uintptr_t AsArgument(void *pointer) {
    return reinterpret_cast<uintptr_t>(pointer);
}

} // namespace

int32_t QueryPlatformOffscreen(PictureQuery *query, void *picture,
                               DrawingRoutine routine) noexcept {
    return static_cast<int32_t>(routine(kDrawQuery, picture, AsArgument(query), 0));
}

OffscreenRecord *InitPlatformOffscreen(uint32_t width, uint32_t *bandHeight, uint16_t depth,
                                       uint16_t paletteCount, uint8_t *palette, void *picture,
                                       DrawingRoutine routine, const uint8_t *flag) noexcept {
    auto *record = static_cast<OffscreenRecord *>(qivPtrGlobalAlloc(sizeof(OffscreenRecord)));
    if (!record) {
        *bandHeight = 0;
        return nullptr;
    }
    *record = {picture, routine, paletteCount, palette, width, *bandHeight, depth, 0, *flag, false};
    OffscreenFormat format = {width, *bandHeight, depth, paletteCount, palette};
    *bandHeight = static_cast<uint32_t>(routine(kDrawOpen, record, AsArgument(&format), 0));
    record->bandHeight = *bandHeight;
    return record;
}

MemoryHandle DrawPlatformOffscreen(OffscreenRecord *record, uint32_t firstRow,
                                   uint32_t lastRow) noexcept {
    return record->routine(kDrawBand, record, firstRow, lastRow);
}

void TermPlatformOffscreen(OffscreenRecord *record) noexcept {
    if (!record)
        return;
    record->routine(kDrawClose, record, 0, 0);
    qivPtrGlobalFree(record);
}

} // namespace kowen
