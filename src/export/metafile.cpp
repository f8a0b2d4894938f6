#include "export/metafile.h"

namespace kowen {
namespace {

// a - b as a 32-bit machine word: a difference beyond the limits wraps.
double WordDifference(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}

void Query(const MetafilePicture &picture, PictureQuery *query) {
    query->width = WordDifference(picture.right, picture.left);
    query->height = WordDifference(picture.top, picture.bottom);
    query->resolution = picture.unitsPerInch;
    if (const auto units = static_cast<uint32_t>(picture.unitsPerInch); units != 0) {
        query->width /= units;
        query->height /= units;
    }
    query->pixelOrder = kPixelOrderBgr;
}

} // namespace

uintptr_t InitPlatformMetafileFilter(uintptr_t hostValue1, uintptr_t, ExportRecord *,
                                     uintptr_t *word1, MemoryHandle *setup, uintptr_t *word2,
                                     CapabilityCallback *callback) noexcept {
    *word1 = 0;
    *setup = 0;
    *word2 = 0;
    *callback = nullptr;
    return hostValue1;
}

int32_t TermPlatformMetafileFilter(uintptr_t) noexcept {
    return 0;
}

uintptr_t GetMetaFileHandle() noexcept {
    return 0;
}

int32_t DeleteMetaFileHandle(uintptr_t) noexcept {
    return 0;
}

int32_t AltFontsAvailable() noexcept {
    return 0;
}

uintptr_t DrawPlatformMetafile(int32_t operation, void *record, uintptr_t argument1,
                               uintptr_t) noexcept {
    if (operation == kDrawQuery)
        Query(*static_cast<const MetafilePicture *>(record),
              reinterpret_cast<PictureQuery *>(argument1));
    return 0;
}

} // namespace kowen
