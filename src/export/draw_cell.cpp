#include "export/draw_cell.h"

#include "color/depth.h"
#include "color/dither.h"
#include "color/pixel.h"
#include "color/reduce.h"
#include "color/resample.h"
#include "device/error_stack.h"
#include "export/offscreen.h"
#include "kowen/codes.h"
#include "platform/global_memory.h"
#include "platform/text.h"

#include <algorithm>
#include <cstring>

namespace kowen {

namespace {

constexpr uint32_t kPaletteEntryBytes = 3;
constexpr uint16_t kMaxPaletteDepth = 8;
constexpr uint16_t kTrueColorDepth = 24;

// What open makes for the life of the off-screen.
struct PrivateDrawing {
    MemoryHandle bitmap;  // the current converted bitmap
    MemoryHandle palette; // copy of the off-screen palette
};

uint32_t EntriesOf(uint16_t depth) {
    return 1u << depth;
}

void Query(const BitmapRecord &bitmap, PictureQuery &query) {
    query.width = bitmap.targetWidth;
    query.height = bitmap.targetHeight;
    query.resolution = static_cast<int16_t>(bitmap.resolution);
    if (query.resolution != 0) {
        query.width /= query.resolution;
        query.height /= query.resolution;
    }
    query.pixelOrder = kPixelOrderRgb;
}

// Makes count entries the off-screen's palette, and a private copy of it: entries that the source
// lacks are (0, 0, 0). False without memory.
bool TakePalette(OffscreenRecord &record, PrivateDrawing &drawing, MemoryHandle source,
                 uint32_t count) {
    const uint32_t bytes = count * kPaletteEntryBytes;
    if (count > record.paletteCount)
        record.palette =
            static_cast<uint8_t *>(qivPtrGlobalReAlloc(record.palette, bytes, kGlobalFlags));
    drawing.palette = GlobalAlloc(kGlobalFlags, bytes);
    auto *copy = Lock<uint8_t>(drawing.palette);
    if (!record.palette || !copy)
        return false;
    if (const auto *entries = Lock<uint8_t>(source); entries)
        std::memcpy(copy, entries, std::min(bytes, GlobalSize(source)));
    std::memcpy(record.palette, copy, bytes);
    record.paletteCount = static_cast<uint16_t>(count);
    return true;
}

// A palette for a picture that is deeper than the off-screen.
MemoryHandle BuildPalette(const BitmapRecord &bitmap, uint16_t depth) {
    auto count = static_cast<uint16_t>(EntriesOf(depth));
    if (bitmap.depth == kTrueColorDepth && depth > 7)
        return rlReduceColorTable(bitmap.pixels, bitmap.width, bitmap.height, &count);
    MemoryHandle table = 0;
    return rlDitherGetCT(bitmap.pixels, bitmap.width, bitmap.height, bitmap.depth, depth,
                         bitmap.palette, &table, &count);
}

// Settles the off-screen's palette; false without memory.
bool OpenPalette(OffscreenRecord &record, PrivateDrawing &drawing, const BitmapRecord &bitmap) {
    const uint16_t from = bitmap.depth;
    const uint16_t to = record.depth;
    // A table is made for the depths that have one; deeper sources keep their bytes.
    if (to > kMaxPaletteDepth)
        return true;
    if (to >= from) {
        const bool wanted = bitmap.palette != 0 && record.palette && record.paletteCount >= 1;
        return !wanted || TakePalette(record, drawing, bitmap.palette, EntriesOf(from));
    }
    const MemoryHandle built = BuildPalette(bitmap, to);
    const bool taken = TakePalette(record, drawing, built, EntriesOf(to));
    GlobalUnlock(built);
    GlobalFree(built);
    return taken;
}

void ClosePrivate(OffscreenRecord &record) {
    auto *drawing = Lock<PrivateDrawing>(record.privateBlock);
    if (!drawing)
        return;
    rlFreeNewData(drawing->bitmap);
    rlFreeNewData(drawing->palette);
    GlobalUnlock(record.privateBlock);
    GlobalFree(record.privateBlock);
    record.privateBlock = 0;
}

uintptr_t Open(OffscreenRecord &record, const OffscreenFormat &format) {
    record.privateBlock = GlobalAlloc(kGlobalFlags, sizeof(PrivateDrawing));
    auto *drawing = Lock<PrivateDrawing>(record.privateBlock);
    if (!drawing) {
        push_er(KOWEN_ERR_OUTPUT);
        return 0;
    }
    const auto &bitmap = *static_cast<const BitmapRecord *>(record.picture);
    if (!OpenPalette(record, *drawing, bitmap)) {
        ClosePrivate(record);
        push_er(KOWEN_ERR_OUTPUT);
        return 0;
    }
    return format.bandHeight; // the whole picture is one band
}

// The picture on its way from the host's bitmap to the off-screen's format. Each step's result
// replaces the one before, which is freed unless it is the host's.
struct Conversion {
    MemoryHandle bits;
    bool own;
    uint32_t width;
    uint32_t height;

    void Replace(MemoryHandle result) {
        if (own)
            rlFreeNewData(bits);
        bits = result;
        own = true;
    }
};

void ConvertDepth(Conversion &picture, const BitmapRecord &bitmap, const OffscreenRecord &record,
                  MemoryHandle palette) {
    const uint16_t from = bitmap.depth;
    const uint16_t to = record.depth;
    if (to < 8 && to < from)
        picture.Replace(rlDitherGivenCT(picture.bits, picture.width, picture.height, from, to,
                                        bitmap.palette, palette, record.paletteCount));
    else
        picture.Replace(rlConvertBitmapDepth(picture.bits, picture.width, picture.height, from, to,
                                             bitmap.palette, palette, record.paletteCount));
}

// Brings the whole bitmap to the off-screen's size and depth.
//
// Hardened: a bitmap that is shrunk in one direction and stretched in the other is sampled once;
// by the host's size a second time would read past the result of the first.
// Test: DrawExportCellData.AShrinkInOneDirectionStretchesTheOtherToo.
MemoryHandle Draw(OffscreenRecord &record, PrivateDrawing &drawing) {
    const auto &bitmap = *static_cast<const BitmapRecord *>(record.picture);
    // Hardened: a bitmap without a block has no pixels, and those of an off-screen without
    // columns, however many rows it has, are not asked for. Tests:
    // DrawExportCellData.ABitmapWithoutABlockIsNoBand and ...WithoutColumnsNothingIsConverted.
    if (record.width == 0 || bitmap.pixels == 0)
        return bitmap.pixels;
    Conversion picture = {bitmap.pixels, false, bitmap.width, bitmap.height};
    if (record.width < picture.width || record.bandHeight < picture.height) {
        picture.Replace(rlShrinkBitmap(picture.bits, bitmap.depth, picture.width, picture.height,
                                       record.width, record.bandHeight));
        picture.width = record.width;
        picture.height = record.bandHeight;
    }
    if (picture.bits != 0 && record.depth != bitmap.depth)
        ConvertDepth(picture, bitmap, record, drawing.palette);
    if (picture.bits != 0 && (record.width > picture.width || record.bandHeight > picture.height))
        picture.Replace(rlStretchBitmap(picture.bits, record.depth, picture.width, picture.height,
                                        record.width, record.bandHeight));
    rlFreeNewData(drawing.bitmap);
    drawing.bitmap = picture.own ? picture.bits : 0;
    record.bandLost = picture.own && picture.bits == 0;
    return picture.bits;
}

} // namespace

uintptr_t DrawExportCellData(int32_t operation, void *record, uintptr_t argument1,
                             uintptr_t) noexcept {
    if (operation == kDrawQuery) {
        Query(*static_cast<const BitmapRecord *>(record),
              *reinterpret_cast<PictureQuery *>(argument1));
        return 0;
    }
    auto &offscreen = *static_cast<OffscreenRecord *>(record);
    switch (operation) {
    case kDrawOpen:
        return Open(offscreen, *reinterpret_cast<const OffscreenFormat *>(argument1));
    case kDrawBand: {
        auto *drawing = Lock<PrivateDrawing>(offscreen.privateBlock);
        return drawing ? Draw(offscreen, *drawing) : 0;
    }
    case kDrawClose:
        ClosePrivate(offscreen);
        return 0;
    default:
        return 0;
    }
}

} // namespace kowen
