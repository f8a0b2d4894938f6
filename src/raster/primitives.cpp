#include "raster/primitives.h"

#include "device/device_record.h"
#include "device/request.h"
#include "export/draw_cell.h"
#include "export/output_picture.h"
#include "kowen/codes.h"
#include "platform/global_memory.h"
#include "raster/cell_output.h"
#include "raster/device_palette.h"
#include "raster/picture_size.h"
#include "setup/setup.h"

#include <algorithm>

namespace kowen {
namespace {

constexpr size_t kPrimitive = 16;
constexpr size_t kPointCount = 20;
constexpr size_t kPoints = 24;
constexpr size_t kPointBytes = 24;
constexpr size_t kDataHead = 4; // the length word before the data
constexpr uint32_t kTrueColor = 24;

// The data of primitive -5, as far as it counts.
struct PictureData {
    uint32_t width;
    uint32_t height;
    int32_t precision;
    uint16_t unused;
    uint16_t flags;
};
static_assert(sizeof(PictureData) == 16);

// The picture record of primitive -6: a bitmap record and the full resolution behind it.
struct PrimitivePicture {
    BitmapRecord bitmap;
    int32_t resolution;
};

// Reads the data behind the points. Returns false when the points alone do not fit into 32 bits.
//
// Hardened: bytes beyond the data's length count as 0.
// Test: OpenPicture.DataThatIsCutShortCountsAsZero.
bool ReadPictureData(const DdRequest *request, PictureData *data) {
    const auto points = Argument<uint32_t>(request, kPointCount);
    if (points > (UINT32_MAX - kPoints - kDataHead - sizeof *data) / kPointBytes)
        return false;
    const size_t head = kPoints + points * kPointBytes;
    const auto length = Argument<uint32_t>(request, head);
    std::memcpy(data, Bytes(request, head + kDataHead), std::min<size_t>(length, sizeof *data));
    return true;
}

// The window's columns, at most the picture's; compared as signed words.
uint64_t ColumnsOf(const PictureData &data) {
    const uint64_t columns = WindowColumns();
    const bool limited = static_cast<int64_t>(columns) > static_cast<int32_t>(data.width);
    return limited ? data.width : columns;
}

// Hardened: a picture bitmap that is still there is freed, not lost. Test:
// OpenPicture.TwiceStartsAnew.
void FreePictureBitmap() {
    GlobalUnlock(lpEMData->pictureBitmap);
    GlobalFree(lpEMData->pictureBitmap);
    lpEMData->pictureBitmap = 0;
}

void OpenPicture(const DdRequest *request) {
    FreePictureBitmap();
    PictureData data = {};
    RowLayout layout = {};
    const bool read = ReadPictureData(request, &data);
    const uint32_t depth = DepthOfPrecision(data.precision);
    const uint64_t columns = ColumnsOf(data);
    const bool fits = read && LayOutRows(columns, depth, data.height, &layout);
    lpEMData->pictureFlags = data.flags;
    lpEMData->pictureOpen = 1;
    lpEMData->pictureWidth = static_cast<uint32_t>(columns);
    lpEMData->pictureHeight = data.height;
    lpEMData->pictureDepth = depth;
    lpEMData->rowsDone = 0;
    // Without a bitmap the next cell array reports it.
    if (fits)
        lpEMData->pictureBitmap = GlobalAlloc(kGlobalFlags, layout.bytes);
}

// Makes the palette of a picture below 24 bits: 2^depth entries. Returns false without memory.
bool MakePalette(MemoryHandle *palette) {
    *palette = 0;
    if (lpEMData->pictureDepth >= kTrueColor)
        return true;
    *palette = MakeDevicePalette(kColorBytes << lpEMData->pictureDepth);
    return *palette != 0;
}

PrimitivePicture DescribePicture(MemoryHandle palette) {
    PrimitivePicture picture = {};
    picture.bitmap.depth = static_cast<uint16_t>(lpEMData->pictureDepth);
    picture.bitmap.width = static_cast<uint16_t>(lpEMData->pictureWidth);
    picture.bitmap.height = static_cast<uint16_t>(lpEMData->pictureHeight);
    picture.bitmap.resolution = static_cast<uint16_t>(lpEMData->resolution);
    picture.bitmap.targetWidth = lpEMData->pictureWidth;
    picture.bitmap.targetHeight = lpEMData->pictureHeight;
    picture.bitmap.palette = palette;
    picture.bitmap.pixels = lpEMData->pictureBitmap;
    picture.resolution = lpEMData->resolution;
    return picture;
}

int32_t OutputBitmap(MemoryHandle palette) {
    if (const int32_t obstacle = DrawingObstacle())
        return obstacle;
    // An export through the bitmap door meanwhile has put its own record there.
    lpRaster->exportRecord = lpEMData->statusRecord;
    PrimitivePicture picture = DescribePicture(palette);
    return OutputPicture(lpEMData->outputFile, &picture, DrawExportCellData);
}

void WritePicture() {
    lpEMData->pictureOpen = 0;
    MemoryHandle palette;
    if (!MakePalette(&palette)) {
        push_er(KOWEN_ERR_MEMORY);
        return;
    }
    GlobalUnlock(lpEMData->pictureBitmap);
    if (const int32_t failed = OutputBitmap(palette))
        push_er(failed);
    GlobalFree(palette);
    FreePictureBitmap();
}

} // namespace

DdRequest *d_gdp(DdRequest *request) noexcept {
    const auto primitive = Argument<int32_t>(request, kPrimitive);
    if (primitive == KOWEN_PRIMITIVE_OPEN_PICTURE)
        OpenPicture(request);
    else if (primitive == KOWEN_PRIMITIVE_WRITE_PICTURE)
        WritePicture();
    return request;
}

} // namespace kowen
