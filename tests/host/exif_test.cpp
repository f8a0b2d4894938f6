#include "stream/exif.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace kowen::host {
namespace {

using Bytes = std::vector<uint8_t>;

// Orientation 6 and a directory of the size 640 x 480, then a second directory with a thumbnail of
// four bytes at the end.
const Bytes kLittle = {
    'I',  'I',  42,   0,   8, 0, 0, 0,                // 0: the first directory is at 8
    2,    0,                                          // 8: two entries
    0x12, 0x01, 3,    0,   1, 0, 0, 0, 6,    0, 0, 0, // 10: orientation, SHORT
    0x69, 0x87, 4,    0,   1, 0, 0, 0, 38,   0, 0, 0, // 22: the EXIF directory is at 38
    68,   0,    0,    0,                              // 34: the next directory is at 68
    2,    0,                                          // 38: two entries
    0x02, 0xA0, 4,    0,   1, 0, 0, 0, 0x80, 2, 0, 0, // 40: width 640, LONG
    0x03, 0xA0, 3,    0,   1, 0, 0, 0, 0xE0, 1, 0, 0, // 52: height 480, SHORT
    0,    0,    0,    0,                              // 64: no next
    2,    0,                                          // 68: two entries
    0x01, 0x02, 4,    0,   1, 0, 0, 0, 98,   0, 0, 0, // 70: the thumbnail is at 98
    0x02, 0x02, 4,    0,   1, 0, 0, 0, 4,    0, 0, 0, // 82: and has 4 bytes
    0,    0,    0,    0,                              // 94: no next
    0xFF, 0xD8, 0xFF, 0xD9};                          // 98

const Bytes kBig = {'M', 'M', 0, 42, 0, 0, 0, 8, 0, 1, 0x01, 0x12, 0,
                    3,   0,   0, 0,  1, 0, 8, 0, 0, 0, 0,    0,    0};

TEST(FitExif, SaysUprightAndTheJpegsSize) {
    Bytes expected = kLittle;
    expected[18] = 1;
    expected[48] = 100;
    expected[49] = 0;
    expected[60] = 0x2C; // 300
    expected[61] = 1;
    EXPECT_EQ(FitExif(kLittle, {100, 300, true}), expected);
}

// 180 x 90 dots per centimetre, big end first.
const Bytes kResolved = {'M',  'M',  0, 42,  0, 0, 0, 8, // 0: the first directory is at 8
                         0,    3,                        // 8: three entries
                         0x01, 0x1A, 0, 5,   0, 0, 0, 1, 0, 0, 0, 50, // 10: across, RATIONAL at 50
                         0x01, 0x1B, 0, 5,   0, 0, 0, 1, 0, 0, 0, 58, // 22: down, RATIONAL at 58
                         0x01, 0x28, 0, 3,   0, 0, 0, 1, 0, 3, 0, 0,  // 34: centimetres
                         0,    0,    0, 0,                            // 46: no next
                         0,    0,    0, 180, 0, 0, 0, 1,              // 50
                         0,    0,    0, 180, 0, 0, 0, 2};             // 58

TEST(FitExif, SaysTheJpegsResolution) {
    Bytes expected = kResolved;
    expected[43] = 2; // inches
    expected[52] = 1; // 300
    expected[53] = 0x2C;
    expected[61] = 144;
    expected[65] = 1;
    EXPECT_EQ(FitExif(kResolved, {1, 1, true, 300, 144}), expected);
    EXPECT_EQ(FitExif(kResolved, {1, 1, true, 0, 0}), kResolved);
}

// Width 640 as a LONG, big end first.
const Bytes kSized = {'M',  'M',  0, 42, 0, 0, 0, 8,              // 0: the first directory is at 8
                      0,    1,                                    // 8: one entry
                      0x87, 0x69, 0, 4,  0, 0, 0, 1, 0, 0, 0, 26, // 10: the EXIF directory is at 26
                      0,    0,    0, 0,                           // 22: no next
                      0,    1,                                    // 26: one entry
                      0xA0, 0x02, 0, 4,  0, 0, 0, 1, 0, 0, 2, 0x80, // 28: width
                      0,    0,    0, 0};                            // 40: no next

TEST(FitExif, SaysTheJpegsSizeWithTheBigEndFirst) {
    Bytes expected = kSized;
    expected[38] = 1;
    expected[39] = 0x2C; // 300
    EXPECT_EQ(FitExif(kSized, {300, 200, true}), expected);
}

TEST(FitExif, LeavesAFractionThatIsNoneOfItsOwn) {
    Bytes shared = kResolved; // both lie at 50
    shared[33] = 50;
    EXPECT_EQ(FitExif(shared, {1, 1, true, 300, 144}), shared);
    Bytes expected = shared;
    expected[43] = 2;
    expected[53] = 96;
    EXPECT_EQ(FitExif(shared, {1, 1, true, 96, 96}), expected);
    for (const uint8_t at : {uint8_t{8}, uint8_t{44}, uint8_t{59}, uint8_t{255}}) {
        Bytes wrong = kResolved; // in the directory, or past the end
        wrong[33] = at;
        EXPECT_EQ(FitExif(wrong, {1, 1, true, 300, 300}), wrong) << int{at};
    }
}

TEST(FitExif, DropsAThumbnailWithItsBytes) {
    Bytes expected(kLittle.begin(), kLittle.begin() + 68);
    expected[18] = 1;
    expected[34] = 0;
    EXPECT_EQ(FitExif(kLittle, {640, 480, false}), expected);
}

TEST(FitExif, KeepsDataInFrontOfTheThumbnailsDirectory) {
    Bytes longer = kLittle; // as of a tag that only its maker knows
    longer.insert(longer.begin() + 68, {9, 8, 7, 6});
    longer[34] = 72;
    longer[82] = 102;
    Bytes expected(longer.begin(), longer.begin() + 72);
    expected[18] = 1;
    expected[34] = 0;
    EXPECT_EQ(FitExif(longer, {640, 480, false}), expected);
}

TEST(FitExif, BlanksAThumbnailThatOtherDataFollows) {
    Bytes longer = kLittle;
    longer.insert(longer.end(), {1, 2, 3, 4, 5});
    const Bytes fitted = FitExif(longer, {640, 480, false});
    ASSERT_EQ(fitted.size(), longer.size());
    EXPECT_EQ(fitted[34], 0);
    EXPECT_EQ(Bytes(fitted.begin() + 98, fitted.end()), (Bytes{0, 0, 0, 0, 1, 2, 3, 4, 5}));
}

// The second directory is at 8 and its thumbnail at 38, in front of the first directory at 42.
const Bytes kThumbnailFirst = {
    'I',  'I',  42,   0,    42, 0, 0, 0,              // 0: the first directory is at 42
    2,    0,                                          // 8: two entries
    0x01, 0x02, 4,    0,    1,  0, 0, 0, 38, 0, 0, 0, // 10: the thumbnail is at 38
    0x02, 0x02, 4,    0,    1,  0, 0, 0, 4,  0, 0, 0, // 22: and has 4 bytes
    0,    0,    0,    0,                              // 34: no next
    0xFF, 0xD8, 0xFF, 0xD9,                           // 38
    1,    0,                                          // 42: one entry
    0x12, 0x01, 3,    0,    1,  0, 0, 0, 6,  0, 0, 0, // 44: orientation
    8,    0,    0,    0};                             // 56: the next directory is at 8

TEST(FitExif, BlanksAThumbnailInFrontOfTheDirectory) {
    Bytes expected = kThumbnailFirst;
    std::fill_n(expected.begin() + 38, 4, uint8_t{0});
    expected[52] = 1;
    expected[56] = 0;
    EXPECT_EQ(FitExif(kThumbnailFirst, {640, 480, false}), expected);
}

TEST(FitExif, LeavesOtherDataWhereAThumbnailSaysItIs) {
    Bytes overlapping = kThumbnailFirst;
    overlapping[30] = 5; // one byte of the first directory
    Bytes expected = overlapping;
    expected[52] = 1;
    expected[56] = 0;
    EXPECT_EQ(FitExif(overlapping, {640, 480, false}), expected);
}

TEST(FitExif, ReadsBothByteOrders) {
    Bytes expected = kBig;
    expected[19] = 1;
    EXPECT_EQ(FitExif(kBig, {1, 1, true}), expected);
}

TEST(FitExif, TakesTheIdentifierOff) {
    Bytes prefixed = {'E', 'x', 'i', 'f', 0, 0};
    prefixed.insert(prefixed.end(), kBig.begin(), kBig.end());
    EXPECT_EQ(FitExif(prefixed, {1, 1, true}).size(), kBig.size());
}

TEST(FitExif, GivesNothingForDamagedData) {
    EXPECT_TRUE(FitExif({}, {}).empty());
    EXPECT_TRUE(FitExif(Bytes{'I', 'I', 42, 0}, {}).empty());
    EXPECT_TRUE(FitExif(Bytes(20, 0), {}).empty());
    Bytes wild = kBig;
    wild[4] = 0xFF; // the first directory lies far outside
    EXPECT_TRUE(FitExif(wild, {}).empty());
}

// Memory checkers watch over these; what comes out is never longer than what went in.
TEST(FitExif, StaysInsideOfWhatItIsGiven) {
    for (size_t size = 0; size < kLittle.size(); ++size) {
        const Bytes cut(kLittle.begin(), kLittle.begin() + ptrdiff_t(size));
        EXPECT_LE(FitExif(cut, {1, 1, false}).size(), size);
        SizeInExif(cut);
    }
    for (size_t at = 0; at < kLittle.size(); ++at) {
        for (const uint8_t value : {0x00, 0x01, 0x7F, 0x80, 0xFF}) {
            Bytes changed = kLittle;
            changed[at] = value;
            EXPECT_LE(FitExif(changed, {1, 1, false}).size(), changed.size());
            EXPECT_LE(FitExif(changed, {1, 1, true}).size(), changed.size());
        }
    }
}

TEST(SizeInExif, NamesThePicturesSize) {
    EXPECT_EQ(SizeInExif(kLittle).width, 640U);
    EXPECT_EQ(SizeInExif(kLittle).height, 480U);
    EXPECT_EQ(SizeInExif(kBig).width, 0U);
}

} // namespace
} // namespace kowen::host
