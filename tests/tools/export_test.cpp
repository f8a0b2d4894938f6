#include "support/jpeg_decode.h"
#include "support/temp_directory.h"
#include "tools/picture_files.h"
#include "tools/png_file.h"
#include "tools/program.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <sys/stat.h>

namespace kowen::test {
namespace {

std::vector<uint8_t> Bytes(const std::string &text) {
    return {text.begin(), text.end()};
}

class Export : public testing::Test {
protected:
    // Exports bytes as a picture. The result is out.jpg, decoded.
    DecodedJpeg Run(const std::string &picture, std::vector<std::string> options = {}) {
        options.insert(options.begin(),
                       {"export", directory.Write("in", picture), directory.File("out.jpg")});
        result = RunKowen(options);
        EXPECT_EQ(result.exitCode, 0) << result.errors;
        file = ReadJpegFile(directory.File("out.jpg"));
        return DecodeJpeg(file);
    }

    size_t FilesLeft() const {
        size_t count = 0;
        for ([[maybe_unused]] const auto &entry :
             std::filesystem::directory_iterator(directory.Path()))
            ++count;
        return count;
    }

    const TempDirectory directory;
    ProgramResult result;
    std::vector<uint8_t> file;
};

TEST_F(Export, MakesAFileThatDecodersTakeWithoutARemark) {
    const TestPicture picture = MakeSoftPicture(160, 120);
    const DecodedJpeg jpeg = Run(Ppm(picture));
    EXPECT_TRUE(jpeg.Clean()) << jpeg.error;
    EXPECT_TRUE(jpeg.jfif);
    EXPECT_EQ(jpeg.width, 160);
    EXPECT_EQ(jpeg.height, 120);
    EXPECT_EQ(jpeg.components, 3);
    EXPECT_FALSE(jpeg.progressive);
    EXPECT_EQ(jpeg.densityUnit, 1);
    EXPECT_EQ(jpeg.xDensity, 96);
    EXPECT_EQ(jpeg.yDensity, 96);
    EXPECT_GT(Psnr(jpeg, picture), 30);
    EXPECT_EQ(FilesLeft(), 2U);
    EXPECT_EQ(result.errors, "");
    EXPECT_NE(result.output.find("out.jpg: 160 x 120 pixels, 96 x 96 dpi, "), std::string::npos);
}

TEST_F(Export, AnOddHeightGainsOneRow) {
    const TestPicture picture = MakeSoftPicture(33, 21);
    const DecodedJpeg jpeg = Run(Ppm(picture));
    EXPECT_TRUE(jpeg.Clean());
    EXPECT_EQ(jpeg.width, 33);
    EXPECT_EQ(jpeg.height, 22);
}

TEST_F(Export, EverySmallSizeComesOutWhole) {
    for (int side = 1; side <= 20; ++side) {
        const DecodedJpeg jpeg = Run(Ppm(MakeSoftPicture(side, 21 - side)), {"-q"});
        EXPECT_TRUE(jpeg.Clean()) << side;
        EXPECT_EQ(jpeg.width, side);
        EXPECT_EQ(jpeg.height, 21 - side + (21 - side) % 2);
    }
}

TEST_F(Export, AllThreeWaysGiveTheSameFile) {
    const std::string picture = Ppm(MakeSoftPicture(97, 54));
    Run(picture, {"--output-to", "file"});
    const std::vector<uint8_t> expected = file;
    ASSERT_FALSE(expected.empty());
    Run(picture, {"--output-to", "memory"});
    EXPECT_EQ(file, expected);
    Run(picture, {"--output-to", "callback"});
    EXPECT_EQ(file, expected);
    EXPECT_EQ(FilesLeft(), 2U);
}

TEST_F(Export, ReplacesAnEarlierFile) {
    directory.Write("out.jpg", std::string(100000, 'x'));
    EXPECT_TRUE(Run(Ppm(MakeSoftPicture(16, 16))).Clean());
    EXPECT_LT(file.size(), 5000U);
}

TEST_F(Export, QualityTradesBytesForLikeness) {
    const TestPicture picture = MakePicture(128, 96, [](int x, int y) {
        const auto ripple = static_cast<uint8_t>((x * x + y * y * 3) / 40 % 160 + 40);
        return Rgb{ripple, ripple, static_cast<uint8_t>(ripple / 2 + 40)};
    });
    const double fine = Psnr(Run(Ppm(picture), {"--quality", "95"}), picture);
    const size_t fineBytes = file.size();
    const double coarse = Psnr(Run(Ppm(picture), {"--quality", "50"}), picture);
    EXPECT_LT(file.size(), fineBytes);
    EXPECT_LT(coarse, fine);
    EXPECT_GT(coarse, 20);
    EXPECT_EQ(result.errors, "");
}

TEST_F(Export, QualityReachesTheQuantisers) {
    // The first quantiser of table 0 is 16 at quality 75 and 2 at quality 100; it stands 5 bytes
    // behind its marker's first byte.
    const std::string picture = Ppm(MakeSoftPicture(16, 16));
    const std::vector<uint8_t> marker = {0xFF, 0xDB};
    const auto firstQuantiser = [&] {
        return std::search(file.begin(), file.end(), marker.begin(), marker.end())[5];
    };
    Run(picture);
    EXPECT_EQ(firstQuantiser(), 2);
    Run(picture, {"--quality", "75"});
    EXPECT_EQ(firstQuantiser(), 16);
}

TEST_F(Export, NotesWhatLowQualitiesDo) {
    Run(Ppm(MakeSoftPicture(16, 16)), {"--quality", "44"});
    EXPECT_NE(result.errors.find("below 45"), std::string::npos);
    Run(Ppm(MakeSoftPicture(16, 16)), {"--quality", "44", "--quiet"});
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(result.output, "");
}

TEST_F(Export, ProgressiveFilesLookTheSame) {
    const TestPicture picture = MakeSoftPicture(75, 50);
    const DecodedJpeg plain = Run(Ppm(picture));
    const DecodedJpeg jpeg = Run(Ppm(picture), {"--progressive"});
    EXPECT_TRUE(jpeg.Clean());
    EXPECT_TRUE(jpeg.progressive);
    EXPECT_EQ(jpeg.pixels, plain.pixels);
}

TEST_F(Export, Rgb444StoresThreeFullSizeComponents) {
    // Decoders lose their way in the scan: every component is coded as the first.
    const DecodedJpeg jpeg = Run(Ppm(MakeSoftPicture(40, 40)), {"--colour", "rgb444"});
    EXPECT_EQ(jpeg.components, 3);
    EXPECT_EQ(jpeg.width, 40);
    const std::vector<uint8_t> components = {3, 1, 0x11, 0, 2, 0x11, 1, 3, 0x11, 1};
    EXPECT_NE(std::search(file.begin(), file.end(), components.begin(), components.end()),
              file.end());
    EXPECT_NE(result.errors.find("rgb444"), std::string::npos);
}

TEST_F(Export, GreyStoresOneComponent) {
    const TestPicture picture = MakePicture(24, 24, [](int x, int) {
        const auto grey = static_cast<uint8_t>(x * 10);
        return Rgb{grey, grey, grey};
    });
    Run(Ppm(picture), {"--colour", "grey"});
    EXPECT_NE(result.errors.find("grey"), std::string::npos);
    const DecodedJpeg jpeg = DecodeJpeg(WithEightBitPrecision(file));
    ASSERT_TRUE(jpeg.Clean()) << jpeg.error;
    EXPECT_EQ(jpeg.components, 1);
    EXPECT_NEAR(jpeg.At(20, 5)[0], 200, 2);
}

TEST_F(Export, ColourModesChangeTheColours) {
    const Rgb before = {200, 100, 50};
    const struct {
        const char *mode;
        Rgb after;
    } cases[] = {{"unchanged", before},
                 {"inverted", {55, 155, 205}},
                 {"greys-inverted", before},
                 {"grey", {125, 125, 125}}, // (600 + 600 + 50) / 10
                 {"grey-inverted", {130, 130, 130}}};
    for (const auto &test : cases) {
        const auto at = [&](int, int) { return before; };
        const DecodedJpeg jpeg =
            Run(Ppm(MakePicture(16, 16, at)), {"--colour-mode", test.mode, "--no-progress"});
        ASSERT_TRUE(jpeg.Clean());
        // The filter's transform is a rough one: red 200 comes back as 189.
        for (int c = 0; c < 3; ++c)
            EXPECT_NEAR(jpeg.At(8, 8)[c], test.after[static_cast<size_t>(c)], 12) << test.mode;
    }
}

TEST_F(Export, ColourModesChangePalettesToo) {
    PngPicture png = {16, 16, 1, kPngPalette, std::vector<std::string>(16, "\xff\xff"), "", 0, 0};
    png.palette = std::string("\x10\x20\x30", 3) + std::string("\xf0\xf0\xf0", 3);
    const DecodedJpeg jpeg = Run(Png(png), {"--colour-mode", "inverted"});
    EXPECT_NEAR(jpeg.At(8, 8)[0], 15, 4);
}

TEST_F(Export, KeepsThePicturesResolution) {
    PngPicture png = {8,  4, 8, kPngRgb, std::vector<std::string>(4, std::string(24, 'x')),
                      "", 0, 0};
    png.pixelsPerMetre = 11811;
    DecodedJpeg jpeg = Run(Png(png));
    EXPECT_EQ(jpeg.xDensity, 300);
    EXPECT_EQ(jpeg.yDensity, 300);
    EXPECT_EQ(jpeg.width, 8);
    png.pixelsPerMetre = 8031;
    png.pixelsPerMetreDown = 3858;
    jpeg = Run(Png(png));
    EXPECT_EQ(jpeg.xDensity, 204);
    EXPECT_EQ(jpeg.yDensity, 98);
    EXPECT_EQ(jpeg.width, 8);
    EXPECT_EQ(jpeg.height, 4);
    png.pixelsPerMetre = 23622;
    png.pixelsPerMetreDown = 0;
    EXPECT_EQ(Run(Png(png)).xDensity, 600);
}

TEST_F(Export, LosesNoColumnAtAwkwardResolutions) {
    PngPicture png = {55, 55,   8, kPngRgb, std::vector<std::string>(55, std::string(165, 'x')),
                      "", 2953, 0}; // 75 dpi: 55 / 75 * 75 is less than 55
    const DecodedJpeg jpeg = Run(Png(png));
    EXPECT_EQ(jpeg.width, 55);
    EXPECT_EQ(jpeg.height, 56);
    EXPECT_EQ(jpeg.xDensity, 75);
}

TEST_F(Export, LaysTransparencyOverWhite) {
    std::string row;
    for (int x = 0; x < 16; ++x)
        row += std::string("\x00\x00\x00\x00", 4);
    PngPicture png = {16, 16, 8, kPngRgba, std::vector<std::string>(16, row), "", 0, 0};
    EXPECT_NEAR(Run(Png(png)).At(8, 8)[1], 255, 1);
    for (auto &pixels : png.rows) {
        for (size_t x = 3; x < pixels.size(); x += 4)
            pixels[x] = '\x80';
    }
    EXPECT_NEAR(Run(Png(png)).At(8, 8)[1], 127, 2);
}

TEST_F(Export, TurnsPicturesUpright) {
    // Left half dark, right half light; turned by a quarter to the right the top is dark.
    const TestPicture picture = MakePicture(32, 16, [](int x, int) {
        return x < 16 ? Rgb{30, 30, 30} : Rgb{220, 220, 220};
    });
    Run(Ppm(picture));
    const std::string head(file.begin(), file.begin() + 20);
    const std::string tiff("MM\0*\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0\x06\0\0\0\0\0\0", 26);
    const std::string exif = std::string("\xff\xe1\0\x22"
                                         "Exif\0\0",
                                         10) +
                             tiff;
    const DecodedJpeg jpeg = Run(head + exif + std::string(file.begin() + 20, file.end()));
    ASSERT_TRUE(jpeg.Clean());
    EXPECT_EQ(jpeg.width, 16);
    EXPECT_EQ(jpeg.height, 32);
    EXPECT_NEAR(jpeg.At(8, 4)[1], 30, 6);
    EXPECT_NEAR(jpeg.At(8, 28)[1], 220, 6);
}

TEST_F(Export, KeepsGreyPalettesAndTwoColoursAtTheirDepth) {
    PngPicture png = {16, 16, 8, kPngGrey, std::vector<std::string>(16, std::string(16, '\xb4')),
                      "", 0,  0};
    const auto depth = [&] { return nlohmann::json::parse(result.output)["depth"].get<int>(); };
    EXPECT_NEAR(Run(Png(png), {"--json"}).At(3, 3)[0], 180, 2);
    EXPECT_EQ(depth(), 8);
    png.bits = 1;
    png.rows.assign(16, std::string("\x00\xff", 2));
    DecodedJpeg jpeg = Run(Png(png), {"--json"});
    EXPECT_EQ(depth(), 1);
    EXPECT_NEAR(jpeg.At(2, 8)[1], 0, 3);
    EXPECT_NEAR(jpeg.At(13, 8)[1], 255, 3);
    png.bits = 4;
    png.colours = kPngPalette;
    png.rows.assign(16, std::string(8, '\x22'));
    png.palette = std::string("\0\0\0\x10\x10\x10\xc0\x40\x40\xff\xff\xff", 12);
    jpeg = Run(Png(png), {"--json"});
    EXPECT_EQ(depth(), 4);
    EXPECT_NEAR(jpeg.At(8, 8)[0], 192, 12);
    EXPECT_NEAR(jpeg.At(8, 8)[1], 64, 8);
}

TEST_F(Export, HandsOverTheDepthThatIsAskedFor) {
    const TestPicture picture = MakeSoftPicture(64, 48);
    const DecodedJpeg plain = Run(Ppm(picture), {"--depth", "24"});
    EXPECT_EQ(Run(Ppm(picture), {"--depth", "32"}).pixels, plain.pixels);
    EXPECT_GT(Psnr(Run(Ppm(picture), {"--depth", "8"}), picture), 25);
    EXPECT_GT(Psnr(Run(Ppm(picture), {"--depth", "4"}), picture), 15);
    const DecodedJpeg bilevel = Run(Ppm(picture), {"--depth", "1", "--json"});
    EXPECT_TRUE(bilevel.Clean());
    EXPECT_EQ(nlohmann::json::parse(result.output)["depth"], 1);
}

TEST_F(Export, ReportsAsJson) {
    const DecodedJpeg jpeg = Run(Ppm(MakeSoftPicture(30, 20)), {"--json", "--quality", "80"});
    const nlohmann::json report = nlohmann::json::parse(result.output);
    EXPECT_EQ(report["picture"], directory.File("in"));
    EXPECT_EQ(report["output"], directory.File("out.jpg"));
    EXPECT_EQ(report["bytes"], file.size());
    EXPECT_EQ(report["width"], jpeg.width);
    EXPECT_EQ(report["height"], jpeg.height);
    EXPECT_EQ(report["settings"]["quality"], "80");
    EXPECT_EQ(report["settings"]["colour"], "ycc422");
    EXPECT_GT(report["milliseconds"].get<double>(), 0);
}

TEST_F(Export, ReadsFromAndWritesToStandardStreams) {
    ProgramSetting setting;
    setting.input = Ppm(MakeSoftPicture(64, 32));
    for (const char *way : {"file", "memory", "callback"}) {
        result = RunKowen({"export", "-", "-", "--output-to", way}, setting);
        EXPECT_EQ(result.exitCode, 0) << result.errors;
        const DecodedJpeg jpeg = DecodeJpeg(Bytes(result.output));
        EXPECT_TRUE(jpeg.Clean()) << way;
        EXPECT_EQ(jpeg.width, 64);
        EXPECT_NE(result.errors.find("standard output: 64 x 32"), std::string::npos);
    }
}

TEST_F(Export, WritesToANamedPipe) {
    const std::string pipe = directory.File("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    directory.Write("in.ppm", Ppm(MakeSoftPicture(40, 20)));
    Program program({"export", directory.File("in.ppm"), pipe, "-q"});
    const std::string bytes = directory.Read("pipe");
    EXPECT_EQ(program.Wait().exitCode, 0);
    EXPECT_TRUE(DecodeJpeg(Bytes(bytes)).Clean());
}

TEST_F(Export, ShowsABarOnATerminal) {
    directory.Write("in.ppm", Ppm(MakeSoftPicture(40, 20)));
    const std::vector<std::string> none;
    for (const auto &[options, shown] :
         {std::pair{none, true}, {{"--door", "raster"}, true}, {{"--no-progress"}, false}}) {
        const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
        if (terminal < 0)
            GTEST_SKIP() << "no terminals can be made here";
        ASSERT_EQ(grantpt(terminal) | unlockpt(terminal), 0);
        const int side = open(ptsname(terminal), O_RDWR | O_NOCTTY);
        ASSERT_GE(side, 0);
        ProgramSetting setting;
        setting.beforeStart = [side] { dup2(side, STDERR_FILENO); };
        std::vector<std::string> arguments = {"export", directory.File("in.ppm"),
                                              directory.File("out.jpg")};
        arguments.insert(arguments.end(), options.begin(), options.end());
        EXPECT_EQ(RunKowen(arguments, setting).exitCode, 0);
        const int flags = fcntl(terminal, F_GETFL);
        fcntl(terminal, F_SETFL, flags | O_NONBLOCK);
        char text[4096] = "";
        const ssize_t count = read(terminal, text, sizeof text - 1);
        const std::string seen(text, static_cast<size_t>(std::max<ssize_t>(count, 0)));
        EXPECT_EQ(seen.find("100% exporting") != std::string::npos, shown) << seen;
        close(side);
        close(terminal);
    }
}

} // namespace
} // namespace kowen::test
