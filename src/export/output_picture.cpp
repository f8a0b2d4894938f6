#include "export/output_picture.h"

#include "export/cell_writer.h"
#include "export/driver.h"
#include "jpeg/compress_env.h"
#include "kowen/codes.h"
#include "platform/global_memory.h"
#include "platform/text.h"

#include <algorithm>

namespace kowen {

namespace {

constexpr int16_t kMaxPaletteDepth = 8;
constexpr uint32_t kPaletteEntryBytes = 3;

// Everything one picture holds; whatever exit is taken, it is released here.
struct Picture {
    FileHandle output = 0;
    MemoryHandle queryBlock = 0;
    PictureQuery *query = nullptr;
    uint16_t depth = 0;
    uint16_t paletteCount = 0;
    uint8_t *palette = nullptr; // the off-screen's once that is open
    uint32_t width = 0;
    uint32_t height = 0;
    OffscreenRecord *offscreen = nullptr;
    MemoryHandle environment = 0;

    Picture() = default;
    Picture(const Picture &) = delete;
    Picture &operator=(const Picture &) = delete;
    ~Picture() {
        FreeCompressEnv(environment);
        qivPtrGlobalFree(offscreen ? offscreen->palette : palette);
        TermPlatformOffscreen(offscreen);
        GlobalUnlock(queryBlock);
        GlobalFree(queryBlock);
    }
};

// Negative depth codes have no palette: 1 shifted by them leaves nothing in 16 bits.
uint16_t PaletteCount(int16_t depth) {
    return depth < 0 ? uint16_t{0} : static_cast<uint16_t>(1u << depth);
}

// Kept deliberately: an odd height gains a row. Test: OutputPicture.OddHeightGainsOneRow.
uint32_t EvenHeight(double height) {
    const uint32_t rows = TruncateToUInt32(height);
    return rows + (rows & 1u);
}

bool QueryPicture(Picture &picture, void *record, DrawingRoutine routine) {
    picture.queryBlock = GlobalAlloc(kGlobalFlags, sizeof(PictureQuery));
    picture.query = Lock<PictureQuery>(picture.queryBlock);
    if (!picture.query)
        return false;
    PictureQuery &query = *picture.query;
    QueryPlatformOffscreen(&query, record, routine);
    QueryCellFormat(&query.width, &query.height, &picture.depth, &query.resolution, nullptr,
                    nullptr);
    picture.width = TruncateToUInt32(query.width);
    picture.height = EvenHeight(query.height);
    return true;
}

bool MakeBlankPalette(Picture &picture) {
    const auto depth = static_cast<int16_t>(picture.depth);
    if (depth > kMaxPaletteDepth)
        return true;
    picture.paletteCount = PaletteCount(depth);
    if (picture.paletteCount == 0)
        return true;
    picture.palette =
        static_cast<uint8_t *>(qivPtrGlobalAlloc(picture.paletteCount * kPaletteEntryBytes));
    return picture.palette;
}

// Truncated percentage of bands done, 0 to 100.
int32_t Percent(uint32_t done, uint32_t bands) {
    return TruncateToInt32(done * 100.0 / bands);
}

// Draws, codes and reports one band after another; the result that ends the loop, 0 at its end.
int32_t OutputBands(Picture &picture, uint32_t bandHeight) {
    const uint32_t bands = picture.height / bandHeight + (picture.height % bandHeight != 0 ? 1 : 0);
    const auto depth = static_cast<int16_t>(picture.depth);
    uint32_t first = 0;
    uint32_t rows = bandHeight;
    for (uint32_t band = 0; band < bands; ++band) {
        const MemoryHandle pixels = DrawPlatformOffscreen(picture.offscreen, first, first + rows);
        // Hardened: a routine may draw nothing, but what it could not draw is not passed over.
        // Test: OutputPicture.ABitmapThatCannotBeConvertedGives27AndNoEoi.
        if (picture.offscreen->bandLost)
            return KOWEN_ERR_WORK_MEMORY;
        int32_t result = WriteCellBits(picture.output, pixels, picture.width, rows, depth,
                                       picture.query->pixelOrder, picture.environment);
        if (result == 0)
            result = UpdateStatus(Percent(band + 1, bands));
        if (result != 0)
            return result;
        first = std::min(first + rows, picture.height);
        rows = std::min(bandHeight, picture.height - first);
    }
    return 0;
}

} // namespace

int32_t OutputPicture(FileHandle output, void *record, DrawingRoutine routine) noexcept {
    Picture picture;
    picture.output = output;
    if (!QueryPicture(picture, record, routine) || !MakeBlankPalette(picture))
        return KOWEN_ERR_WORK_MEMORY;

    uint32_t bandHeight = picture.height;
    const uint8_t flag = 0;
    picture.offscreen =
        InitPlatformOffscreen(picture.width, &bandHeight, picture.depth, picture.paletteCount,
                              picture.palette, record, routine, &flag);
    if (bandHeight == 0)
        return KOWEN_ERR_WORK_MEMORY;

    // The direction it answers is always downward: bands are numbered from the picture's top.
    BeginCellBitmap(output, picture.width, picture.height, picture.depth, picture.palette,
                    &picture.environment);
    // Hardened: a picture that cannot be coded is not said to be written.
    // Test: OutputPicture.WithoutAnEnvironmentGives27.
    if (picture.environment == 0)
        return KOWEN_ERR_WORK_MEMORY;
    const int32_t result = OutputBands(picture, bandHeight);
    if (result != 0)
        return result;
    EndCellBitmap(output, picture.environment);
    picture.environment = 0;
    return 0;
}

} // namespace kowen
