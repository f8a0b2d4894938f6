// What the readers say about a picture, where it takes bytes that no program writes by itself.
#include "readers/exif.h"
#include "readers/pnm_source.h"

#include <gtest/gtest.h>

#include <string_view>

namespace kowen::cli {
namespace {

using Bytes = std::vector<uint8_t>;
using namespace std::string_view_literals;

// One entry, the orientation, in four bytes.
TEST(ExifOrientation, ReadsFourBytesAsWellAsTwo) {
    const Bytes big = {'M',  'M',  0, 42, 0, 0, 0, 8, 0, 1, // the directory is at 8
                       0x01, 0x12, 0, 4,  0, 0, 0, 1, 0, 0, 0, 6, 0, 0, 0, 0};
    const Bytes little = {'I', 'I', 42, 0, 8, 0, 0, 0, 1, 0, 0x12, 0x01, 4,
                          0,   1,   0,  0, 0, 8, 0, 0, 0, 0, 0,    0,    0};
    EXPECT_EQ(ExifOrientation(big), 6u);
    EXPECT_EQ(ExifOrientation(little), 8u);
}

TEST(ExifOrientation, IsUprightForFourBytesThatAreNone) {
    const Bytes big = {'M',  'M',  0, 42, 0, 0, 0, 8, 0, 1, // the upper half counts
                       0x01, 0x12, 0, 4,  0, 0, 0, 1, 0, 1, 0, 6, 0, 0, 0, 0};
    EXPECT_EQ(ExifOrientation(big), 1u);
}

TEST(OpenPnm, GivesACommentUpToItsFirstZero) {
    const std::string_view file = "P5\n# one\0two\n1 1\n255\nx"sv;
    const auto source =
        OpenPnm(std::make_unique<ByteInput>("a.pnm", Bytes(file.begin(), file.end())), {});
    EXPECT_EQ(source->Facts().comment, "one");
}

} // namespace
} // namespace kowen::cli
