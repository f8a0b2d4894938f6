// kowen estimate: the table agrees with real exports and with a decoder that is not the program's.
#include "tools/export_fixture.h"

#include <nlohmann/json.hpp>
#include <png.h>

#include <algorithm>
#include <cstdlib>

namespace kowen::test {
namespace {

// The pixels of a PNG; none when it is not whole.
TestPicture ReadPng(const std::string &file) {
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_memory(&image, file.data(), file.size()) == 0)
        return {};
    image.format = PNG_FORMAT_RGB;
    TestPicture picture = {static_cast<int>(image.width), static_cast<int>(image.height), {}};
    picture.pixels.resize(size_t{image.width} * image.height);
    if (png_image_finish_read(&image, nullptr, picture.pixels.data(), 0, nullptr) == 0)
        return {};
    return picture;
}

class Estimate : public ExportFixture {
protected:
    Estimate() : picture(MakeSoftPicture(120, 91)) { directory.Write("in.ppm", Ppm(picture)); }

    const TestPicture picture;
};

TEST_F(Estimate, AgreesWithTheExports) {
    Kowen({"estimate", "in.ppm", "--json"});
    ASSERT_EQ(result.exitCode, 0) << result.errors;
    const nlohmann::json report = nlohmann::json::parse(result.output);
    EXPECT_EQ(report["width"], 120);
    EXPECT_EQ(report["height"], 91);
    std::vector<int> qualities;
    for (const auto &row : report["qualities"]) {
        qualities.push_back(row["quality"]);
        Export({"in.ppm", "-o", "out.jpg", "-q", "--quality", row["quality"].dump()});
        EXPECT_EQ(row["bytes"], ReadJpegFile(directory.File("out.jpg")).size());
        // The tests' decoder repeats chroma samples, the program's smooths them.
        EXPECT_NEAR(row["psnr"], Psnr(DecodeFile("out.jpg"), picture), 1.2);
        // The same tables and sampling give nearly the same size.
        EXPECT_NEAR(row["libjpeg"]["bytes"], row["bytes"], 200);
        EXPECT_GT(row["libjpeg"]["psnr"], 30);
    }
    EXPECT_EQ(qualities, (std::vector<int>{45, 50, 60, 70, 75, 80, 85, 90, 95, 100}));
    EXPECT_EQ(Listing(), "in.ppm out.jpg");
}

TEST_F(Estimate, PrintsATable) {
    Kowen({"estimate", "in.ppm"});
    EXPECT_TRUE(result.output.starts_with("in.ppm: 120 x 91 pixels\nquality      bytes   PSNR dB"));
    EXPECT_TRUE(Has(result.output, "\n     45 "));
    EXPECT_TRUE(Has(result.output, "\n    100 "));
}

// Three panels: the picture, what a decoder makes of the JPEG, and eight times their difference
// around a middle grey.
TEST_F(Estimate, MakesAPictureOfTheDifferences) {
    Kowen({"estimate", "in.ppm", "--compare", "diff.png", "--quality", "75"});
    ASSERT_EQ(result.exitCode, 0) << result.errors;
    const TestPicture png = ReadPng(directory.Read("diff.png"));
    ASSERT_EQ(png.width, 360);
    ASSERT_EQ(png.height, 91);
    Export({"in.ppm", "-o", "out.jpg", "-q", "--quality", "75"});
    const DecodedJpeg jpeg = DecodeJpeg(ReadJpegFile(directory.File("out.jpg")), DecodeAs::kShown);
    int wrong = 0, apart = 0;
    for (int y = 0; y < 91; ++y) {
        for (int x = 0; x < 120; ++x) {
            for (size_t c = 0; c < 3; ++c) {
                const int first = png.At(x, y)[c], second = png.At(x + 120, y)[c];
                wrong += first != picture.At(x, y)[c];
                wrong += std::abs(second - jpeg.At(x, y)[c]) > 1; // another transform may round
                wrong += png.At(x + 240, y)[c] != std::clamp(128 + 8 * (second - first), 0, 255);
                apart += second != first;
            }
        }
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(apart, 1000); // or the third panel shows nothing
    const std::string before = directory.Read("diff.png");
    Kowen({"estimate", "in.ppm", "--compare", "diff.png"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Has(result.errors, "diff.png: there is a file of that name")) << result.errors;
    EXPECT_EQ(directory.Read("diff.png"), before);
    Kowen({"estimate", "no.ppm", "--compare", "diff.jpg"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(Has(result.errors, "diff.jpg does not end in .png")) << result.errors;
    Kowen({"estimate", "no.ppm", "--compare", "no/diff.png"});
    EXPECT_TRUE(Has(result.errors, "there is no folder no")) << result.errors;
}

TEST_F(Estimate, FindsTheQualityThatFits) {
    Export({"in.ppm", "-o", "out.jpg", "-q", "--quality", "63"});
    const std::string limit = std::to_string(ReadJpegFile(directory.File("out.jpg")).size());
    Kowen({"estimate", "in.ppm", "--max-bytes", limit, "--json"});
    const nlohmann::json report = nlohmann::json::parse(result.output);
    const int quality = report["fittingQuality"];
    EXPECT_GE(quality, 63);
    EXPECT_LT(quality, 80);
    bool listed = false;
    for (const auto &row : report["qualities"])
        listed = listed || row["quality"] == quality;
    EXPECT_TRUE(listed);
    Kowen({"estimate", "in.ppm", "--max-bytes", limit});
    EXPECT_TRUE(Has(result.output, "\nquality " + std::to_string(quality) +
                                       " is the highest that fits " + limit + " bytes\n"));
    Kowen({"estimate", "in.ppm", "--max-bytes", "600"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(result.output.ends_with("\nno quality fits 600 bytes\n")) << result.output;
}

TEST_F(Estimate, OtherSizesAreExplained) {
    directory.Write("small.ppm", Ppm(MakeSoftPicture(24, 16)));
    Kowen({"estimate", "small.ppm", "--size", "48x32px"});
    EXPECT_TRUE(Has(result.output, "\nthe settings change the size: ")) << result.output;
    Kowen({"estimate", "small.ppm", "--resize", "48x32"});
    EXPECT_FALSE(Has(result.output, "the settings change")) << result.output;
}

} // namespace
} // namespace kowen::test
