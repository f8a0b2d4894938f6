#include "support/jpeg_decode.h"
#include "support/temp_directory.h"
#include "tools/picture_files.h"
#include "tools/png_file.h"
#include "tools/program.h"

#include <gtest/gtest.h>

namespace kowen::test {
namespace {

// A PNG of one colour at a resolution; 0 = none.
std::string PngOf(int width, int height, uint32_t pixelsPerMetre) {
    const std::string row(static_cast<size_t>(width) * 3, '\x60');
    return Png({width, height, 8, kPngRgb,
                std::vector<std::string>(static_cast<size_t>(height), row), "", pixelsPerMetre, 0});
}

constexpr uint32_t kNinetySixDpi = 3780;

class ExportSize : public testing::Test {
protected:
    DecodedJpeg Run(const std::string &picture, std::vector<std::string> options) {
        options.insert(options.begin(),
                       {"export", directory.Write("in", picture), directory.File("out.jpg"), "-q"});
        ProgramSetting setting;
        setting.directory = directory.Path();
        result = RunKowen(options, setting);
        EXPECT_EQ(result.exitCode, 0) << result.errors;
        const DecodedJpeg jpeg = DecodeJpeg(ReadJpegFile(directory.File("out.jpg")));
        EXPECT_TRUE(jpeg.Clean()) << jpeg.error;
        return jpeg;
    }

    void Expect(const DecodedJpeg &jpeg, int width, int height, int xDpi, int yDpi) {
        EXPECT_EQ(jpeg.width, width);
        EXPECT_EQ(jpeg.height, height);
        EXPECT_EQ(jpeg.xDensity, xDpi);
        EXPECT_EQ(jpeg.yDensity, yDpi);
    }

    const TempDirectory directory;
    ProgramResult result;
};

TEST_F(ExportSize, ADpiKeepsTheInches) {
    Expect(Run(PngOf(96, 48, kNinetySixDpi), {"--dpi", "200"}), 200, 100, 200, 200);
    Expect(Run(PngOf(96, 48, kNinetySixDpi), {"--dpi", "200x50"}), 200, 26, 200, 50);
    Expect(Run(PngOf(96, 48, kNinetySixDpi), {"--dpi", "picture"}), 96, 48, 96, 96);
}

TEST_F(ExportSize, ADpiKeepsThePixelsOfAPictureWithoutOne) {
    Expect(Run(PngOf(97, 49, 0), {"--dpi", "300"}), 97, 50, 300, 300);
}

TEST_F(ExportSize, ABoxInInchesIsFittedInto) {
    // 2 in x 100 dpi across; the picture is twice as wide as high.
    Expect(Run(PngOf(96, 48, kNinetySixDpi), {"--size", "2x2in", "--dpi", "100"}), 200, 100, 100,
           100);
    // 2.54 cm are an inch; the resolution is the picture's.
    Expect(Run(PngOf(48, 96, kNinetySixDpi), {"--size", "5x2.54cm"}), 48, 96, 96, 96);
}

TEST_F(ExportSize, ABoxInPixelsIsFittedIntoExactly) {
    for (const int dpi : {75, 96, 150, 299}) {
        const std::string text = std::to_string(dpi);
        Expect(Run(PngOf(220, 110, 0), {"--size", "55x55", "--dpi", text}), 55, 28, dpi, dpi);
        Expect(Run(PngOf(110, 220, 0), {"--size", "55x55px", "--dpi", text}), 28, 56, dpi, dpi);
    }
    Expect(Run(PngOf(10, 10, 0), {"--size", "40x30"}), 30, 30, 96, 96);
}

TEST_F(ExportSize, APageIsFittedInto) {
    Expect(Run(PngOf(300, 200, kNinetySixDpi), {"--size", "page", "--page", "3x3in@50"}), 288, 192,
           96, 96);
    Expect(Run(PngOf(300, 200, kNinetySixDpi),
               {"--size", "page", "--dpi", "page", "--page", "3x3in@50"}),
           150, 100, 50, 50);
}

TEST_F(ExportSize, RefusesMoreThanAJpegHas) {
    directory.Write("in.png", PngOf(200, 2, 3780));
    const ProgramResult refused = RunKowen(
        {"export", directory.File("in.png"), directory.File("no.jpg"), "--size", "65535x65535"});
    EXPECT_EQ(refused.exitCode, 0) << refused.errors; // 65535 x 656
    directory.Write("tall.png", PngOf(2, 200, 3780));
    const ProgramResult tall = RunKowen(
        {"export", directory.File("tall.png"), directory.File("no2.jpg"), "--size", "65535x65535"});
    EXPECT_EQ(tall.exitCode, 1);
    EXPECT_NE(tall.errors.find("65535 x 65534"), std::string::npos);
    EXPECT_FALSE(directory.Has("no2.jpg"));
}

TEST_F(ExportSize, KeepsStrangeSizesAtStrangeResolutions) {
    for (const uint32_t pixelsPerMetre : {1260U, 1969U, 2953U, 5906U, 12000U, 15748U}) {
        for (const int side : {3, 29, 55, 57, 110, 113}) {
            const DecodedJpeg jpeg = Run(PngOf(side, side, pixelsPerMetre), {});
            EXPECT_EQ(jpeg.width, side) << pixelsPerMetre;
            EXPECT_EQ(jpeg.height, side + side % 2) << pixelsPerMetre;
            EXPECT_NEAR(jpeg.xDensity, pixelsPerMetre * 0.0254, 0.51);
        }
    }
}

} // namespace
} // namespace kowen::test
