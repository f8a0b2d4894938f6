// What the readers say about a picture, where it takes bytes that no program writes by itself.
#include "byte_count.h"
#include "readers/exif.h"
#include "readers/pnm_source.h"
#include "readers/tiff_exif.h"
#include "tiff_file.h"

#include <gtest/gtest.h>

#include <string_view>

namespace kowen::cli {
namespace {

using Bytes = std::vector<uint8_t>;
using namespace kowen::test;
using namespace std::string_view_literals;

TEST(BytesOf, MultipliesAndRefusesWhatCannotBeAddressed) {
    EXPECT_EQ(BytesOf({40000, 300, 3}), 36000000u);
    EXPECT_EQ(BytesOf({PTRDIFF_MAX, 1}), static_cast<size_t>(PTRDIFF_MAX));
    EXPECT_EQ(BytesOf({0, UINT64_MAX}), 0u);
    EXPECT_THROW(BytesOf({PTRDIFF_MAX, 2}), std::bad_alloc);
    EXPECT_THROW(BytesOf({uint64_t{1} << 32, uint64_t{1} << 32}), std::bad_alloc);
}

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

// 118.11 dots per centimetre across, 100 / 2 down.
const Bytes kResolution = {'M',  'M',  0, 42, 0, 0,   0, 8, 0, 3, // the directory is at 8
                           0x01, 0x1A, 0, 5,  0, 0,   0, 1, 0, 0,   0,    50,   0x01, 0x1B,
                           0,    5,    0, 0,  0, 1,   0, 0, 0, 58,  0x01, 0x28, 0,    3,
                           0,    0,    0, 1,  0, 3,   0, 0, 0, 0,   0,    0,    0,    0,
                           0x2E, 0x23, 0, 0,  0, 100, 0, 0, 0, 100, 0,    0,    0,    2};

TEST(ExifResolution, IsInItsUnit) {
    EXPECT_NEAR(ExifResolution(kResolution).x, 300, 0.001);
    EXPECT_NEAR(ExifResolution(kResolution).y, 127, 0.001);
    Bytes inches = kResolution;
    inches[43] = 2;
    EXPECT_NEAR(ExifResolution(inches).y, 50, 0.001);
    inches[43] = 1; // none
    EXPECT_EQ(ExifResolution(inches).x, 0);
    inches[35] = 0x29; // another tag: inches
    EXPECT_NEAR(ExifResolution(inches).y, 50, 0.001);
}

TEST(ExifResolution, IsNoneOfDamagedData) {
    Bytes none = kResolution;
    none[65] = 0; // divided by nothing
    EXPECT_EQ(ExifResolution(none).x, 0);
    EXPECT_EQ(ExifResolution(none).y, 0);
    for (size_t size = 0; size < 65; ++size)
        EXPECT_EQ(ExifResolution({kResolution.data(), size}).y, 0) << size;
}

// Resolution unit and program; with an artist, all three are copied.
TEST(ExifOfTiff, IsNothingWhenNothingSpeaksOfThePicture) {
    const std::vector<TiffEntry> ofFile = {TiffShort(0x0128, 2), TiffText(0x0131, "Pen")};
    const auto exif = [](const std::vector<TiffEntry> &entries) {
        const std::string file = std::string("II*\0\x08\0\0\0", 8) + TiffDirectory(8, entries);
        return ExifOfTiff({reinterpret_cast<const uint8_t *>(file.data()), file.size()});
    };
    EXPECT_EQ(exif(ofFile), Bytes());
    std::vector<TiffEntry> entries = ofFile;
    entries.push_back(TiffText(0x013B, "Ann"));
    EXPECT_EQ(exif(entries), Bytes({'I',  'I',  42, 0, 8, 0, 0, 0, 3,   0,           //
                                    0x28, 0x01, 3,  0, 1, 0, 0, 0, 2,   0,   0,   0, // inches
                                    0x31, 0x01, 2,  0, 4, 0, 0, 0, 'P', 'e', 'n', 0, //
                                    0x3B, 0x01, 2,  0, 4, 0, 0, 0, 'A', 'n', 'n', 0, 0, 0, 0, 0}));
}

TEST(ExifOfTiff, CopiesWhatSpeaksOfThePicture) {
    const Bytes file = {'I',  'I',  42,   0,    10,  0, 0, 0, 'A', 'B', // 10: the first directory
                        4,    0,                                        // of four entries
                        0x00, 0x01, 3,    0,    1,   0, 0, 0, 16,  0,   0,   0, // the width is left
                        0x0F, 0x01, 2,    0,    6,   0, 0, 0, 86,  0,   0,   0, // maker
                        0x10, 0x01, 2,    0,    2,   0, 0, 0, 'M', 0,   0,   0, // model
                        0x69, 0x87, 4,    0,    1,   0, 0, 0, 68,  0,   0,   0, // EXIF at 68
                        0,    0,    0,    0,    0,   0, 0, 0, // no next, and a gap
                        1,    0,    0x27, 0x88, 3,   0, 1, 0, 0,   0,   200, 0,
                        0,    0,    0,    0,    0,   0, // 68: speed
                        'M',  'a',  'k',  'e',  'r', 0};
    const Bytes expected = {
        'I',  'I',  42,   0,    8,   0,   0,    0, //
        3,    0,                                   // 8: three entries
        0x0F, 0x01, 2,    0,    6,   0,   0,    0,    50,  0, 0,   0, 0x10, 0x01, 2,  0, 2, 0,
        0,    0,    'M',  0,    0,   0,   0x69, 0x87, 4,   0, 1,   0, 0,    0,    56, 0, 0, 0,
        0,    0,    0,    0,    'M', 'a', 'k',  'e',  'r', 0, // 46
        1,    0,    0x27, 0x88, 3,   0,   1,    0,    0,   0, 200, 0, 0,    0,    0,  0, 0, 0};
    EXPECT_EQ(ExifOfTiff(file), expected);
    for (size_t size = 0; size < file.size(); ++size)
        EXPECT_LE(ExifOfTiff({file.data(), size}).size(), expected.size()) << size;
}

TEST(ExifOfTiff, IsNothingWhereThereIsNothing) {
    EXPECT_TRUE(ExifOfTiff({}).empty());
    const Bytes width = {'M', 'M', 0, 42, 0, 0, 0, 8, 0, 1, 1, 0, 0,
                         3,   0,   0, 0,  1, 0, 9, 0, 0, 0, 0, 0, 0};
    EXPECT_TRUE(ExifOfTiff(width).empty());
}

TEST(OpenPnm, GivesACommentUpToItsFirstZero) {
    const std::string_view file = "P5\n# one\0two\n1 1\n255\nx"sv;
    const auto source =
        OpenPnm(std::make_unique<ByteInput>("a.pnm", Bytes(file.begin(), file.end())), {});
    EXPECT_EQ(source->Facts().comment, "one");
}

} // namespace
} // namespace kowen::cli
