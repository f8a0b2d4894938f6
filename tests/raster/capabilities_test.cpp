#include "raster/capabilities.h"

#include <gtest/gtest.h>

#include <vector>

namespace kowen {
namespace {

constexpr int32_t kUntouched = 0x55555555;

TEST(FillCapabilities, WritesEveryWordItOwnsAndNoOther) {
    constexpr int32_t u = kUntouched;
    const std::vector<int32_t> expected = {
        100, -1, -1, -1, -1, 0,  u,  u,  u,  -1, // 0 to 9
        -1,  -1, -1, -1, -1, -1, -1, -1, -1, 0,  // 10 to 19
        0,   0,  0,  -1, -1, -1, -1, -1, -1, -1, // 20 to 29
        u,   0,  -1, -1, 0,  0,  -1, -1, 1,  1,  // 30 to 39
        0,   -1, u,  u,  0,  -1, u,  3,  u,  u,  // 40 to 49
        u,   u,  u,  u,  u,  0,  0,  -1, 0,  -1, // 50 to 59
        u,   u,  u,  u,
    };
    std::vector<int32_t> capabilities(64, u);
    FillCapabilities(capabilities.data(), 3);
    EXPECT_EQ(capabilities, expected);
}

TEST(FillCapabilities, NeedsSixtyWordsAtMost) {
    std::vector<int32_t> capabilities(60);
    FillCapabilities(capabilities.data(), 0);
    EXPECT_EQ(capabilities[59], -1);
    EXPECT_EQ(capabilities[47], 0);
}

} // namespace
} // namespace kowen
