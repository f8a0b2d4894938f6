#include "raster/cell_output.h"

#include "export/cell_writer.h"
#include "raster/device.h"
#include "support/failing_memory.h"
#include "support/temp_directory.h"

#include <algorithm>

namespace kowen {
namespace {

using namespace test;

using Pixels = std::vector<uint8_t>;

/// Hands bitmaps to the pipeline. The window decides the target size: at 100 dots per inch a
/// window of w columns and h rows gives a picture of w x h pixels.
class RasterWriteCells : public RasterDeviceTest {
protected:
    RasterWriteCells() { NameOutput(directory.File("out.jpg")); }

    int32_t Write(const Pixels &pixels, uint32_t width, uint32_t height, uint16_t depth,
                  int32_t colors, int32_t resolution = 100) {
        const MemoryHandle bitmap = GlobalAlloc(kGlobalFlags, static_cast<uint32_t>(pixels.size()));
        std::copy(pixels.begin(), pixels.end(), Lock<uint8_t>(bitmap));
        lpEMData->errorStack.currentError = 0;
        host.calls.clear();
        RasterWriteCellData(bitmap, width, height, resolution, depth, colors);
        GlobalFree(bitmap);
        return lpEMData->errorStack.currentError;
    }

    /// What the device has written, its output closed.
    std::string Written() {
        Run(kCloseDevice);
        return directory.Read("out.jpg");
    }

    /// The JPEG of 24-bit pixels, bottom row first, straight from the cell writer.
    std::string Coded(Pixels pixels, uint32_t width, uint32_t height) {
        const auto file =
            static_cast<FileHandle>(qivOpen(directory.File("coded.jpg").c_str(), nullptr, 4097));
        const MemoryHandle bitmap =
            GlobalPointerToHandle(pixels.data(), static_cast<uint32_t>(pixels.size()));
        MemoryHandle environment;
        BeginCellBitmap(file, width, height, 24, nullptr, &environment);
        EXPECT_EQ(WriteCellBits(file, bitmap, width, height, 24, 1, environment), 0);
        EndCellBitmap(file, environment);
        GlobalFree(bitmap);
        qivClose(file);
        return directory.Read("coded.jpg");
    }

    std::vector<int32_t> Progress() const {
        std::vector<int32_t> values;
        for (const StatusCall &call : host.calls)
            values.push_back(call.value2);
        return values;
    }

    TempDirectory directory;
};

/// Rows of 24-bit pixels of which every channel is given once, each row padded to 4 bytes.
Pixels Greys(uint32_t width, const std::vector<uint8_t> &values) {
    Pixels pixels;
    for (size_t i = 0; i < values.size(); ++i) {
        pixels.insert(pixels.end(), 3, values[i]);
        if ((i + 1) % width == 0)
            pixels.resize((pixels.size() + 3) / 4 * 4);
    }
    return pixels;
}

const std::vector<uint8_t> kFourByFour = {0,  10, 20,  30,  40,  50,  60,  70,
                                          80, 90, 100, 110, 120, 130, 140, 150};

TEST_F(RasterWriteCells, KeepsAPictureOfTheTargetSize) {
    DrawPicture(4, 4);
    EXPECT_EQ(Write(Greys(4, kFourByFour), 4, 4, 24, kCellsRgb), 0);
    EXPECT_EQ(Progress(), (std::vector<int32_t>{50}));
    EXPECT_EQ(Written(), Coded(Greys(4, kFourByFour), 4, 4));
}

TEST_F(RasterWriteCells, DoesNotMakeAnOddHeightEven) {
    DrawPicture(4, 3);
    const Pixels pixels = Greys(4, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11});
    EXPECT_EQ(Write(pixels, 4, 3, 24, kCellsRgb), 0);
    EXPECT_EQ(Written(), Coded(pixels, 4, 3));
}

// Columns 0 and 3; of the rows 0 and then, last, the one that the steps have reached: 2.
TEST_F(RasterWriteCells, ShrinksToTheWindow) {
    DrawPicture(2, 2);
    EXPECT_EQ(Write(Greys(4, kFourByFour), 4, 4, 24, kCellsRgb), 0);
    EXPECT_EQ(Progress(), (std::vector<int32_t>{20, 50}));
    EXPECT_EQ(Written(), Coded(Greys(2, {0, 30, 80, 110}), 2, 2));
}

TEST_F(RasterWriteCells, StretchesToTheWindow) {
    DrawPicture(4, 4);
    EXPECT_EQ(Write(Greys(2, {10, 20, 30, 40}), 2, 2, 24, kCellsRgb), 0);
    EXPECT_EQ(Progress(), (std::vector<int32_t>{20, 50}));
    EXPECT_EQ(
        Written(),
        Coded(Greys(4, {10, 10, 20, 20, 10, 10, 20, 20, 30, 30, 40, 40, 30, 30, 40, 40}), 4, 4));
}

TEST_F(RasterWriteCells, ConvertsIndexedPixelsByTheColorTable) {
    DrawPicture(4, 1);
    ASSERT_EQ(Run(ColorsRequest(5, {9, 9, 9, 200, 200, 200})), 0);
    EXPECT_EQ(Write({5, 6, 0, 5}, 4, 1, 8, kCellsIndexed), 0);
    EXPECT_EQ(Progress(), (std::vector<int32_t>{20, 50}));
    EXPECT_EQ(Written(), Coded(Greys(4, {9, 200, 0, 9}), 4, 1));
}

TEST_F(RasterWriteCells, ConvertsOneAndFourBits) {
    DrawPicture(8, 1);
    ASSERT_EQ(Run(ColorsRequest(0, {1, 1, 1, 200, 200, 200, 3, 3, 3, 4, 4, 4})), 0);
    EXPECT_EQ(Write({0x50, 0, 0, 0}, 8, 1, 1, kCellsIndexed), 0);
    EXPECT_EQ(Written(), Coded(Greys(8, {1, 200, 1, 200, 1, 1, 1, 1}), 8, 1));
    ASSERT_EQ(Run(kOpenDevice), 0);
    EXPECT_EQ(Write({0x01, 0x23, 0x32, 0x10}, 8, 1, 4, kCellsIndexed), 0);
    EXPECT_EQ(Written(), Coded(Greys(8, {1, 200, 3, 4, 4, 3, 200, 1}), 8, 1));
}

TEST_F(RasterWriteCells, ShrinksBeforeItConverts) {
    DrawPicture(2, 2);
    ASSERT_EQ(Run(ColorsRequest(0, {7, 7, 7, 8, 8, 8, 9, 9, 9, 10, 10, 10})), 0);
    const Pixels pixels = {0, 3, 3, 1, 3, 3, 3, 3, 2, 3, 3, 3, 3, 3, 3, 3};
    EXPECT_EQ(Write(pixels, 4, 4, 8, kCellsIndexed), 0);
    EXPECT_EQ(Progress(), (std::vector<int32_t>{20, 40, 50}));
    EXPECT_EQ(Written(), Coded(Greys(2, {7, 8, 9, 10}), 2, 2));
}

TEST_F(RasterWriteCells, ConvertsBeforeItStretches) {
    DrawPicture(2, 2);
    ASSERT_EQ(Run(ColorsRequest(0, {7, 7, 7})), 0);
    EXPECT_EQ(Write({0, 0, 0, 0}, 1, 1, 8, kCellsIndexed), 0);
    EXPECT_EQ(Progress(), (std::vector<int32_t>{20, 40, 50}));
    EXPECT_EQ(Written(), Coded(Greys(2, {7, 7, 7, 7}), 2, 2));
}

// Depth 12 has 4096 values; all read as 0, the table's first colour.
TEST_F(RasterWriteCells, DepthsWithoutALayoutTakeTheFirstColor) {
    DrawPicture(4, 1);
    ASSERT_EQ(Run(ColorsRequest(0, {77, 77, 77})), 0);
    EXPECT_EQ(Write(Pixels(8, 0xFF), 4, 1, 12, kCellsIndexed), 0);
    EXPECT_EQ(Written(), Coded(Greys(4, {77, 77, 77, 77}), 4, 1));
}

TEST_F(RasterWriteCells, DropsTheFourthComponent) {
    DrawPicture(4, 1);
    const Pixels pixels = {1, 2, 3, 99, 4, 5, 6, 99, 7, 8, 9, 99, 10, 11, 12, 99};
    EXPECT_EQ(Write(pixels, 4, 1, 32, kCellsRgbAlpha), 0);
    EXPECT_EQ(Written(), Coded({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}, 4, 1));
    ASSERT_EQ(Run(kOpenDevice), 0);
    // 255 - max(ink, black)
    const Pixels inks = {0, 0, 0, 0, 10, 200, 30, 50, 0, 0, 0, 255, 255, 0, 0, 0};
    EXPECT_EQ(Write(inks, 4, 1, 32, kCellsCmyk), 0);
    EXPECT_EQ(Written(), Coded({255, 255, 255, 205, 55, 205, 0, 0, 0, 0, 255, 255}, 4, 1));
}

TEST_F(RasterWriteCells, FourComponentsThatDoNotReachTheTargetSizeAreAnError) {
    DrawPicture(5, 1);
    EXPECT_EQ(Write(Pixels(16), 4, 1, 32, kCellsCmyk), 300);
    EXPECT_EQ(Written(), "");
}

// 24 x 8 from 16 x 8: the heights agree, so nothing is scaled, and the block is too small.
TEST_F(RasterWriteCells, ScalesNothingWhenOnlyTheWidthsDiffer) {
    DrawPicture(24, 8);
    EXPECT_EQ(Write(Pixels(16 * 3 * 8, 9), 16, 8, 24, kCellsRgb), 300);
    EXPECT_EQ(Progress(), (std::vector<int32_t>{50}));
    EXPECT_EQ(Written(), "");
    // 8 x 8 from 16 x 8: the first bytes of the block count as the rows.
    DrawPicture(8, 8);
    Pixels pixels(16 * 3 * 8);
    for (size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = static_cast<uint8_t>(i / 3);
    EXPECT_EQ(Write(pixels, 16, 8, 24, kCellsRgb), 0);
    pixels.resize(8 * 3 * 8);
    EXPECT_EQ(Written(), Coded(pixels, 8, 8));
}

// Colour format 221 asks for 8 bits, which are too few bytes for the cell writer.
TEST_F(RasterWriteCells, ATargetDepthBelow24BitsIsAnError) {
    setup->colorFormat = 221;
    DrawPicture(16, 8);
    EXPECT_EQ(Write(Pixels(16 * 3 * 8, 9), 16, 8, 24, kCellsRgb), 300);
    EXPECT_EQ(Written(), "");
}

// A picture of a format without components is a file of headers: 2 bytes of SOI, 18 of APP0, 134 of
// DQT, 10 of SOF0, 420 of DHT, 10 of SOS and 2 of EOI.
constexpr size_t kHeaderBytes = 596;
const std::string kScanHeader("\xFF\xDA\x00\x06\x00\x01\x00\x00\x3F\x00", 10);

// 213 and 214 are no formats and keep the depth, 216 and 217 ask for 65532 and 65528 bits.
TEST_F(RasterWriteCells, UnknownColorFormatsGiveFilesOfHeaders) {
    for (int32_t format : {213, 214, 216, 217}) {
        setup->colorFormat = format;
        for (uint16_t depth : {1, 4, 8, 24, 32}) {
            DrawPicture(16, 8);
            EXPECT_EQ(Write(Pixels(16 * 4 * 8, 9), 16, 8, depth, depth == 24), 0) << format;
            const std::string written = Written();
            EXPECT_EQ(written.size(), kHeaderBytes) << format << " of " << depth << " bits";
            EXPECT_TRUE(written.ends_with(kScanHeader + "\xFF\xD9"));
            Terminate();
        }
    }
}

// 218 asks for 3 bits and 219 for 4, of which a row is too few bytes for the cell writer; cells of
// 4 bits are not converted and are left to it.
TEST_F(RasterWriteCells, ColorFormatsOfFewBitsAreErrors) {
    for (int32_t format : {218, 219}) {
        setup->colorFormat = format;
        for (uint16_t depth : {1, 4, 8, 24, 32}) {
            const bool fits = format == 219 && depth == 4;
            DrawPicture(16, 8);
            EXPECT_EQ(Write(Pixels(16 * 4 * 8, 9), 16, 8, depth, depth == 24), fits ? 0 : 300);
            EXPECT_EQ(Written().size(), fits ? kHeaderBytes : 0) << format << " of " << depth;
            Terminate();
        }
    }
}

// CMYK of (9, 9, 9, 9) is a grey of 246, of RGB and a fourth byte 9. Otherwise 32 bits are read as
// they lie, and pixels of any other depth as 0.
TEST_F(RasterWriteCells, DepthsAbove24BitsAreTakenBytewiseOrForBlack) {
    for (uint16_t depth : {25, 31, 32, 33, 64, 256, 1000}) {
        const int read = depth == 32 ? 9 : 0;
        for (const auto &[colors, grey] :
             {std::pair(kCellsIndexed, read), std::pair(kCellsRgb, read),
              std::pair(kCellsCmyk, 246), std::pair(kCellsRgbAlpha, 9)}) {
            DrawPicture(16, 8);
            EXPECT_EQ(Write(Pixels(16 * 1000 / 8 * 8, 9), 16, 8, depth, colors), 0);
            EXPECT_EQ(Written(), Coded(Pixels(16 * 3 * 8, static_cast<uint8_t>(grey)), 16, 8))
                << depth << " bits, colours " << colors;
            Terminate();
        }
    }
}

TEST_F(RasterWriteCells, WithoutAResolutionFitsThePictureIntoThePage) {
    // A page of 640 x 480 pixels: a picture of 2 x 1 becomes 640 x 320.
    DrawPicture(4, 4, 0);
    EXPECT_EQ(Write(Greys(2, {10, 20}), 2, 1, 24, kCellsRgb, 0), 0);
    EXPECT_EQ(setup->header.imageWidth, 640u);
    EXPECT_EQ(setup->header.imageHeight, 320u);
    std::vector<uint8_t> stretched;
    for (int i = 0; i < 640 * 320; ++i)
        stretched.push_back(i % 640 < 320 ? 10 : 20);
    EXPECT_EQ(Written(), Coded(Greys(640, stretched), 640, 320));
}

TEST_F(RasterWriteCells, EmptyPicturesAreAnError) {
    DrawPicture(4, 4);
    EXPECT_EQ(Write({}, 0, 4, 24, kCellsRgb), 300);
    EXPECT_EQ(Write({}, 4, 0, 24, kCellsRgb), 300);
    setup->resolutionMode = KOWEN_RESOLUTION_USER;
    EXPECT_EQ(Write(Pixels(48), 4, 4, 24, kCellsRgb, -100), 300); // a negative size
    EXPECT_EQ(Written(), "");
}

TEST_F(RasterWriteCells, ABitmapThatIsTooSmallIsAnError) {
    DrawPicture(4, 4);
    EXPECT_EQ(Write(Pixels(47), 4, 4, 24, kCellsRgb), 300);
    lpEMData->errorStack.currentError = 0;
    RasterWriteCellData(0, 4, 4, 100, 24, kCellsRgb);
    EXPECT_EQ(lpEMData->errorStack.currentError, 300);
}

TEST_F(RasterWriteCells, TargetSizesThatWrapAreAnError) {
    Draw(-2e9, -2e9, 2e9, 2e9, 32);
    EXPECT_EQ(Write(Pixels(48), 4, 4, 24, kCellsRgb, 32), 300);
    EXPECT_EQ(Written(), "");
}

TEST_F(RasterWriteCells, NeedsAnOutputAndASetup) {
    DrawPicture(4, 4);
    SetupRecord *before = lpRaster;
    lpRaster = nullptr;
    EXPECT_EQ(Write(Pixels(48), 4, 4, 24, kCellsRgb), 300);
    lpRaster = before;
    ASSERT_EQ(Run(kCloseDevice), 0);
    EXPECT_EQ(Write(Pixels(48), 4, 4, 24, kCellsRgb), 303);
}

TEST_F(RasterWriteCells, RunsWithoutAStatusRecord) {
    record.exportRecord = nullptr;
    DrawPicture(4, 4);
    EXPECT_EQ(Write(Greys(4, kFourByFour), 4, 4, 24, kCellsRgb), 0);
    EXPECT_EQ(Written(), Coded(Greys(4, kFourByFour), 4, 4));
}

TEST_F(RasterWriteCells, PollsOnlyWhenTheRefusalIsConfirmed) {
    DrawPicture(4, 4);
    host.answer = [](const StatusCall &call) { return call.command == 0 ? 1 : 0; };
    EXPECT_EQ(Write(Greys(4, kFourByFour), 4, 4, 24, kCellsRgb), 0);
    EXPECT_EQ(Written(), Coded(Greys(4, kFourByFour), 4, 4));
}

// An 8-bit picture that shrinks polls three times before it writes. Whichever poll is refused,
// nothing is written, no code is raised, and the close deletes the file.
TEST_F(RasterWriteCells, ACancelInEveryStageEndsWithoutAnOutput) {
    for (size_t poll : {1u, 2u, 3u}) {
        DrawPicture(2, 2);
        EXPECT_EQ(Write(Pixels(16), 4, 4, 8, kCellsIndexed), 0);
        Terminate();
        DrawPicture(2, 2);
        host.CancelFrom(poll);
        EXPECT_EQ(Write(Pixels(16), 4, 4, 8, kCellsIndexed), 0);
        EXPECT_EQ(host.calls.size(), poll + 1); // and the confirmation
        EXPECT_EQ(Run(kCloseDevice), 901);
        EXPECT_FALSE(directory.Has("out.jpg"));
        host.answer = nullptr;
    }
}

TEST_F(RasterWriteCells, EveryMissingBlockIsAnErrorAndNothingIsLost) {
    for (int k = 1;; ++k) {
        DrawPicture(2, 2);
        int32_t code;
        bool failed;
        {
            const MemoryHandle bitmap = GlobalAlloc(kGlobalFlags, 16);
            FailingMemory memory(k);
            RasterWriteCellData(bitmap, 4, 4, 100, 8, kCellsIndexed);
            code = lpEMData->errorStack.currentError;
            failed = memory.Failed();
            GlobalFree(bitmap);
        }
        Terminate();
        if (!failed) {
            EXPECT_EQ(code, 0);
            EXPECT_GT(k, 4); // the shrunk and the converted bitmap, the palette, the writer's
            break;
        }
        // The band coder's own code is -1.
        EXPECT_TRUE(code == 300 || code == -1) << "allocation " << k << " gives " << code;
        EXPECT_FALSE(directory.Read("out.jpg").ends_with("\xFF\xD9")) << "allocation " << k;
    }
}

TEST_F(RasterWriteCells, AFailedWriteIsReported) {
    if (!std::filesystem::exists("/dev/full"))
        GTEST_SKIP() << "no full device to write to";
    NameOutput("/dev/full");
    DrawPicture(400, 400);
    Pixels noise(1200 * 400);
    uint32_t seed = 1;
    for (uint8_t &value : noise)
        value = static_cast<uint8_t>((seed = seed * 1664525 + 1013904223) >> 24);
    const int32_t code = Write(noise, 400, 400, 24, kCellsRgb);
    const int32_t closed = Run(kCloseDevice);
    EXPECT_TRUE(code != 0 || closed == 303);
    EXPECT_EQ(closed, 303);
}

} // namespace
} // namespace kowen
