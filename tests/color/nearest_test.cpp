#include "color/nearest.h"

#include <gtest/gtest.h>

namespace kowen {
namespace {

constexpr uint8_t kReds[] = {255, 0, 0, 90, 90, 90, 100, 100, 100};

TEST(RlNearestRGBIndex, AGreyRequestFindsTheNearestGrey) {
    EXPECT_EQ(rlNearestRGBIndex(100, 102, 98, kReds, 3), 2);
}

TEST(RlNearestRGBIndex, AColourNeverBecomesANearerGrey) {
    EXPECT_EQ(rlNearestRGBIndex(100, 120, 100, kReds, 3), 0);
}

TEST(RlNearestRGBIndex, AGreyNeverBecomesANearerTint) {
    constexpr uint8_t table[] = {0, 0, 0, 101, 100, 100};
    EXPECT_EQ(rlNearestRGBIndex(100, 100, 100, table, 2), 0);
    EXPECT_EQ(rlNearestRGBIndex(101, 100, 100, table, 2), 0); // not even itself
}

TEST(RlNearestRGBIndex, RequestsAreGreyUpToADifferenceOfFour) {
    constexpr uint8_t table[] = {9, 0, 0, 50, 50, 50};
    EXPECT_EQ(rlNearestRGBIndex(50, 54, 50, table, 2), 1);
    EXPECT_EQ(rlNearestRGBIndex(50, 55, 50, table, 2), 0);
    EXPECT_EQ(rlNearestRGBIndex(50, 50, 45, table, 2), 0);
    EXPECT_EQ(rlNearestRGBIndex(48, 50, 53, table, 2), 0); // red and blue differ by five
}

TEST(RlNearestRGBIndex, TheLowestOfEquallyNearWins) {
    constexpr uint8_t table[] = {0, 9, 0, 20, 0, 0, 40, 0, 0, 20, 0, 0};
    EXPECT_EQ(rlNearestRGBIndex(30, 0, 0, table, 4), 1);
    EXPECT_EQ(rlNearestRGBIndex(20, 0, 0, table, 4), 1);
}

TEST(RlNearestRGBIndex, ZeroWhenNoEntryQualifies) {
    constexpr uint8_t greys[] = {0, 0, 0, 200, 200, 200};
    constexpr uint8_t colours[] = {255, 0, 0, 0, 255, 0};
    EXPECT_EQ(rlNearestRGBIndex(200, 250, 200, greys, 2), 0);
    EXPECT_EQ(rlNearestRGBIndex(10, 10, 10, colours, 2), 0);
    EXPECT_EQ(rlNearestRGBIndex(0, 255, 0, colours, 0), 0);
    EXPECT_EQ(rlNearestRGBIndex(0, 255, 0, nullptr, 0), 0);
}

TEST(RlNearestRGBIndex, SumsAllThreeSquares) {
    // From (100, 50, 0): 10 x 10 x 3 = 300, 17 x 17 = 289, 18 x 18 = 324.
    constexpr uint8_t table[] = {110, 60, 10, 100, 67, 0, 100, 50, 18};
    EXPECT_EQ(rlNearestRGBIndex(100, 50, 0, table, 3), 1);
}

TEST(RlNearestRGBIndex, DistancesFrom31BitsOnAreTooFar) {
    // 46595 - 255 = 46340 and its square 2147395600 is below 2^31 - 1; one more is not.
    constexpr uint8_t table[] = {7, 7, 7, 255, 0, 0};
    EXPECT_EQ(rlNearestRGBIndex(46595, 0, 0, table, 2), 1);
    EXPECT_EQ(rlNearestRGBIndex(46596, 0, 0, table, 2), 0);
    EXPECT_EQ(rlNearestRGBIndex(INT32_MAX, INT32_MIN, 0, table, 1), 0);
}

} // namespace
} // namespace kowen
