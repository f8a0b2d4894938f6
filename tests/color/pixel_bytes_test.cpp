#include "color/pixel_bytes.h"

#include "color/bitmaps.h"

namespace kowen {
namespace {

Bytes Unpacked(uint16_t bits, const Bytes &row, uint32_t count) {
    Bytes values(count + 1, 99);
    UnpackPixels(bits, row.data(), count, values.data());
    EXPECT_EQ(values.back(), 99);
    values.pop_back();
    return values;
}

Bytes Packed(uint16_t bits, const Bytes &values, size_t bytes) {
    Bytes row(bytes, 0xEE);
    PackPixels(bits, values.data(), static_cast<uint32_t>(values.size()), row.data());
    return row;
}

TEST(UnpackPixels, TakesTheLeftPixelFromTheHighBits) {
    EXPECT_EQ(Unpacked(1, {0xA1, 0x80}, 9), Bytes({1, 0, 1, 0, 0, 0, 0, 1, 1}));
    EXPECT_EQ(Unpacked(1, {0x60}, 3), Bytes({0, 1, 1}));
    EXPECT_EQ(Unpacked(4, {0x1F, 0xA0}, 3), Bytes({1, 15, 10}));
    EXPECT_EQ(Unpacked(8, {7, 200}, 2), Bytes({7, 200}));
}

TEST(UnpackPixels, GivesZerosForDepthsThatAreNotRead) {
    EXPECT_EQ(Unpacked(2, {0xFF}, 3), Bytes({0, 0, 0}));
    EXPECT_EQ(Unpacked(16, {0xFF, 0xFF}, 1), Bytes({0}));
}

TEST(PackPixels, PutsTheLeftPixelIntoTheHighBits) {
    EXPECT_EQ(Packed(1, {1, 0, 1, 0, 0, 0, 0, 1, 1}, 3), Bytes({0xA1, 0x80, 0xEE}));
    EXPECT_EQ(Packed(1, {0, 3, 2}, 1), Bytes({0x40})); // only the lowest bits
    EXPECT_EQ(Packed(4, {1, 15, 10}, 3), Bytes({0x1F, 0xA0, 0xEE}));
    EXPECT_EQ(Packed(4, {0x21, 0x3F}, 1), Bytes({0x1F}));
    EXPECT_EQ(Packed(8, {7, 200}, 3), Bytes({7, 200, 0xEE}));
}

TEST(PackPixels, WritesNothingAtOtherDepths) {
    EXPECT_EQ(Packed(2, {3, 3}, 1), Bytes({0xEE}));
    EXPECT_EQ(Packed(24, {3, 3}, 1), Bytes({0xEE}));
}

} // namespace
} // namespace kowen
