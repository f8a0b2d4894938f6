#include "export/cell_writer.h"

#include "export/offscreen.h"
#include "jpeg/compress_env.h"
#include "jpeg/each_variant.h"
#include "platform/global_memory.h"
#include "reference/jpeg/encoder.h"
#include "support/bitmaps.h"
#include "support/current_setup.h"
#include "support/failing_memory.h"
#include "support/heap_use.h"
#include "support/hex.h"
#include "support/memory_output.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace kowen {
namespace {

using Bytes = std::vector<uint8_t>;

/// A bitmap's pixels in a block of global memory.
class PixelBlock {
public:
    explicit PixelBlock(const TestBitmap &bitmap)
        : handle_(GlobalAlloc(kGlobalFlags, static_cast<uint32_t>(bitmap.pixels.size()))) {
        std::copy(bitmap.pixels.begin(), bitmap.pixels.end(), Lock<uint8_t>(handle_));
    }
    ~PixelBlock() { GlobalFree(handle_); }
    PixelBlock(const PixelBlock &) = delete;
    PixelBlock &operator=(const PixelBlock &) = delete;

    MemoryHandle Handle() const { return handle_; }
    Bytes Contents() const {
        const auto *bytes = Lock<uint8_t>(handle_);
        return {bytes, bytes + GlobalSize(handle_)};
    }

private:
    MemoryHandle handle_;
};

/// What BeginCellBitmap, one band and EndCellBitmap write.
Bytes WriteWhole(const TestBitmap &bitmap, uint16_t pixelOrder = kPixelOrderRgb) {
    const MemoryOutput output;
    const PixelBlock pixels(bitmap);
    const auto width = static_cast<uint32_t>(bitmap.width);
    const auto height = static_cast<uint32_t>(bitmap.height);
    MemoryHandle environment = 0;
    EXPECT_EQ(BeginCellBitmap(output.File(), width, height, 24, nullptr, &environment), 1);
    EXPECT_EQ(
        WriteCellBits(output.File(), pixels.Handle(), width, height, 24, pixelOrder, environment),
        0);
    EXPECT_EQ(EndCellBitmap(output.File(), environment), 0);
    return output.Bytes();
}

Bytes Reference(const TestBitmap &bitmap, int colorFormat, int operation, int quality) {
    return reference::ReferenceExport(bitmap.pixels, bitmap.width, bitmap.height, colorFormat,
                                      operation, quality, 96, 96);
}

/// Everything that BeginCellBitmap writes.
Bytes ReferenceBegin(const reference::Header &header) {
    Bytes bytes = reference::FileHeader(header);
    if (header.Sequential())
        bytes = bytes + reference::ScanHeader(header.Components(), 0, 0, 63);
    return bytes;
}

TEST(BeginCellBitmap, WritesTheHeadersAndForSequentialTheScanHeader) {
    for (const int32_t colorFormat : {KOWEN_FORMAT_YCC422, KOWEN_FORMAT_RGB444, KOWEN_FORMAT_GREY})
        for (const int32_t operation : {KOWEN_OPERATION_SEQUENTIAL, KOWEN_OPERATION_PROGRESSIVE}) {
            const CurrentSetup setup(colorFormat, operation, 60);
            setup->header.xResolution = 72;
            setup->header.yResolution = 300;
            const MemoryOutput output;
            MemoryHandle environment = 0;
            EXPECT_EQ(BeginCellBitmap(output.File(), 17, 9, 24, nullptr, &environment), 1);
            EXPECT_NE(environment, 0u);
            EXPECT_EQ(output.Bytes(), ReferenceBegin({17, 9, colorFormat, operation, 60, 72, 300}));
            FreeCompressEnv(environment);
        }
}

TEST(BeginCellBitmap, FillsTheHeaderStateAndTheEnvironment) {
    const CurrentSetup setup(KOWEN_FORMAT_GREY, KOWEN_OPERATION_SEQUENTIAL, 44);
    setup->header.componentCount = 77;
    const MemoryOutput output;
    MemoryHandle environment = 0;
    EXPECT_EQ(BeginCellBitmap(output.File(), 17, 9, 1, nullptr, &environment), 1);
    EXPECT_EQ(setup->header.outputFile, output.File());
    EXPECT_EQ(setup->header.imageWidth, 17u);
    EXPECT_EQ(setup->header.imageHeight, 9u);
    EXPECT_EQ(setup->header.componentCount, 1);
    const auto *env = Lock<CompressEnv>(environment);
    EXPECT_EQ(env->quality, 44);
    EXPECT_EQ(env->colorFormat, 215);
    EXPECT_EQ(env->operation, 245);
    EXPECT_EQ(env->imageWidth, 17u);
    EXPECT_EQ(env->imageHeight, 9u);
    EXPECT_EQ(env->quantTable[0][6 * 8 + 5], 257);
    FreeCompressEnv(environment);
}

TEST(BeginCellBitmap, OtherColorFormatsLeaveTheComponentCount) {
    const CurrentSetup setup(213, KOWEN_OPERATION_SEQUENTIAL);
    setup->header.componentCount = 3;
    const MemoryOutput output;
    MemoryHandle environment = 0;
    BeginCellBitmap(output.File(), 8, 8, 24, nullptr, &environment);
    EXPECT_EQ(setup->header.componentCount, 3);
    FreeCompressEnv(environment);
}

TEST(BeginCellBitmap, MakesTheOutputBigEndian) {
    const CurrentSetup setup;
    const MemoryOutput output;
    qivSetDataFormat(output.File(), 0, 1);
    MemoryHandle environment = 0;
    BeginCellBitmap(output.File(), 8, 8, 24, nullptr, &environment);
    uint16_t byteOrder = 9;
    uint16_t numberFormat = 9;
    qivGetDataFormat(output.File(), &byteOrder, &numberFormat);
    EXPECT_EQ(byteOrder, 1);
    EXPECT_EQ(numberFormat, 0);
    EXPECT_EQ(output.Bytes()[0], 0xFF);
    FreeCompressEnv(environment);
}

TEST(BeginCellBitmap, WithoutAnEnvironmentNothingIsWritten) {
    const CurrentSetup setup;
    const HostOutput output;
    MemoryHandle environment = 5;
    const FailingMemory memory(1);
    EXPECT_EQ(BeginCellBitmap(output.File(), 8, 8, 24, nullptr, &environment), 1);
    EXPECT_TRUE(memory.Failed());
    EXPECT_EQ(environment, 0u);
    EXPECT_TRUE(output.Bytes().empty());
}

TEST(BeginCellBitmap, WithoutASetupThereIsNoEnvironment) {
    ASSERT_EQ(lpRaster, nullptr);
    const HostOutput output;
    MemoryHandle environment = 5;
    EXPECT_EQ(BeginCellBitmap(output.File(), 8, 8, 24, nullptr, &environment), 1);
    EXPECT_EQ(environment, 0u);
    EXPECT_TRUE(output.Bytes().empty());
}

/// A picture that has begun; freed without being finished.
class Begun {
public:
    Begun(int32_t colorFormat, int32_t operation, uint32_t width, uint32_t height,
          int16_t quality = 75)
        : setup(colorFormat, operation, quality) {
        BeginCellBitmap(output.File(), width, height, 24, nullptr, &environment);
        headerBytes = output.Bytes().size();
    }
    ~Begun() { FreeCompressEnv(environment); }

    int32_t Write(MemoryHandle pixels, uint32_t width, uint32_t rows, int32_t depth = 24,
                  uint16_t pixelOrder = kPixelOrderRgb) {
        return WriteCellBits(output.File(), pixels, width, rows, depth, pixelOrder, environment);
    }
    int32_t End() {
        const int32_t result = EndCellBitmap(output.File(), environment);
        environment = 0;
        return result;
    }
    CompressEnv *Env() const { return Lock<CompressEnv>(environment); }

    /// What was written since the beginning.
    Bytes Written() const {
        const Bytes all = output.Bytes();
        return {all.begin() + static_cast<std::ptrdiff_t>(headerBytes), all.end()};
    }

    CurrentSetup setup;
    HostOutput output;
    MemoryHandle environment = 0;
    size_t headerBytes = 0;
};

TEST(WriteCellBits, WholePicturesEqualTheReference) {
    const int sizes[][2] = {{1, 1}, {1, 2}, {7, 7}, {8, 8}, {16, 8}, {17, 9}, {33, 18}, {101, 37}};
    for (const int32_t colorFormat : {KOWEN_FORMAT_YCC422, KOWEN_FORMAT_RGB444, KOWEN_FORMAT_GREY})
        for (const int32_t operation : {KOWEN_OPERATION_SEQUENTIAL, KOWEN_OPERATION_PROGRESSIVE})
            for (const int16_t quality : {int16_t{1}, int16_t{44}, int16_t{75}, int16_t{100}})
                for (const auto &size : sizes) {
                    const CurrentSetup setup(colorFormat, operation, quality);
                    const TestBitmap bitmap = MakeSoft(size[0], size[1]);
                    ASSERT_EQ(WriteWhole(bitmap),
                              Reference(bitmap, colorFormat, operation, quality))
                        << colorFormat << ", " << operation << ", " << quality << ": " << size[0]
                        << " x " << size[1];
                }
}

void ExpectPlainFiles() {
    constexpr int kForms[][2] = {{KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL},
                                 {KOWEN_FORMAT_RGB444, KOWEN_OPERATION_SEQUENTIAL},
                                 {KOWEN_FORMAT_GREY, KOWEN_OPERATION_SEQUENTIAL},
                                 {KOWEN_FORMAT_YCC422, KOWEN_OPERATION_PROGRESSIVE}};
    for (const int width : {1, 2, 8, 9, 16, 17, 31, 32, 33, 63, 64, 65, 96, 130, 511, 513, 1030})
        for (const int height : {1, 8, 11})
            for (const auto &[colorFormat, operation] : kForms) {
                const CurrentSetup setup(colorFormat, operation, 85);
                const TestBitmap bitmap = MakeNoise(width, height);
                ASSERT_EQ(WriteWhole(bitmap), Reference(bitmap, colorFormat, operation, 85))
                    << colorFormat << ", " << operation << ": " << width << " x " << height;
            }
}

TEST(WriteCellBits, EveryVariantOfTheKernelsWritesTheReferenceFile) {
    WithEachVariant(ExpectPlainFiles);
}

TEST(WriteCellBits, ZeroHandlesWriteNothing) {
    const PixelBlock pixels(MakeNoise(8, 8));
    Begun picture(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 8, 8);
    EXPECT_EQ(picture.Write(0, 8, 8), 0);
    EXPECT_EQ(WriteCellBits(picture.output.File(), pixels.Handle(), 8, 8, 24, 1, 0), 0);
    EXPECT_TRUE(picture.Written().empty());
    EXPECT_EQ(pixels.Contents(), MakeNoise(8, 8).pixels);
}

TEST(WriteCellBits, BandsComeFromTopToBottomEachBottomUp) {
    const TestBitmap whole = MakeNoise(21, 24);
    const CurrentSetup outer(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 90);
    const Bytes expected = WriteWhole(whole);
    Begun picture(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 21, 24, 90);
    for (const int top : {0, 8, 16}) {
        TestBitmap band = MakeBlank(21, 8);
        // The band's rows lie together in memory, the last band first.
        const auto begin = whole.pixels.begin() + (24 - 8 - top) * whole.Stride();
        std::copy(begin, begin + 8 * whole.Stride(), band.pixels.begin());
        const PixelBlock pixels(band);
        EXPECT_EQ(picture.Write(pixels.Handle(), 21, 8), 0);
    }
    EXPECT_EQ(picture.End(), 0);
    EXPECT_EQ(picture.output.Bytes(), expected);
}

// 20 rows are coded as 8, 8 and 4, the next band's 7 rows as an MCU row of their own.
TEST(WriteCellBits, BandIsCodedInMcuRowsAndASmallerLast) {
    for (const int32_t colorFormat :
         {KOWEN_FORMAT_YCC422, KOWEN_FORMAT_RGB444, KOWEN_FORMAT_GREY}) {
        reference::Coder coder(KOWEN_OPERATION_SEQUENTIAL, 75);
        Begun picture(colorFormat, KOWEN_OPERATION_SEQUENTIAL, 19, 27);
        for (const int rows : {20, 7}) {
            const TestBitmap band = MakeNoise(19, rows, static_cast<uint32_t>(rows));
            const PixelBlock pixels(band);
            EXPECT_EQ(picture.Write(pixels.Handle(), 19, static_cast<uint32_t>(rows)), 0);
            const auto mapped = reference::MappedPicture(band.pixels, 19, rows, colorFormat);
            for (int top = 0; top < rows; top += 8) {
                const auto mcuRow = mapped.Rows(top, std::min(8, rows - top));
                if (colorFormat == KOWEN_FORMAT_YCC422)
                    reference::CodeBand422(coder, mcuRow);
                else
                    reference::CodeBand444(coder, mcuRow, colorFormat == KOWEN_FORMAT_GREY ? 1 : 3);
            }
        }
        EXPECT_EQ(picture.Written(), coder.bits.Bytes()) << colorFormat;
    }
}

TEST(WriteCellBits, PixelsAreMappedInTheCallersBand) {
    for (const int32_t colorFormat : {KOWEN_FORMAT_YCC422, KOWEN_FORMAT_RGB444, KOWEN_FORMAT_GREY})
        for (const int32_t operation : {KOWEN_OPERATION_SEQUENTIAL, KOWEN_OPERATION_PROGRESSIVE}) {
            const TestBitmap before = MakeNoise(5, 9);
            TestBitmap after = before;
            const PixelBlock pixels(before);
            Begun picture(colorFormat, operation, 5, 9);
            EXPECT_EQ(picture.Write(pixels.Handle(), 5, 9), 0);
            after.pixels = pixels.Contents();
            for (int row = 0; row < 9; ++row) {
                for (int x = 0; x < 5; ++x) {
                    const uint8_t *b = before.Pixel(x, row);
                    const uint8_t *a = after.Pixel(x, row);
                    EXPECT_EQ((reference::Pixel{a[0], a[1], a[2]}),
                              reference::Mapped({b[0], b[1], b[2]}, colorFormat));
                }
                EXPECT_EQ(*after.Pixel(5, row), *before.Pixel(5, row)); // padding
            }
        }
}

TestBitmap Exchanged(TestBitmap bitmap) {
    for (int row = 0; row < bitmap.height; ++row)
        for (int x = 0; x < bitmap.width; ++x)
            std::swap(bitmap.Pixel(x, row)[0], bitmap.Pixel(x, row)[2]);
    return bitmap;
}

TEST(WriteCellBits, PixelOrderFourExchangesRedAndBlue) {
    const TestBitmap bitmap = MakeNoise(13, 10);
    for (const int32_t colorFormat : {KOWEN_FORMAT_YCC422, KOWEN_FORMAT_RGB444, KOWEN_FORMAT_GREY})
        for (const int32_t operation : {KOWEN_OPERATION_SEQUENTIAL, KOWEN_OPERATION_PROGRESSIVE}) {
            const CurrentSetup setup(colorFormat, operation, 90);
            EXPECT_EQ(WriteWhole(bitmap, kPixelOrderBgr), WriteWhole(Exchanged(bitmap)))
                << colorFormat << ", " << operation;
        }
}

// The full-size format exchanges the bytes of its own accord: after code 4 they are back.
TEST(WriteCellBits, PixelOrderFourLeavesTheCallersBandExchanged) {
    const TestBitmap bitmap = MakeNoise(13, 10);
    {
        const PixelBlock pixels(bitmap);
        Begun picture(KOWEN_FORMAT_RGB444, KOWEN_OPERATION_SEQUENTIAL, 13, 10);
        picture.Write(pixels.Handle(), 13, 10, 24, kPixelOrderBgr);
        EXPECT_EQ(pixels.Contents(), bitmap.pixels);
    }
    const PixelBlock pixels(bitmap);
    const PixelBlock exchanged(Exchanged(bitmap));
    Begun picture(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 13, 10);
    picture.Write(pixels.Handle(), 13, 10, 24, kPixelOrderBgr);
    picture.Write(exchanged.Handle(), 13, 10, 24, kPixelOrderRgb);
    EXPECT_EQ(pixels.Contents(), exchanged.Contents());
}

TEST(WriteCellBits, OtherPixelOrdersAndSmallDepthsExchangeNothing) {
    const TestBitmap bitmap = MakeNoise(13, 10);
    const auto written = [&](int32_t depth, uint16_t pixelOrder) {
        const PixelBlock pixels(bitmap);
        Begun picture(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 13, 10);
        EXPECT_EQ(picture.Write(pixels.Handle(), 13, 10, depth, pixelOrder), 0);
        return picture.Written();
    };
    const Bytes plain = written(24, 1);
    for (const uint16_t pixelOrder : {0, 2, 3, 5, 65535})
        EXPECT_EQ(written(24, pixelOrder), plain) << pixelOrder;
    EXPECT_EQ(written(23, 4), plain);
    EXPECT_EQ(written(8, 4), plain);
    EXPECT_EQ(written(-4, 4), plain);
    EXPECT_NE(written(24, 4), plain);
    EXPECT_EQ(written(32, 4), written(24, 4));
}

TEST(WriteCellBits, BlockSmallerThanTheBandIsRefusedUntouched) {
    for (const int32_t operation : {KOWEN_OPERATION_SEQUENTIAL, KOWEN_OPERATION_PROGRESSIVE}) {
        const TestBitmap bitmap = MakeNoise(5, 8); // rows of 16 bytes
        const PixelBlock pixels(bitmap);
        Begun picture(KOWEN_FORMAT_YCC422, operation, 5, 9);
        EXPECT_EQ(picture.Write(pixels.Handle(), 5, 9), 300);
        EXPECT_EQ(picture.Write(pixels.Handle(), 6, 8), 300); // rows of 20 bytes
        EXPECT_EQ(picture.Write(pixels.Handle(), 5, 0x10000008), 300);
        EXPECT_EQ(picture.Write(pixels.Handle(), 0x55555556, 8), 300);
        EXPECT_EQ(picture.Write(pixels.Handle(), 0xFFFFFFFF, 0xFFFFFFFF), 300);
        EXPECT_TRUE(picture.Written().empty());
        EXPECT_EQ(pixels.Contents(), bitmap.pixels);
        EXPECT_EQ(picture.Write(pixels.Handle(), 5, 8), 0);
    }
}

TEST(WriteCellBits, BandWithoutRowsWritesNothing) {
    const PixelBlock pixels(MakeNoise(8, 8));
    Begun picture(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 8, 8);
    EXPECT_EQ(picture.Write(pixels.Handle(), 8, 0), 0);
    EXPECT_TRUE(picture.Written().empty());
}

TEST(WriteCellBits, BandWithoutColumnsHasNoRows) {
    const PixelBlock pixels(MakeNoise(8, 8));
    for (const int32_t colorFormat : {KOWEN_FORMAT_YCC422, KOWEN_FORMAT_RGB444}) {
        Begun picture(colorFormat, KOWEN_OPERATION_SEQUENTIAL, 0, 8);
        EXPECT_EQ(picture.Write(pixels.Handle(), 0, 0xFFFFFFFF), 0);
        EXPECT_TRUE(picture.Written().empty());
    }
    Begun progressive(KOWEN_FORMAT_RGB444, KOWEN_OPERATION_PROGRESSIVE, 0, 8);
    EXPECT_EQ(progressive.Write(pixels.Handle(), 0, 0xFFFFFFFF), 0);
    EXPECT_TRUE(progressive.Written().empty());
    EXPECT_EQ(pixels.Contents(), MakeNoise(8, 8).pixels);
}

TEST(WriteCellBits, ProgressiveBandWithoutColumnsIsFourScanHeaders) {
    const PixelBlock pixels(MakeNoise(8, 8));
    for (const uint32_t rows : {8u, 0xFFFFFFFFu}) {
        Begun picture(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_PROGRESSIVE, 0, 8);
        EXPECT_EQ(picture.Write(pixels.Handle(), 0, rows), 0);
        EXPECT_EQ(picture.Written(), FromHex("FF DA 00 0C 03 01 00 02 11 03 11 00 00 00"
                                             "FF DA 00 08 01 01 00 01 3F 00"
                                             "FF DA 00 08 01 02 11 01 3F 00"
                                             "FF DA 00 08 01 03 11 01 3F 00"));
    }
}

TEST(WriteCellBits, WithoutAWorkBufferTheBandIsRefused) {
    for (const int32_t operation : {KOWEN_OPERATION_SEQUENTIAL, KOWEN_OPERATION_PROGRESSIVE}) {
        const TestBitmap bitmap = MakeNoise(16, 8);
        const PixelBlock pixels(bitmap);
        Begun picture(KOWEN_FORMAT_YCC422, operation, 16, 8);
        const FailingMemory memory(1);
        EXPECT_EQ(picture.Write(pixels.Handle(), 16, 8), 300);
        EXPECT_TRUE(memory.Failed());
        EXPECT_TRUE(picture.Written().empty());
        EXPECT_EQ(pixels.Contents(), bitmap.pixels);
    }
}

TEST(WriteCellBits, ALostMcuRowIsTheResult) {
    const PixelBlock pixels(MakeFlat(64, 16, 1, 2, 3));
    Begun picture(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 64, 16);
    const FailingMemory memory(2); // the first MCU row's growth
    EXPECT_EQ(picture.Write(pixels.Handle(), 64, 16), 300);
    EXPECT_TRUE(memory.Failed());
    EXPECT_TRUE(picture.Written().empty());
}

TEST(WriteCellBits, ProgressiveWithoutACoefficientStoreFails) {
    const PixelBlock pixels(MakeNoise(16, 8));
    Begun picture(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_PROGRESSIVE, 16, 8);
    const FailingMemory memory(2); // the band buffer is the first
    EXPECT_EQ(picture.Write(pixels.Handle(), 16, 8), -1);
    EXPECT_TRUE(memory.Failed());
    EXPECT_TRUE(picture.Written().empty());
}

TEST(WriteCellBits, ProgressiveOfOtherFormatsHasNoScan) {
    for (const int32_t colorFormat : {KOWEN_FORMAT_RGB444, KOWEN_FORMAT_GREY}) {
        const CurrentSetup setup(colorFormat, KOWEN_OPERATION_PROGRESSIVE, 75);
        const TestBitmap bitmap = MakeNoise(17, 9);
        EXPECT_EQ(WriteWhole(bitmap),
                  ReferenceBegin({17, 9, colorFormat, KOWEN_OPERATION_PROGRESSIVE, 75, 96, 96}) +
                      FromHex("FF D9"));
    }
}

TEST(WriteCellBits, OtherOperationsHaveAProgressiveHeaderAndNoScan) {
    for (const int32_t operation : {0, 244, 247}) {
        const CurrentSetup setup(KOWEN_FORMAT_YCC422, operation, 75);
        EXPECT_EQ(
            WriteWhole(MakeNoise(17, 9)),
            ReferenceBegin({17, 9, KOWEN_FORMAT_YCC422, KOWEN_OPERATION_PROGRESSIVE, 75, 96, 96}) +
                FromHex("FF D9"))
            << operation;
    }
}

// A setup whose profile section has no driver: everything is 0.
TEST(WriteCellBits, SetupOfZerosWritesHeadersWithoutComponents) {
    const CurrentSetup setup(0, 0, 0);
    setup->header.xResolution = 0;
    setup->header.yResolution = 0;
    const Bytes bytes = WriteWhole(MakeNoise(17, 9));
    EXPECT_EQ(bytes, ReferenceBegin({17, 9, 0, 0, 0, 0, 0}) + FromHex("FF D9"));
    const Bytes frame = FromHex("FF C2 00 08 00 00 09 00 11 00 FF C4");
    EXPECT_NE(std::search(bytes.begin(), bytes.end(), frame.begin(), frame.end()), bytes.end());
}

TEST(EndCellBitmap, WithoutASetupOnlyTheEnvironmentEnds) {
    ExpectNothingLeaks([] {
        Begun begun(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 8, 8);
        SetupRecord *const setup = std::exchange(lpRaster, nullptr);
        EXPECT_EQ(begun.End(), 0);
        lpRaster = setup;
        EXPECT_TRUE(begun.Written().empty());
    });
}

TEST(WriteCellBits, UnknownColorFormatCodesNothing) {
    const CurrentSetup setup(213, KOWEN_OPERATION_SEQUENTIAL, 75);
    const Bytes bytes = WriteWhole(MakeNoise(17, 9));
    const Bytes tail = FromHex("FF DA 00 06 00 01 00 00 3F 00 FF D9");
    ASSERT_GT(bytes.size(), tail.size());
    EXPECT_TRUE(std::equal(tail.rbegin(), tail.rend(), bytes.rbegin()));
    const Bytes frame = FromHex("FF C0 00 08 00 00 09 00 11 00 FF C4");
    EXPECT_NE(std::search(bytes.begin(), bytes.end(), frame.begin(), frame.end()), bytes.end());
}

TEST(EndCellBitmap, ZeroEnvironmentWritesNothing) {
    Begun picture(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 8, 8);
    EXPECT_EQ(EndCellBitmap(picture.output.File(), 0), 0);
    EXPECT_TRUE(picture.Written().empty());
}

TEST(EndCellBitmap, PictureWithoutBandsIsHeadersAndTheEoi) {
    for (const int32_t operation : {KOWEN_OPERATION_SEQUENTIAL, KOWEN_OPERATION_PROGRESSIVE}) {
        Begun picture(KOWEN_FORMAT_YCC422, operation, 8, 8);
        EXPECT_EQ(picture.Write(0, 8, 8), 0);
        EXPECT_EQ(picture.End(), 0);
        EXPECT_EQ(picture.Written(), FromHex("FF D9"));
    }
}

/// A host that takes one byte less of one write, and all of the others.
struct ShortHost {
    static intptr_t Procedure(uintptr_t context, int32_t operation, void *bytes, int32_t count) {
        auto &self = *reinterpret_cast<ShortHost *>(context);
        if (operation == KOWEN_IO_OPEN)
            return static_cast<intptr_t>(context);
        if (operation != KOWEN_IO_WRITE)
            return 0;
        const int32_t taken = ++self.writes == self.shortWrite ? count - 1 : count;
        self.file.append(static_cast<const char *>(bytes), static_cast<size_t>(taken));
        return taken;
    }
    int shortWrite = 0; ///< 1: the first; 0: none
    int writes = 0;
    std::string file;
};

TEST(EndCellBitmap, AFileThatHasLostBytesGetsNoEoi) {
    const CurrentSetup setup(KOWEN_FORMAT_RGB444, KOWEN_OPERATION_SEQUENTIAL, 75);
    for (int shortWrite = 0, writes = 1; shortWrite <= writes; ++shortWrite) {
        const PixelBlock pixels(MakeNoise(16, 8));
        ShortHost host = {shortWrite, 0, ""};
        QivIODesc descriptor = {};
        descriptor.location = &host;
        descriptor.procedure = &ShortHost::Procedure;
        const auto output = static_cast<FileHandle>(qivOpen("a", &descriptor, 4097));
        MemoryHandle environment = 0;
        BeginCellBitmap(output, 16, 8, 24, nullptr, &environment);
        EXPECT_EQ(WriteCellBits(output, pixels.Handle(), 16, 8, 24, 1, environment), 0);
        EXPECT_EQ(EndCellBitmap(output, environment), 0);
        EXPECT_EQ(qivClose(output), shortWrite != 0 ? -1 : 0) << shortWrite;
        EXPECT_EQ(host.file.ends_with("\xFF\xD9"), shortWrite == 0) << shortWrite;
        if (shortWrite == 0)
            writes = host.writes;
        EXPECT_GT(writes, 40);
    }
}

TEST(EndCellBitmap, CompletesTheLastByteWithOnes) {
    Begun picture(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 8, 8);
    picture.Env()->pendingByte = 0b01000000;
    picture.Env()->bitMask = 0b00010000;
    EXPECT_EQ(picture.End(), 0);
    EXPECT_EQ(picture.Written(), FromHex("5F FF D9"));
}

TEST(EndCellBitmap, WritesNoByteAtAByteBoundary) {
    // Two bands of one white pixel: EF E8 A0 0, then 2 8A 00.
    const CurrentSetup setup(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 75);
    const Bytes bytes = WriteWhole(MakeFlat(1, 16, 255, 255, 255));
    EXPECT_EQ(bytes,
              ReferenceBegin({1, 16, KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 75, 96, 96}) +
                  FromHex("EF E8 A0 02 8A 00 FF D9"));
}

// A host that serves the output sees no write of nothing.
TEST(EndCellBitmap, AtAByteBoundaryOnlyTheEoiIsAWrite) {
    for (const int32_t operation : {KOWEN_OPERATION_SEQUENTIAL, KOWEN_OPERATION_PROGRESSIVE}) {
        Begun picture(KOWEN_FORMAT_YCC422, operation, 8, 8);
        const size_t before = picture.output.WriteSizes().size();
        EXPECT_EQ(picture.End(), 0);
        ASSERT_EQ(picture.output.WriteSizes().size(), before + 1);
        EXPECT_EQ(picture.output.WriteSizes().back(), 2);
    }
}

TEST(EndCellBitmap, StuffsALastByteThatBecomes255) {
    Begun picture(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 8, 8);
    picture.Env()->pendingByte = 0b11110000;
    picture.Env()->bitMask = 0b00001000;
    EXPECT_EQ(picture.End(), 0);
    EXPECT_EQ(picture.Written(), FromHex("FF 00 FF D9"));
}

TEST(EndCellBitmap, OtherOperationsFlushNothing) {
    for (const int32_t operation : {246, 0}) {
        Begun picture(KOWEN_FORMAT_YCC422, operation, 8, 8);
        picture.Env()->pendingByte = 0b01000000;
        picture.Env()->bitMask = 0b00010000;
        EXPECT_EQ(picture.End(), 0);
        EXPECT_EQ(picture.Written(), FromHex("FF D9")) << operation;
    }
}

TEST(EndCellBitmap, WritesToTheSetupsFileWhateverItIsGiven) {
    Begun picture(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 8, 8);
    const MemoryOutput other;
    EXPECT_EQ(EndCellBitmap(other.File(), picture.environment), 0);
    picture.environment = 0;
    EXPECT_EQ(picture.Written(), FromHex("FF D9"));
    EXPECT_TRUE(other.Bytes().empty());
}

TEST(EndCellBitmap, NeedsNoMemory) {
    Begun picture(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 8, 8);
    picture.Env()->bitMask = 1;
    const FailingMemory memory(1, FailingMemory::kThatAndAllLater);
    EXPECT_EQ(picture.End(), 0);
    EXPECT_EQ(picture.Written(), FromHex("01 FF D9"));
    EXPECT_FALSE(memory.Failed());
}

TEST(CellWriter, LeaksNothing) {
    for (const int32_t operation : {KOWEN_OPERATION_SEQUENTIAL, KOWEN_OPERATION_PROGRESSIVE}) {
        const CurrentSetup setup(KOWEN_FORMAT_YCC422, operation, 75);
        const PixelBlock pixels(MakeNoise(40, 20));
        for (const int failing : {0, 1, 3, 7, 8, 9, 10, 11}) {
            ExpectNothingLeaks([&] {
                MemoryHandle environment = 0;
                const FailingMemory memory(failing);
                BeginCellBitmap(0, 40, 20, 24, nullptr, &environment);
                WriteCellBits(0, pixels.Handle(), 40, 20, 24, 1, environment);
                EndCellBitmap(0, environment);
            });
        }
    }
}

} // namespace
} // namespace kowen
