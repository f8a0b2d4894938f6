// --resize: sizes as other tools give them, and a smooth picture, also where bands meet.
#include "resize/resized_source.h"

#include "failure.h"
#include "tools/bmp_file.h"
#include "tools/export_fixture.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <numbers>
#include <tuple>

namespace kowen::test {
namespace {

cli::PixelSize Size(const std::string &wanted, uint32_t width, uint32_t height,
                    bool shrinkOnly = false) {
    cli::ResizeChoice choice = cli::ParseResize(wanted);
    choice.shrinkOnly = shrinkOnly;
    return cli::ResizedSize(choice, {width, height});
}

TEST(ResizedSize, KeepsTheProportions) {
    EXPECT_EQ(Size("1200x", 4000, 3000), (cli::PixelSize{1200, 900}));
    EXPECT_EQ(Size("x800", 4000, 3000), (cli::PixelSize{1067, 800}));     // 1066.67
    EXPECT_EQ(Size("1200x800", 4000, 3000), (cli::PixelSize{1067, 800})); // the height decides
    EXPECT_EQ(Size("800x1200", 4000, 3000), (cli::PixelSize{800, 600}));
    EXPECT_EQ(Size("50%", 301, 201), (cli::PixelSize{151, 101})); // 150.5 and 100.5
    EXPECT_EQ(Size("33.3%", 300, 2), (cli::PixelSize{100, 1}));   // 99.9 and 0.67
    EXPECT_EQ(Size("10x", 4000, 100), (cli::PixelSize{10, 1}));   // 0.25
    EXPECT_EQ(Size("200%", 30, 20), (cli::PixelSize{60, 40}));
    EXPECT_EQ(Size("1200X800", 4000, 3000), (cli::PixelSize{1067, 800}));
}

TEST(ResizedSize, ShrinkOnlyLeavesSmallPicturesAlone) {
    EXPECT_EQ(Size("1200x", 1000, 700, true), (cli::PixelSize{1000, 700}));
    EXPECT_EQ(Size("1200x", 2400, 700, true), (cli::PixelSize{1200, 350}));
    EXPECT_EQ(Size("900x900", 1000, 100, true), (cli::PixelSize{900, 90}));
}

TEST(ResizedSize, HasLimits) {
    EXPECT_THROW(Size("65535x", 10, 20), cli::Failure);
    for (const char *text :
         {"", "x", "0x", "1200", "-3x", "12 x", "3.5x", "0%", "%", "1e9%", "65536x", "10001%"})
        EXPECT_THROW(cli::ParseResize(text), cli::UsageFailure) << text;
}

class Resize : public ExportFixture {
protected:
    /// A picture's channel 1 in another size, row by row.
    std::vector<std::vector<int>> Resized(const TestPicture &picture, const cli::PixelSize &size) {
        const std::string path = directory.Write("in.ppm", Ppm(picture));
        const auto source =
            cli::ResizePicture(cli::OpenPicture(path, {}), size, cli::Rgb{255, 255, 255});
        EXPECT_EQ(source->Facts().width, size.width);
        std::vector<std::vector<int>> rows;
        std::vector<uint8_t> row(size_t{size.width} * 3);
        for (uint32_t y = 0; y < size.height; ++y) {
            source->ReadRow(row.data());
            std::vector<int> &values = rows.emplace_back();
            for (uint32_t x = 0; x < size.width; ++x)
                values.push_back(row[x * 3 + 1]);
        }
        source->Finish();
        return rows;
    }
};

double Lanczos(double x) {
    const double angle = std::numbers::pi * x;
    if (std::abs(x) >= 3)
        return 0;
    return x == 0 ? 1 : 3 * std::sin(angle) * std::sin(angle / 3) / (angle * angle);
}

// One row or column, by the definition: the kernel stretched by the ratio, outside mirrored.
std::vector<double> ShrunkLine(const std::vector<double> &line, int size) {
    const double ratio = static_cast<double>(line.size()) / size;
    const int last = static_cast<int>(line.size()) - 1;
    std::vector<double> result;
    for (int i = 0; i < size; ++i) {
        const double middle = (i + 0.5) * ratio - 0.5;
        double sum = 0, weights = 0;
        for (int k = static_cast<int>(std::floor(middle - 3 * ratio));
             k <= std::ceil(middle + 3 * ratio); ++k) {
            const double weight = Lanczos((k - middle) / ratio);
            const int at = k < 0 ? -k - 1 : k > last ? 2 * last - k + 1 : k;
            sum += weight * line[static_cast<size_t>(at)];
            weights += weight;
        }
        result.push_back(sum / weights);
    }
    return result;
}

TEST_F(Resize, IsLanczosAcrossAllBands) {
    const TestPicture picture = MakePicture(130, 510, [](int x, int y) {
        const auto value =
            static_cast<uint8_t>(128 + 60 * std::sin(x * 0.7) + 50 * std::cos(y * 0.9));
        return Rgb{0, value, 0};
    });
    const cli::PixelSize size = {61, 221}; // four bands
    std::vector<std::vector<double>> narrow;
    for (int y = 0; y < picture.height; ++y) {
        std::vector<double> line;
        for (int x = 0; x < picture.width; ++x)
            line.push_back(picture.At(x, y)[1]);
        narrow.push_back(ShrunkLine(line, static_cast<int>(size.width)));
    }
    const auto rows = Resized(picture, size);
    for (uint32_t x = 0; x < size.width; ++x) {
        std::vector<double> line;
        for (const auto &row : narrow)
            line.push_back(row[x]);
        line = ShrunkLine(line, static_cast<int>(size.height));
        for (uint32_t y = 0; y < size.height; ++y)
            ASSERT_NEAR(rows[y][x], line[y], 1.6) << x << ", " << y;
    }
}

TEST_F(Resize, AFlatPictureStaysFlat) {
    const auto flat = [](int, int) { return Rgb{10, 93, 200}; };
    for (const cli::PixelSize &size : {cli::PixelSize{7, 90}, {300, 200}, {1, 1}, {64, 400}}) {
        for (const auto &row : Resized(MakePicture(64, 128, flat), size)) {
            for (const int value : row)
                ASSERT_NEAR(value, 93, 1);
        }
    }
}

TEST_F(Resize, ReachesTheJpeg) {
    const DecodedJpeg jpeg = Decode(Ppm(MakeSoftPicture(400, 300)), {"--resize", "100x"});
    EXPECT_EQ(jpeg.height, 75);
    EXPECT_GT(Psnr(jpeg, MakeSoftPicture(100, 75)), 38);
    EXPECT_EQ(Decode(Ppm(MakeSoftPicture(40, 30)), {"--resize", "100x", "--shrink-only"}).width,
              40);
    EXPECT_EQ(Decode("P5\n9 9\n255\n" + std::string(81, 'x'), {"--resize", "x3"}).height, 3);
}

TEST_F(Resize, SaysThePixelsWhateverTheResolution) {
    const std::string picture = Bmp(72, 48);
    for (const auto &[dpi, x, y] : {std::tuple("300", 300, 300), std::tuple("300x150", 300, 150)}) {
        const DecodedJpeg jpeg = Decode(picture, {"--resize", "36x", "--dpi", dpi});
        EXPECT_EQ(jpeg.width, 36);
        EXPECT_EQ(jpeg.height, 24);
        EXPECT_EQ(jpeg.xDensity, x);
        EXPECT_EQ(jpeg.yDensity, y);
        EXPECT_EQ(result.errors, "");
    }
    const DecodedJpeg whole = Decode(picture, {"--resize", "100%", "--dpi", "300"});
    EXPECT_EQ(whole.width, 72);
    EXPECT_EQ(whole.xDensity, 300);
    const DecodedJpeg page =
        Decode(picture, {"--resize", "36x", "--dpi", "page", "--page", "9x9cm@150"});
    EXPECT_EQ(page.width, 36);
    EXPECT_EQ(page.xDensity, 150);
    EXPECT_EQ(Decode(picture, {"--resize", "36x", "--dpi", "300", "--as-filter"}).width, 36);
    // Without it the inches stay: 72 pixels at 100 dpi are 108 at 150.
    EXPECT_EQ(Decode(picture, {"--dpi", "150"}).width, 108);
    EXPECT_TRUE(Has(result.errors, "became 108 x 72 pixels for the resolution; --resize 100% keeps "
                                   "the pixels and only states it\n"))
        << result.errors;
}

TEST_F(Resize, PassesOverAProfilesSize) {
    WritePicture("in.ppm", 90, 60);
    Kowen({"setup", "set", "kowen.ini", "size=6x4in", "dpi=300", "-q"});
    Export({"in.ppm", "-o", "out.jpg", "--resize", "30x"});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(DecodeFile("out.jpg").width, 30);
    EXPECT_EQ(DecodeFile("out.jpg").height, 20);
    EXPECT_EQ(DecodeFile("out.jpg").xDensity, 300);
    EXPECT_TRUE(Has(result.errors, "kowen: note: the profile's size is passed over: --resize says "
                                   "the pixels\n"))
        << result.errors;
    Kowen({"estimate", "in.ppm", "--resize", "30x", "--json"});
    EXPECT_EQ(nlohmann::json::parse(result.output)["width"], 30);
    EXPECT_TRUE(nlohmann::json::parse(result.output)["qualities"][0]["psnr"].is_number());
    Export({"in.ppm", "-o", "out.jpg", "--resize", "30x", "--size", "6x4in"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.errors, "kowen: --resize and --size both say the size; give one of them\n");
}

} // namespace
} // namespace kowen::test
