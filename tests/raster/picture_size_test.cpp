#include "raster/picture_size.h"

#include "raster/device.h"

#include <cmath>

namespace kowen {
namespace {

using namespace test;

using WindowSize = RasterDeviceTest;

TEST_F(WindowSize, CountsBothEnds) {
    ASSERT_EQ(Initialise(), 0);
    EXPECT_EQ(WindowColumns(), 1u);
    EXPECT_EQ(WindowRows(), 1u);
    lpEMData->window = {0, 0, 0, 9, 4, 0};
    EXPECT_EQ(WindowColumns(), 10u);
    EXPECT_EQ(WindowRows(), 5u);
    lpEMData->window = {9, 4, 0, 0, 0, 0};
    EXPECT_EQ(WindowColumns(), 10u);
    EXPECT_EQ(WindowRows(), 5u);
}

TEST_F(WindowSize, TruncatesCornersTowardZero) {
    ASSERT_EQ(Initialise(), 0);
    lpEMData->window = {-0.9, 1.9, 0, 9.9, -1.9, 0};
    EXPECT_EQ(WindowColumns(), 10u); // 0 to 9
    EXPECT_EQ(WindowRows(), 3u);     // 1 to -1
}

TEST_F(WindowSize, SaturatesAtThirtyTwoBits) {
    ASSERT_EQ(Initialise(), 0);
    lpEMData->window = {-1e300, std::nan(""), 0, 1e300, 3, 0};
    EXPECT_EQ(WindowColumns(), uint64_t{1} << 32);
    EXPECT_EQ(WindowRows(), 4u);
}

TEST(DepthOfPrecision, NegativesAreAbsoluteAndOneIsOneBit) {
    const struct {
        int32_t precision;
        uint32_t depth;
    } cases[] = {{0, 0},
                 {1, 1},
                 {24, 24},
                 {-8, 8},
                 {-24, 24},
                 {-1, 1},
                 {-32768, 1},
                 {-32767, 32767},
                 {-32769, 32769},
                 {INT32_MAX, 0x7FFFFFFF},
                 {INT32_MIN, 0x80000000}};
    for (const auto &[precision, depth] : cases)
        EXPECT_EQ(DepthOfPrecision(precision), depth) << precision;
}

TEST(LayOutRows, GivesStrideAndSize) {
    RowLayout layout = {};
    ASSERT_TRUE(LayOutRows(5, 24, 10, &layout));
    EXPECT_EQ(layout.width, 5u);
    EXPECT_EQ(layout.stride, 16u);
    EXPECT_EQ(layout.bytes, 160u);
}

// 0x1FFFFFFF bytes and 7 bits is the longest row whose bits can be counted; 8 rows of it wrap.
TEST(LayOutRows, RefusesSizesThatWrap) {
    RowLayout layout = {};
    EXPECT_TRUE(LayOutRows(0xFFFFFFF8, 1, 7, &layout));
    EXPECT_EQ(layout.stride, 0x20000000u);
    EXPECT_FALSE(LayOutRows(0xFFFFFFF8, 1, 8, &layout));
    EXPECT_FALSE(LayOutRows(0xFFFFFFF9, 1, 1, &layout));
    EXPECT_FALSE(LayOutRows(uint64_t{1} << 32, 1, 0, &layout));
    EXPECT_FALSE(LayOutRows(0x10000000, 24, 1, &layout));
    EXPECT_TRUE(LayOutRows(1, 0x80000000, 15, &layout));
    EXPECT_FALSE(LayOutRows(1, 0x80000000, 16, &layout));
    EXPECT_TRUE(LayOutRows(0, 0x80000000, 0xFFFFFFFF, &layout));
    EXPECT_EQ(layout.bytes, 0u);
}

} // namespace
} // namespace kowen
