#include "export/cell_writer.h"

#include "export/compress_setup.h"
#include "export/offscreen.h"
#include "io/typed_io.h"
#include "jpeg/bands.h"
#include "jpeg/bit_output.h"
#include "jpeg/compress_env.h"
#include "jpeg/map_colors.h"
#include "jpeg/quant_tables.h"
#include "jpeg/row_feeding.h"
#include "jpeg/stream_writer.h"
#include "platform/global_memory.h"
#include "platform/row_bytes.h"
#include "setup/display_info.h"
#include "setup/geometry.h"
#include "setup/setup.h"

#include <cstddef>

namespace kowen {

namespace {

constexpr int32_t kTopDown = 1; // bands are numbered from the top of the picture
constexpr int16_t kEndOfImage = static_cast<int16_t>(0xFFD9);

// Describes a band as the producer hands it over, rows bottom-up, each padded to 4 bytes. False
// when a size leaves 32 bits or the block is too small for it. A band without columns has no rows:
// the block does not limit how many of them there may be.
bool DescribeBand(SourceRows &band, uint8_t *pixels, uint32_t blockBytes, uint32_t width,
                  uint32_t rows) {
    const uint64_t stride = PaddedRowBytes(width, 8 * kPixelBytes);
    if (stride > UINT32_MAX || stride * rows > blockBytes)
        return false;
    if (width == 0)
        rows = 0;
    uint8_t *top = rows > 0 ? pixels + (rows - 1) * stride : pixels;
    band = {top, -static_cast<std::ptrdiff_t>(stride), rows, width};
    return true;
}

void SwapRedAndBlue(const SourceRows &band) {
    for (uint32_t row = 0; row < band.rows; ++row)
        MapColors(band.Row(row), band.width, 0, 1, KOWEN_FORMAT_RGB444, kByteOrderRgb);
}

// Writes the bytes that the padding of the last one with 1-bits completes.
void FlushLastBits(FileHandle output, CompressEnv *env) {
    uint8_t bytes[2]; // room for 0xFF and its stuffed zero: OutputBits never grows this buffer
    uint32_t count = 0;
    env->outputBuffer = bytes;
    env->outputCapacity = sizeof(bytes);
    WriteScanPad(bytes, &count, env);
    env->outputBuffer = nullptr;
    env->outputCapacity = 0;
    if (count > 0)
        qivWriteChar(output, bytes, static_cast<int32_t>(count));
}

// Hardened: with bytes missing the file must not look whole.
// Test: EndCellBitmap.AFileThatHasLostBytesGetsNoEoi.
void WriteEnd(FileHandle output, CompressEnv *env) {
    if (env->operation == KOWEN_OPERATION_SEQUENTIAL)
        FlushLastBits(output, env);
    if (!qivHasLost(output))
        qivWriteShort(output, &kEndOfImage, 1);
}

uint16_t DepthOf(int32_t colorFormat, uint16_t otherwise) {
    switch (colorFormat) {
    case KOWEN_FORMAT_YCC422:
    case KOWEN_FORMAT_GREY:
    case KOWEN_FORMAT_RGB444:
        return 24;
    case 216:
        return 65532; // -4
    case 217:
        return 65528; // -8
    case 218:
        return 3;
    case 219:
        return 4;
    case 221:
        return 8;
    default:
        return otherwise;
    }
}

// The display's information, asked at most once.
struct DisplayAnswer {
    bool asked = false;
    double width = 0, height = 0;
    int16_t resolution = 0;

    void Ask() {
        if (!asked)
            GetDisplayInfo(&width, &height, &resolution, nullptr);
        asked = true;
    }
};

void TakeSize(SetupRecord &setup, double width, double height, int16_t resolution,
              DisplayAnswer &display) {
    if (setup.sizeMode == KOWEN_SIZE_FROM_PICTURE && resolution != 0) {
        setup.width = width;
        setup.height = height;
    } else if (setup.sizeMode == KOWEN_SIZE_FROM_DISPLAY) {
        display.Ask();
        if (display.resolution != 0) {
            setup.width = display.width;
            setup.height = display.height;
        }
    }
}

void TakeResolution(SetupRecord &setup, int16_t resolution, DisplayAnswer &display) {
    if (setup.resolutionMode == KOWEN_RESOLUTION_FROM_PICTURE && resolution != 0) {
        setup.header.xResolution = setup.header.yResolution = resolution;
    } else if (setup.resolutionMode == KOWEN_RESOLUTION_FROM_DISPLAY) {
        display.Ask();
        if (display.resolution != 0)
            setup.header.xResolution = setup.header.yResolution = display.resolution;
    }
}

} // namespace

int32_t BeginCellBitmap(FileHandle output, uint32_t width, uint32_t height, int32_t, const void *,
                        MemoryHandle *environment) noexcept {
    *environment = 0;
    SetupRecord *setup = lpRaster;
    if (!setup)
        return kTopDown;
    const MemoryHandle handle = GlobalAlloc(kGlobalFlags, sizeof(CompressEnv));
    auto *env = Lock<CompressEnv>(handle);
    if (!env)
        return kTopDown;

    qivSetDataFormat(output, kBigEndian, 0);
    env->quality = setup->quality;
    setup->header.outputFile = output;
    setup->header.imageWidth = width;
    setup->header.imageHeight = height;
    SetComponentCount(*setup);
    InitCompressEnv(env, setup->colorFormat, setup->operation, width, height);
    SetQTable(env, env->quality, setup->colorFormat);
    WriteJPGHdr(&setup->header, env);
    if (env->operation == KOWEN_OPERATION_SEQUENTIAL)
        WriteSHdr(output, setup->header.componentCount, 0, 0, 63, 0, 0);

    GlobalUnlock(handle);
    *environment = handle;
    return kTopDown;
}

int32_t WriteCellBits(FileHandle output, MemoryHandle pixels, uint32_t width, uint32_t rows,
                      int32_t depth, uint16_t pixelOrder, MemoryHandle environment) noexcept {
    if (pixels == 0 || environment == 0)
        return 0;
    auto *env = Lock<CompressEnv>(environment);
    auto *first = Lock<uint8_t>(pixels);
    SourceRows band = {};
    if (!first || !DescribeBand(band, first, GlobalSize(pixels), width, rows))
        return KOWEN_ERR_MEMORY;
    if (depth > 23 && pixelOrder == kPixelOrderBgr)
        SwapRedAndBlue(band);
    const int32_t result = MapAndWriteBand(output, band, env);
    GlobalUnlock(pixels);
    GlobalUnlock(environment);
    return result;
}

int32_t EndCellBitmap(FileHandle, MemoryHandle environment) noexcept {
    auto *env = Lock<CompressEnv>(environment);
    if (!env)
        return 0;
    if (lpRaster)
        WriteEnd(lpRaster->header.outputFile, env);
    FreeCompressEnv(environment);
    return 0;
}

int32_t QueryCellFormat(double *width, double *height, uint16_t *depth, int32_t *resolution, void *,
                        void *) noexcept {
    SetupRecord *setup = lpRaster;
    if (!setup)
        return 0;
    const auto given = static_cast<int16_t>(*resolution);
    DisplayAnswer display;
    TakeSize(*setup, *width, *height, given, display);
    TakeResolution(*setup, given, display);

    SizeInches size = {setup->width, setup->height};
    if (given == 0 || setup->sizeMode != KOWEN_SIZE_FROM_PICTURE)
        RasterAdjustAspect(&size, *width, *height);
    if (setup->header.xResolution != 0) {
        *width = size.width * setup->header.xResolution;
        *height = size.height * setup->header.yResolution;
        *resolution = setup->header.xResolution;
    }
    *depth = DepthOf(setup->colorFormat, *depth);
    return 0;
}

} // namespace kowen
