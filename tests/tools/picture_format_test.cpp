#include "readers/picture_format.h"

#include <gtest/gtest.h>

#include <vector>

namespace kowen::cli {
namespace {

std::string FormatOf(const std::string &bytes, const std::string &path = "picture") {
    const std::vector<uint8_t> copy(bytes.begin(), bytes.end());
    return PictureFormat(copy, path);
}

TEST(PictureFormat, LooksAtTheBytesFirst) {
    EXPECT_EQ(FormatOf("P6\n1 1\n255\nabc", "lying.png"), "PNM");
    EXPECT_EQ(FormatOf(std::string("II*\0\x08\0\0\0", 8)), "TIFF");
    EXPECT_EQ(FormatOf("RIFF....WEBPVP8 "), "WEBP");
    EXPECT_EQ(FormatOf("\xff\xd8\xff\xe0"), "JPEG");
}

TEST(PictureFormat, GoesByTheNameWhereThereIsNoMark) {
    EXPECT_EQ(FormatOf(std::string("\0\0\x02\0", 4), "a.TGA"), "TGA");
    EXPECT_EQ(FormatOf(std::string("\0\0\x02\0", 4), "a.bin"), "");
}

TEST(PictureFormat, KnowsNoFormatThatReadsOtherFiles) {
    EXPECT_EQ(FormatOf("push graphic-context\nimage over 0,0 0,0 '/etc/passwd'\n", "a.mvg"), "");
    EXPECT_EQ(FormatOf("<?xml version=\"1.0\"?><svg/>", "a.svg"), "");
    EXPECT_EQ(FormatOf("<?xml version=\"1.0\"?><image/>", "msl:a.msl"), "");
    EXPECT_EQ(FormatOf("%!PS-Adobe-3.0\n", "a.ps"), "");
    EXPECT_EQ(FormatOf("hello", "a.txt"), "");
    EXPECT_EQ(FormatOf("", "a.png"), "");
    EXPECT_EQ(FormatOf("R", "a.png"), "");
}

} // namespace
} // namespace kowen::cli
