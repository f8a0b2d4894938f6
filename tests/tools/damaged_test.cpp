// Pictures that are cut, and files that are none.
#include "tools/bmp_file.h"
#include "tools/export_fixture.h"
#include "tools/png_file.h"

#include <map>

namespace kowen::test {
namespace {

using std::string;

class Damaged : public ExportFixture {};

// Each format's file, cut behind two thirds.
TEST_F(Damaged, ACutPictureIsAFailureUnlessAccepted) {
    PngPicture png = {32, 30, 8,  kPngGrey, std::vector<string>(30, string(32, 'x')), "", 0, 0,
                      "", "", "", false};
    Decode(Ppm(MakeSoftPicture(160, 120)));
    const std::map<string, string> pictures = {{"ppm", Ppm(MakeSoftPicture(32, 30))},
                                               {"png", Png(png)},
                                               {"jpeg", string(file.begin(), file.end())}};
    for (const auto &[name, whole] : pictures) {
        SCOPED_TRACE(name);
        directory.Write("in", whole.substr(0, whole.size() * 2 / 3));
        EXPECT_EQ(Export({"in", "-o", "cut.jpg"}).exitCode, 1);
        EXPECT_TRUE(Has(result.errors, "--accept-truncated takes what is there")) << result.errors;
        EXPECT_FALSE(directory.Has("cut.jpg"));
        EXPECT_EQ(Export({"in", "-o", "cut.jpg", "--accept-truncated"}).exitCode, 0)
            << result.errors;
        EXPECT_TRUE(Has(result.errors, "kowen: note: in: ")) << result.errors;
        const DecodedJpeg jpeg = DecodeFile("cut.jpg");
        EXPECT_TRUE(jpeg.Clean());
        EXPECT_EQ(jpeg.width, name == "jpeg" ? 160 : 32);
        std::filesystem::remove(directory.File("cut.jpg"));
    }
}

// The picture library gives nothing of a file that is shorter than it says.
TEST_F(Damaged, ACutPictureOfAnotherFormatIsAFailure) {
    const string whole = Bmp(32, 30);
    directory.Write("in", whole.substr(0, whole.size() * 2 / 3));
    EXPECT_EQ(Export({"in", "-o", "cut.jpg"}).exitCode, 1);
    EXPECT_TRUE(result.errors.starts_with("kowen: in: ")) << result.errors;
    EXPECT_FALSE(directory.Has("cut.jpg"));
}

TEST_F(Damaged, ScriptsOfThePictureLibraryAreNotRun) {
    const string picture = WritePicture("a.ppm");
    directory.Write("script.mvg", "push graphic-context\nimage over 0,0 9,9 '" + picture +
                                      "'\npop graphic-context\n");
    EXPECT_EQ(Export({"script.mvg"}).exitCode, 1);
    EXPECT_TRUE(Has(result.errors, "not a picture")) << result.errors;
    EXPECT_EQ(Export({"ppm:" + picture}).exitCode, 1);
    EXPECT_TRUE(Has(result.errors, "No such file")) << result.errors;
}

} // namespace
} // namespace kowen::test
