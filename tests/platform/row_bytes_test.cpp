#include "platform/row_bytes.h"

#include <gtest/gtest.h>

namespace kowen {
namespace {

TEST(PaddedRowBytes, RoundsUpToFour) {
    EXPECT_EQ(PaddedRowBytes(0, 24), 0u);
    EXPECT_EQ(PaddedRowBytes(1, 1), 4u);
    EXPECT_EQ(PaddedRowBytes(32, 1), 4u);
    EXPECT_EQ(PaddedRowBytes(33, 1), 8u);
    EXPECT_EQ(PaddedRowBytes(3, 24), 12u);
    EXPECT_EQ(PaddedRowBytes(5, 24), 16u);
    EXPECT_EQ(PaddedRowBytes(0xFFFFFFFF, 0x80000000), 0x0FFFFFFFF0000000);
}

} // namespace
} // namespace kowen
