#include "raster/cell_output.h"

#include "color/color_resolution.h"
#include "color/layout32.h"
#include "color/pixel.h"
#include "color/resample.h"
#include "device/device_record.h"
#include "export/cell_writer.h"
#include "jpeg/compress_env.h"
#include "kowen/codes.h"
#include "platform/global_memory.h"
#include "platform/status.h"
#include "platform/text.h"
#include "raster/device_palette.h"
#include "raster/picture_size.h"
#include "setup/setup.h"

#include <algorithm>
#include <cstring>

namespace kowen {
namespace {

constexpr int32_t kStageProgress = 20;
constexpr int32_t kWritingProgress = 50;
constexpr uint16_t kTrueColor = 24;
constexpr uint16_t kFourBytes = 32;
constexpr uint16_t kOutputCmyk = 2;

// One bitmap on its way through the stages.
struct CellPicture {
    MemoryHandle bitmap; // what the next stage works on
    MemoryHandle made;   // the same when a stage made it, else 0: the caller's
    MemoryHandle palette;
    uint32_t width; // of the bitmap given
    uint32_t height;
    uint32_t targetWidth;
    uint32_t targetHeight;
    bool shrinks;
    bool stretches;
    uint16_t depth;
    uint16_t targetDepth;
    uint16_t outputFormat;
    int32_t colours;
    int32_t progress;
};

int32_t PollStage(CellPicture &picture) {
    picture.progress += kStageProgress;
    return PollHost(lpEMData->statusRecord, picture.progress);
}

// True when a block holds a bitmap of the given size.
bool Holds(MemoryHandle block, uint32_t width, uint32_t height, uint16_t depth) {
    RowLayout layout;
    return LayOutRows(width, depth, height, &layout) && layout.bytes <= GlobalSize(block);
}

// Takes a stage's new bitmap in place of the earlier one.
int32_t Replace(CellPicture &picture, MemoryHandle bitmap) {
    if (!bitmap)
        return KOWEN_ERR_MEMORY;
    rlFreeNewData(picture.made);
    picture.bitmap = picture.made = bitmap;
    return KOWEN_OK;
}

int32_t QueryTarget(CellPicture &picture, int32_t resolution) {
    double width = picture.width;
    double height = picture.height;
    if (resolution != 0) {
        width = static_cast<double>(WindowColumns()) / resolution;
        height = static_cast<double>(WindowRows()) / resolution;
    }
    uint8_t flag = 0;
    picture.targetDepth = picture.depth;
    QueryCellFormat(&width, &height, &picture.targetDepth, &resolution, &picture.outputFormat,
                    &flag);
    picture.targetWidth = TruncateToUInt32(width);
    picture.targetHeight = TruncateToUInt32(height);
    picture.shrinks = height < picture.height;
    picture.stretches = height > picture.height;
    RowLayout layout;
    const bool usable =
        picture.targetWidth > 0 && picture.targetHeight > 0 &&
        LayOutRows(picture.targetWidth, std::max(picture.depth, picture.targetDepth),
                   picture.targetHeight, &layout);
    return usable ? KOWEN_OK : KOWEN_ERR_MEMORY;
}

int32_t Shrink(CellPicture &picture) {
    if (!picture.shrinks)
        return KOWEN_OK;
    const int32_t failed =
        Replace(picture, rlShrinkBitmap(picture.bitmap, picture.depth, picture.width,
                                        picture.height, picture.targetWidth, picture.targetHeight));
    return failed ? failed : PollStage(picture);
}

// Hardened: the palette has an entry for every value of the depth, those beyond the device's
// colour table black, so that no conversion reads past it.
// Test: RasterWriteCells.DepthsWithoutALayoutTakeTheFirstColor.
int32_t MakePalette(CellPicture &picture) {
    if (picture.depth >= kTrueColor)
        return KOWEN_OK;
    picture.palette = MakeDevicePalette(std::max(kColorTableBytes, kColorBytes << picture.depth));
    return picture.palette ? KOWEN_OK : KOWEN_ERR_MEMORY;
}

// Drops the fourth component. The pixels are converted where they are.
int32_t ConvertFourComponents(CellPicture &picture) {
    const bool four = picture.colours == kCellsCmyk || picture.colours == kCellsRgbAlpha;
    if (!four || picture.targetDepth >= picture.depth)
        return KOWEN_OK;
    if (!Holds(picture.bitmap, picture.targetWidth, picture.targetHeight, kFourBytes))
        return KOWEN_ERR_MEMORY;
    const auto convert = picture.colours == kCellsCmyk ? rlCMYKtoRGB : rlALPHAtoRGB;
    convert(picture.bitmap, picture.targetWidth, picture.targetHeight);
    picture.depth = kTrueColor;
    picture.colours = kCellsRgb;
    return KOWEN_OK;
}

int32_t ConvertDepth(CellPicture &picture) {
    if (picture.targetDepth == picture.depth)
        return KOWEN_OK;
    const uint32_t width = picture.shrinks ? picture.targetWidth : picture.width;
    const uint32_t height = picture.shrinks ? picture.targetHeight : picture.height;
    MemoryHandle palette = picture.palette;
    const MemoryHandle converted = rlChangeColorResolution(
        picture.bitmap, width, height, picture.depth, picture.targetDepth, &palette);
    if (palette != picture.palette)
        rlFreeNewData(picture.palette);
    picture.palette = palette;
    picture.colours = picture.targetDepth >= kTrueColor ? kCellsRgb : kCellsIndexed;
    const int32_t failed = Replace(picture, converted);
    return failed ? failed : PollStage(picture);
}

// Never does anything: nobody answers an output format, so that it stays 0.
int32_t ConvertToCmyk(CellPicture &picture) {
    if (picture.outputFormat != kOutputCmyk || picture.targetDepth != kFourBytes)
        return KOWEN_OK;
    if (!Holds(picture.bitmap, picture.targetWidth, picture.targetHeight, kFourBytes))
        return KOWEN_ERR_MEMORY;
    rlRGB4toCMYK(picture.bitmap, picture.targetWidth, picture.targetHeight);
    picture.colours = kCellsCmyk;
    return KOWEN_OK;
}

int32_t Stretch(CellPicture &picture) {
    if (!picture.stretches)
        return KOWEN_OK;
    const int32_t failed = Replace(
        picture, rlStretchBitmap(picture.bitmap, picture.targetDepth, picture.width, picture.height,
                                 picture.targetWidth, picture.targetHeight));
    return failed ? failed : PollStage(picture);
}

int32_t AnnounceWriting(CellPicture &picture) {
    if (picture.progress >= kWritingProgress)
        return KOWEN_OK;
    picture.progress = kWritingProgress;
    return PollHost(lpEMData->statusRecord, picture.progress);
}

// Hardened: the cell writer reads 24-bit rows of the target width. A bitmap with fewer bytes (only
// the widths differed, or the target depth is not 24) is not written.
// Tests: RasterWriteCells.ATargetDepthBelow24BitsIsAnError and
// ...FourComponentsThatDoNotReachTheTargetSizeAreAnError.
int32_t Write(CellPicture &picture) {
    if (!Holds(picture.bitmap, picture.targetWidth, picture.targetHeight, kTrueColor))
        return KOWEN_ERR_MEMORY;
    const void *palette = picture.palette ? rlLockMemory(picture.palette) : lpEMData->colorTable;
    const FileHandle output = lpEMData->outputFile;
    MemoryHandle environment = 0;
    BeginCellBitmap(output, picture.targetWidth, picture.targetHeight, picture.targetDepth, palette,
                    &environment);
    if (!environment)
        return KOWEN_ERR_MEMORY;
    const int32_t result =
        WriteCellBits(output, picture.bitmap, picture.targetWidth, picture.targetHeight,
                      picture.targetDepth, static_cast<uint16_t>(picture.colours), environment);
    // Hardened: a picture whose rows are not all there gets no EOI.
    // Test: RasterWriteCells.AFailedWriteIsReported.
    if (result != KOWEN_OK)
        FreeCompressEnv(environment);
    else
        EndCellBitmap(output, environment);
    return result;
}

using Stage = int32_t (*)(CellPicture &picture);
constexpr Stage kStages[] = {Shrink,        MakePalette, ConvertFourComponents, ConvertDepth,
                             ConvertToCmyk, Stretch,     AnnounceWriting,       Write};

int32_t RunStages(CellPicture &picture, int32_t resolution) {
    if (const int32_t obstacle = DrawingObstacle())
        return obstacle;
    if (picture.width == 0 || picture.height == 0 ||
        !Holds(picture.bitmap, picture.width, picture.height, picture.depth))
        return KOWEN_ERR_MEMORY;
    int32_t result = QueryTarget(picture, resolution);
    for (const Stage stage : kStages)
        result = result ? result : stage(picture);
    return result;
}

} // namespace

int32_t DrawingObstacle() noexcept {
    if (!lpEMData->outputFile)
        return KOWEN_ERR_OUTPUT;
    return lpRaster ? KOWEN_OK : KOWEN_ERR_MEMORY;
}

void RasterWriteCellData(MemoryHandle bitmap, uint32_t width, uint32_t height, int32_t resolution,
                         uint16_t depth, int32_t colours) noexcept {
    CellPicture picture = {};
    picture.bitmap = bitmap;
    picture.width = width;
    picture.height = height;
    picture.depth = depth;
    picture.colours = colours;
    const int32_t result = RunStages(picture, resolution);
    if (result != KOWEN_OK && result != KOWEN_ERR_CANCELLED)
        push_er(result);
    rlFreeNewData(picture.palette);
    rlFreeNewData(picture.made);
}

} // namespace kowen
