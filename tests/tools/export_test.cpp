// One picture, one JPEG: what is in it, and what is said about it.
#include "tools/export_fixture.h"
#include "tools/png_file.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <sys/stat.h>

namespace kowen::test {
namespace {

std::vector<uint8_t> Bytes(const std::string &text) {
    return {text.begin(), text.end()};
}

// A PNG of one colour at a resolution; 0 = none.
std::string PngOf(int width, int height, uint32_t pixelsPerMetre) {
    const std::string row(static_cast<size_t>(width) * 3, '\x60');
    return Png({width, height, 8, kPngRgb,
                std::vector<std::string>(static_cast<size_t>(height), row), "", pixelsPerMetre, 0,
                "", "", "", false});
}

constexpr uint32_t kNinetySixDpi = 3780;

class ExportOne : public ExportFixture {};

TEST_F(ExportOne, ComesOutAsItWentIn) {
    const TestPicture picture = MakeSoftPicture(161, 121);
    const DecodedJpeg jpeg = Decode(Ppm(picture));
    EXPECT_TRUE(jpeg.Clean()) << jpeg.error;
    EXPECT_TRUE(jpeg.jfif);
    EXPECT_EQ(jpeg.components, 3);
    EXPECT_FALSE(jpeg.progressive);
    EXPECT_EQ(jpeg.width, 161);
    EXPECT_EQ(jpeg.height, 121);
    EXPECT_EQ(jpeg.xDensity, 96);
    EXPECT_GT(Psnr(jpeg, picture), 40);
    EXPECT_EQ(Listing(), "in out.jpg");
    EXPECT_TRUE(result.output.starts_with("out.jpg: 161 x 121 pixels, 96 x 96 dpi, "));
}

TEST_F(ExportOne, AsTheFilterHasItOnRequest) {
    const DecodedJpeg jpeg = Decode(Ppm(MakeSoftPicture(33, 21)), {"--as-filter"});
    EXPECT_EQ(jpeg.width, 33);
    EXPECT_EQ(jpeg.height, 22);
    EXPECT_EQ(Decode(Ppm(MakeSoftPicture(16, 16)), {"--as-filter", "--colour", "rgb444"}).width,
              16);
    Export({"in", "-o", "no.jpg", "--colour", "rgb444"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_FALSE(directory.Has("no.jpg"));
}

// The first quantiser of table 0 is 16 at quality 75 and 2 at quality 100; it stands 5 bytes behind
// its marker's first byte.
TEST_F(ExportOne, QualityReachesTheQuantisers) {
    const std::vector<uint8_t> marker = {0xFF, 0xDB};
    const auto firstQuantiser = [&] {
        return std::search(file.begin(), file.end(), marker.begin(), marker.end())[5];
    };
    Decode(Ppm(MakeSoftPicture(16, 16)));
    EXPECT_EQ(firstQuantiser(), 2);
    Decode(Ppm(MakeSoftPicture(16, 16)), {"--quality", "75"});
    EXPECT_EQ(firstQuantiser(), 16);
}

TEST_F(ExportOne, ProgressiveAndGreyOpenEverywhere) {
    const TestPicture picture = MakeSoftPicture(75, 51);
    const DecodedJpeg plain = Decode(Ppm(picture));
    const DecodedJpeg steps = Decode(Ppm(picture), {"--progressive"});
    EXPECT_TRUE(steps.Clean());
    EXPECT_TRUE(steps.progressive);
    EXPECT_EQ(steps.pixels, plain.pixels);
    const auto at = [](int, int) { return Rgb{200, 100, 50}; };
    const DecodedJpeg grey = Decode(Ppm(MakePicture(16, 16, at)), {"--colour", "grey"});
    EXPECT_TRUE(grey.Clean()) << grey.error;
    EXPECT_EQ(grey.components, 1);
    EXPECT_NEAR(grey.At(5, 5)[0], 124, 2); // .299 * 200 + .587 * 100 + .114 * 50
}

TEST_F(ExportOne, TheHighestQualityThatFits) {
    const TestPicture picture = MakePicture(200, 150, [](int x, int y) {
        const auto ripple = static_cast<uint8_t>((x * x + y * y * 3) / 40 % 160 + 40);
        return Rgb{ripple, ripple, ripple};
    });
    Decode(Ppm(picture), {"--max-bytes", "15k"});
    EXPECT_LE(file.size(), 15000U);
    Decode(Ppm(picture), {"--max-bytes", "15k", "--json"});
    const int quality = nlohmann::json::parse(result.output)["quality"];
    EXPECT_LT(quality, 100);
    Decode(Ppm(picture), {"--quality", std::to_string(quality + 1)});
    EXPECT_GT(file.size(), 15000U);
    Export({"in", "-o", "no.jpg", "--max-bytes", "600"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_FALSE(directory.Has("no.jpg"));
}

TEST_F(ExportOne, SizesOnPaper) {
    const auto expect = [](const DecodedJpeg &jpeg, int width, int height, int dpi) {
        EXPECT_EQ(jpeg.width, width);
        EXPECT_EQ(jpeg.height, height);
        EXPECT_EQ(jpeg.xDensity, dpi);
    };
    expect(Decode(PngOf(96, 48, kNinetySixDpi), {"--dpi", "200"}), 200, 100, 200);
    expect(Decode(PngOf(97, 49, 0), {"--dpi", "300"}), 97, 49, 300);
    expect(Decode(PngOf(96, 48, kNinetySixDpi), {"--size", "2x2in", "--dpi", "100"}), 200, 100,
           100);
    EXPECT_TRUE(Has(result.errors, "kowen: note: ")) << "an enlargement is told";
    // Boxes in lengths are turned as the picture, boxes in pixels are not.
    expect(Decode(PngOf(96, 48, 0), {"--size", "2x4in", "--dpi", "100"}), 400, 200, 100);
    expect(Decode(PngOf(96, 48, 0), {"--size", "20x40px"}), 20, 10, 96);
    // A4 is 8.2677 inches wide, letter 11 high.
    expect(Decode(PngOf(100, 100, 0), {"--size", "A4", "--dpi", "50"}), 413, 413, 50);
    expect(Decode(PngOf(85, 110, 0), {"--size", "letter", "--dpi", "40"}), 340, 440, 40);
}

TEST_F(ExportOne, SaysWhenABoxWithoutAUnitIsTiny) {
    Decode(PngOf(96, 48, 0), {"--size", "10x15"});
    EXPECT_TRUE(Has(result.errors,
                    "kowen: note: --size 10x15 are pixels; on paper it is 10x15cm or "
                    "10x15in\n"))
        << result.errors;
    for (const char *clear : {"10x15px", "10x15mm", "40x32"}) {
        Decode(PngOf(96, 48, 0), {"--size", clear});
        EXPECT_FALSE(Has(result.errors, "are pixels")) << result.errors;
    }
}

TEST_F(ExportOne, ReportsAsJsonWithNumbers) {
    const DecodedJpeg jpeg = Decode(Ppm(MakeSoftPicture(30, 20)), {"--json", "--quality", "80"});
    const nlohmann::json report = nlohmann::json::parse(result.output);
    EXPECT_EQ(report["picture"], directory.File("in"));
    EXPECT_EQ(report["output"], "out.jpg");
    EXPECT_EQ(report["done"], true);
    EXPECT_EQ(report["bytes"], file.size());
    EXPECT_EQ(report["width"], jpeg.width);
    EXPECT_EQ(report["height"], jpeg.height);
    EXPECT_EQ(report["quality"], 80);
    EXPECT_EQ(report["dpi"], nlohmann::json::parse("[96,96]"));
    EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 1);
}

TEST_F(ExportOne, SaysWhatChanged) {
    const auto vivid = [](int, int) { return Rgb{255, 0, 0}; };
    directory.Write("in.ppm", Ppm(MakePicture(16, 16, vivid)));
    directory.Write("kowen.ini", "[KOWEN]\n~Mode=A\n[A]\nDriver=KOWEN.1\nColor Format=212\n");
    Export({"in.ppm"});
    EXPECT_TRUE(Has(result.errors, "kowen: note: settings from kowen.ini, section A\n"))
        << result.errors;
    EXPECT_TRUE(Has(result.errors, "kowen: note: in.ppm: colours of 100 % of")) << result.errors;
    EXPECT_EQ(result.errors.find("kowen.ini"), result.errors.rfind("kowen.ini")) << "told once";
    Export({"in.ppm", "-o", "in.jpg", "-q"});
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(result.output, "");
}

TEST_F(ExportOne, ReadsFromAndWritesToStandardStreams) {
    ProgramSetting setting;
    setting.input = Ppm(MakeSoftPicture(64, 33));
    for (const std::vector<std::string> &words : {std::vector<std::string>{"-", "-"},
                                                  {"-", "-o", "-"},
                                                  {"-", "-o", "/dev/stdout"},
                                                  {"-", "-o", "/dev/fd/1"}}) {
        Export(words, setting);
        EXPECT_EQ(result.exitCode, 0) << result.errors;
        const DecodedJpeg jpeg = DecodeJpeg(Bytes(result.output));
        EXPECT_TRUE(jpeg.Clean());
        EXPECT_EQ(jpeg.height, 33);
        EXPECT_TRUE(Has(result.errors, "standard output: 64 x 33"));
    }
}

TEST_F(ExportOne, WritesToANamedPipe) {
    const std::string pipe = directory.File("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    Program program({"export", WritePicture("in.ppm"), "-o", pipe, "-q"});
    const std::string bytes = directory.Read("pipe");
    EXPECT_EQ(program.Wait().exitCode, 0);
    EXPECT_TRUE(DecodeJpeg(Bytes(bytes)).Clean());
}

} // namespace
} // namespace kowen::test
