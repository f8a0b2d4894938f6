// What a decoder sees in the picture of the host guide's example.
#include "module/guide_example.h"
#include "support/jpeg_decode.h"
#include "support/module_path.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

namespace {

// Red grows from left to right; green from the bitmap's first row, the bottom of the picture, up.
TEST(GuideExample, ItsFirstRowIsTheBottomOfThePicture) {
    const TempDirectory directory;
    const std::string output = directory.File("a.jpg");
    ASSERT_EQ(RunGuideExample(kModulePath, output, directory.File("words")), 0);
    const kowen::test::DecodedJpeg picture =
        kowen::test::DecodeJpeg(kowen::test::ReadJpegFile(output));
    EXPECT_TRUE(picture.Clean()) << picture.error;
    ASSERT_EQ(picture.width, 64);
    ASSERT_EQ(picture.height, 48);
    ASSERT_EQ(picture.channels, 3);
    EXPECT_EQ(picture.xDensity, 96);
    EXPECT_EQ(picture.yDensity, 96);
    EXPECT_LT(picture.At(0, 24)[0], 40);
    EXPECT_GT(picture.At(63, 24)[0], 215);
    EXPECT_LT(picture.At(32, 47)[1], 40);
    EXPECT_GT(picture.At(32, 0)[1], 215);
}

} // namespace
