// One picture through both doors: the raster device and ExportCellData write the same file,
// wherever they are given the same picture.
#include "export/bitmap_door.h"
#include "raster/device.h"
#include "setup/display_info.h"
#include "support/scoped_environment.h"
#include "support/temp_directory.h"

#include <random>

namespace kowen {
namespace {

using namespace test;

struct Picture {
    uint16_t width;
    uint16_t height;
    uint16_t depth;
    std::vector<uint8_t> palette; ///< empty at 24 bits
    std::vector<uint8_t> pixels;

    size_t Stride() const { return (size_t{width} * depth + 31) / 32 * 4; }
};

Picture MakePicture(uint16_t width, uint16_t height, uint16_t depth) {
    std::mt19937 random(width * 1000u + height * 10u + depth);
    Picture picture = {width, height, depth, {}, {}};
    picture.palette.resize(depth < 24 ? 3u << depth : 0);
    picture.pixels.resize(picture.Stride() * height);
    for (uint8_t &value : picture.palette)
        value = static_cast<uint8_t>(random());
    for (uint8_t &value : picture.pixels)
        value = static_cast<uint8_t>(random());
    return picture;
}

class BothDoors : public RasterDeviceTest {
protected:
    BothDoors() { SetDisplayInfo(0, 0, 0, 0); }
    ~BothDoors() override { SetDisplayInfo(0, 0, 0, 0); }

    /// Through the raster device, in strips of that many rows.
    std::string ThroughTheDevice(const Picture &picture, uint32_t stripRows, int resolution) {
        NameOutput(directory.File("device.jpg"));
        DrawPicture(picture.width, picture.height, resolution);
        EXPECT_EQ(Run(ColorsRequest(0, picture.palette)), 0);
        EXPECT_EQ(Run(OpenPictureRequest(picture.width, picture.height, picture.depth)), 0);
        for (uint32_t row = 0; row < picture.height; row += stripRows) {
            const uint32_t rows = std::min<uint32_t>(stripRows, picture.height - row);
            const auto *first = picture.pixels.data() + row * picture.Stride();
            EXPECT_EQ(Run(CellsRequest(picture.width, rows, picture.depth,
                                       {first, first + rows * picture.Stride()})),
                      0);
        }
        EXPECT_EQ(Run(WritePictureRequest()), 0);
        EXPECT_EQ(Run(kEndPicture), 0);
        EXPECT_EQ(Run(kCloseDevice), 0);
        EXPECT_EQ(Terminate(), 0);
        return directory.Read("device.jpg");
    }

    /// Through ExportCellData, at its own size or another.
    std::string ThroughTheBitmapDoor(Picture picture, int resolution, int32_t targetWidth = 0,
                                     int32_t targetHeight = 0) {
        BitmapRecord bitmap = {};
        bitmap.depth = picture.depth;
        bitmap.width = picture.width;
        bitmap.height = picture.height;
        const auto wrap = [](std::vector<uint8_t> &bytes) {
            return bytes.empty()
                       ? 0
                       : GlobalPointerToHandle(bytes.data(), static_cast<uint32_t>(bytes.size()));
        };
        bitmap.palette = wrap(picture.palette);
        bitmap.pixels = wrap(picture.pixels);
        CellRecord cell = {};
        cell.resolution = 72;
        cell.targetResolution = static_cast<uint16_t>(resolution);
        cell.targetWidth = targetWidth ? targetWidth : picture.width;
        cell.targetHeight = targetHeight ? targetHeight : picture.height;
        cell.pageWidth = kPageWidth;
        cell.pageHeight = kPageHeight;
        HostRecord exporter = {};
        exporter.setup = setup.handle;
        exporter.exportRecord = &host.record;
        EXPECT_EQ(ExportCellData(directory.File("cell.jpg").c_str(), &bitmap, &cell, &exporter), 0);
        GlobalFree(bitmap.palette);
        GlobalFree(bitmap.pixels);
        return directory.Read("cell.jpg");
    }

    void ExpectSame(const Picture &picture, uint32_t stripRows, int resolution) {
        const std::string device = ThroughTheDevice(picture, stripRows, resolution);
        ASSERT_GT(device.size(), 600u);
        EXPECT_EQ(device.substr(device.size() - 2), "\xFF\xD9");
        EXPECT_TRUE(device == ThroughTheBitmapDoor(picture, resolution))
            << picture.width << " x " << picture.height << " x " << picture.depth;
    }

    static constexpr int32_t kPageWidth = 144;
    static constexpr int32_t kPageHeight = 72;

    TempDirectory directory;
    ScopedEnvironment display{"DISPLAYINFO", nullptr};
};

struct Settings {
    int32_t colorFormat;
    int32_t operation;
    uint16_t depth;
};

class BothDoorsAgree : public BothDoors, public testing::WithParamInterface<Settings> {
protected:
    BothDoorsAgree() {
        setup->colorFormat = GetParam().colorFormat;
        setup->operation = GetParam().operation;
        setup->quality = 60;
        setup->qualityMode = KOWEN_QUALITY_USER;
    }
};

TEST_P(BothDoorsAgree, AtEverySizeAndStrip) {
    for (const auto &[width, height, strip] :
         {std::tuple{16, 16, 16}, {16, 16, 5}, {25, 17, 4}, {33, 8, 1}, {8, 40, 7}})
        ExpectSame(MakePicture(static_cast<uint16_t>(width), static_cast<uint16_t>(height),
                               GetParam().depth),
                   static_cast<uint32_t>(strip), 100);
}

TEST_P(BothDoorsAgree, WithoutAResolution) {
    setup->width = 1.0; // a page of 96 x 96 pixels, into which the picture is fitted
    setup->height = 1.0;
    ExpectSame(MakePicture(24, 18, GetParam().depth), 6, 0);
}

TEST_P(BothDoorsAgree, InAPageOfTheUsersSize) {
    setup->sizeMode = KOWEN_SIZE_USER;
    setup->width = 0.5;
    setup->height = 0.25;
    setup->resolutionMode = KOWEN_RESOLUTION_USER;
    setup->header.xResolution = setup->header.yResolution = 90;
    ExpectSame(MakePicture(60, 40, GetParam().depth), 9, 100);
    ExpectSame(MakePicture(12, 8, GetParam().depth), 8, 100);
}

INSTANTIATE_TEST_SUITE_P(
    EverySetting, BothDoorsAgree,
    testing::Values(Settings{KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 24},
                    Settings{KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 8},
                    Settings{KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 4},
                    Settings{KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 1},
                    Settings{KOWEN_FORMAT_YCC422, KOWEN_OPERATION_PROGRESSIVE, 24},
                    Settings{KOWEN_FORMAT_YCC422, KOWEN_OPERATION_PROGRESSIVE, 8},
                    Settings{KOWEN_FORMAT_RGB444, KOWEN_OPERATION_SEQUENTIAL, 24},
                    Settings{KOWEN_FORMAT_RGB444, KOWEN_OPERATION_SEQUENTIAL, 8},
                    Settings{KOWEN_FORMAT_GREY, KOWEN_OPERATION_SEQUENTIAL, 24},
                    Settings{KOWEN_FORMAT_GREY, KOWEN_OPERATION_SEQUENTIAL, 1}));

TEST_F(BothDoors, AgreeThroughAHostsProcedure) {
    HostFile file;
    setup->ioProcedure = HostFile::Procedure;
    const Picture picture = MakePicture(20, 12, 24);
    ThroughTheDevice(picture, 12, 100);
    const std::string device = std::move(file.bytes);
    file.bytes.clear();
    ThroughTheBitmapDoor(picture, 100);
    EXPECT_GT(device.size(), 600u);
    EXPECT_TRUE(device == file.bytes);
}

TEST_F(BothDoors, AgreeInMemory) {
    const Picture picture = MakePicture(20, 12, 24);
    const std::string file = ThroughTheDevice(picture, 12, 100);
    NameOutput("");
    DrawPicture(20, 12, 100);
    ASSERT_EQ(Run(OpenPictureRequest(20, 12, 24)), 0);
    ASSERT_EQ(Run(CellsRequest(20, 12, 24, picture.pixels)), 0);
    ASSERT_EQ(Run(WritePictureRequest()), 0);
    ASSERT_EQ(Run(kCloseDevice), 0);
    const auto *block = static_cast<const char *>(lpEMData->outputBlock);
    // The file, one byte 255, zeros.
    EXPECT_TRUE(std::string(block, file.size()) == file);
    EXPECT_EQ(block[file.size()], '\xFF');
    for (size_t i = file.size() + 1; i < GlobalSize(GlobalHandle(block)); ++i)
        ASSERT_EQ(block[i], 0);
}

// Only the bitmap door is given a page, and takes it for the display.
TEST_F(BothDoors, DifferWhenTheDisplayDecidesTheSize) {
    setup->sizeMode = KOWEN_SIZE_FROM_DISPLAY;
    setup->resolutionMode = KOWEN_RESOLUTION_FROM_DISPLAY;
    const Picture picture = MakePicture(32, 16, 24);
    ThroughTheDevice(picture, 16, 100);
    // 1280 x 1078 pixels at 96 dots per inch, to which a picture of 2 : 1 is fitted.
    EXPECT_EQ(setup->header.imageWidth, 1280u);
    EXPECT_EQ(setup->header.imageHeight, 640u);
    const std::string cell = ThroughTheBitmapDoor(picture, 100);
    EXPECT_EQ(setup->header.imageWidth, 144u);
    EXPECT_EQ(setup->header.imageHeight, 72u);
    // A host that tells the display itself gets the same through the device.
    SetDisplayInfo(kPageWidth, kPageHeight, 72, 72);
    EXPECT_TRUE(ThroughTheDevice(picture, 16, 100) == cell);
}

// The device applies the colour mode to the colours that it is given; the bitmap door has none.
TEST_F(BothDoors, DifferWhenTheColorModeChangesColors) {
    setup->colorMode = KOWEN_COLOR_INVERTED;
    for (uint16_t depth : {8, 24}) {
        Picture picture = MakePicture(16, 16, depth);
        const std::string device = ThroughTheDevice(picture, 16, 100);
        EXPECT_FALSE(device == ThroughTheBitmapDoor(picture, 100));
        for (uint8_t &value : depth == 8 ? picture.palette : picture.pixels)
            value = static_cast<uint8_t>(255 - value);
        EXPECT_TRUE(device == ThroughTheBitmapDoor(picture, 100));
    }
}

// The device's picture has no size but its own.
TEST_F(BothDoors, DifferWhenTheCellIsNotThePicturesSize) {
    const Picture picture = MakePicture(16, 16, 24);
    ThroughTheDevice(picture, 16, 100);
    EXPECT_EQ(setup->header.imageWidth, 16u);
    ThroughTheBitmapDoor(picture, 100, 32, 24);
    EXPECT_EQ(setup->header.imageWidth, 32u);
    EXPECT_EQ(setup->header.imageHeight, 24u);
}

// Rows drawn bottom-up start one row too deep, and leave the last one blank.
TEST_F(BothDoors, DifferWhenTheRowsAreDrawnBottomUp) {
    const Picture picture = MakePicture(16, 16, 24);
    NameOutput(directory.File("device.jpg"));
    DrawPicture(16, 16);
    ASSERT_EQ(Run(OpenPictureRequest(16, 16, 24)), 0);
    ASSERT_EQ(Run(CellsRequest(16, 16, 24, picture.pixels, 15, 0)), 0);
    ASSERT_EQ(Run(WritePictureRequest()), 0);
    ASSERT_EQ(Terminate(), 0);
    Picture shifted = picture;
    const size_t stride = picture.Stride();
    for (size_t row = 0; row < 16; ++row) {
        const auto target = shifted.pixels.begin() + static_cast<ptrdiff_t>(row * stride);
        if (row == 15)
            std::fill_n(target, stride, 0);
        else
            std::copy_n(picture.pixels.begin() + static_cast<ptrdiff_t>((14 - row) * stride),
                        stride, target);
    }
    EXPECT_TRUE(directory.Read("device.jpg") == ThroughTheBitmapDoor(shifted, 100));
}

// A cell array outside a picture is written by the device's own pipeline, which leaves an odd
// height as it is and has copied no rows.
TEST_F(BothDoors, DifferWithoutAPicture) {
    Picture blank = MakePicture(16, 9, 24);
    std::fill(blank.pixels.begin(), blank.pixels.end(), 0);
    NameOutput(directory.File("device.jpg"));
    DrawPicture(16, 9);
    ASSERT_EQ(Run(CellsRequest(16, 9, 24, MakePicture(16, 9, 24).pixels)), 0);
    EXPECT_EQ(setup->header.imageHeight, 9u);
    ThroughTheBitmapDoor(blank, 100);
    EXPECT_EQ(setup->header.imageHeight, 10u);
    // At an even height the blank pictures agree.
    DrawPicture(16, 8);
    ASSERT_EQ(Run(CellsRequest(16, 8, 24, MakePicture(16, 8, 24).pixels)), 0);
    ASSERT_EQ(Terminate(), 0);
    blank = MakePicture(16, 8, 24);
    std::fill(blank.pixels.begin(), blank.pixels.end(), 0);
    EXPECT_TRUE(directory.Read("device.jpg") == ThroughTheBitmapDoor(blank, 100));
}

} // namespace
} // namespace kowen
