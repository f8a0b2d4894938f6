#include "color/flip.h"

#include "color/bitmaps.h"
#include "color/pixel.h"
#include "reference/color/resample.h"

namespace kowen {
namespace {

Bytes Flipped(const Bytes &bitmap, uint16_t depth, uint32_t width, uint32_t height,
              int32_t horizontal, int32_t vertical) {
    const Block bits(bitmap);
    EXPECT_EQ(rlFlipBitmap(bits, depth, width, height, horizontal, vertical), MemoryHandle{bits});
    return Contents(bits);
}

TEST(RlFlipBitmap, ExchangesTopAndBottom) {
    const Bytes rows = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    EXPECT_EQ(Flipped(rows, 8, 3, 3, 0, 1), Bytes({9, 10, 11, 12, 5, 6, 7, 8, 1, 2, 3, 4}));
    EXPECT_EQ(Flipped({1, 2, 3, 4, 5, 6, 7, 8}, 8, 4, 2, 0, -1), Bytes({5, 6, 7, 8, 1, 2, 3, 4}));
}

TEST(RlFlipBitmap, DoesNothingWithoutFlags) {
    const Bytes rows = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(Flipped(rows, 8, 4, 2, 0, 0), rows);
}

TEST(RlFlipBitmap, TheFirstPixelTradesWithTheOnePastTheEnd) {
    // Five pixels and three bytes of padding a row: 0 and 5, 1 and 4. Pixels 2 and 3 are beyond
    // half the width.
    EXPECT_EQ(Flipped({1, 2, 3, 4, 5, 90, 91, 92, 11, 12, 13, 14, 15, 93, 94, 95}, 8, 5, 2, 1, 0),
              Bytes({90, 5, 3, 4, 2, 1, 91, 92, 93, 15, 13, 14, 12, 11, 94, 95}));
}

TEST(RlFlipBitmap, WithoutPaddingItTradesWithTheNextRow) {
    // Row 0: pixel 0 and the 5 below, 2 and 4. Row 1: its pixel past the end lies outside the
    // block, so only 6 and 8 trade.
    EXPECT_EQ(Flipped({1, 2, 3, 4, 5, 6, 7, 8}, 8, 4, 2, 1, 0), Bytes({5, 4, 3, 2, 1, 8, 7, 6}));
}

TEST(RlFlipBitmap, TheMiddleRowIsMirroredTwice) {
    EXPECT_EQ(Flipped({1, 2, 3, 4, 5, 90, 91, 92}, 8, 5, 1, 1, 0),
              Bytes({1, 2, 3, 4, 5, 90, 91, 92}));
}

TEST(RlFlipBitmap, AnExchangeThatReachesPastTheBlockIsLeftOut) {
    // 24 bits, four pixels, two rows of 12 bytes: pixel 4 of the last row is outside.
    const Bytes rows = {1,  1,  1,  2,  2,  2,  3,  3,  3,  4,  4,  4,
                        11, 11, 11, 12, 12, 12, 13, 13, 13, 14, 14, 14};
    EXPECT_EQ(Flipped(rows, 24, 4, 2, 1, 0), Bytes({11, 11, 11, 4,  4,  4,  3,  3,  3,  2,  2, 2, 1,
                                                    1,  1,  14, 14, 14, 13, 13, 13, 12, 12, 12}));
    // One byte more of the block does not hold the pixel either; three do.
    Bytes longer = rows;
    longer.push_back(99);
    EXPECT_EQ(Flipped(longer, 24, 4, 2, 1, 0)[12], 1);
    longer.insert(longer.end(), {98, 97});
    EXPECT_EQ(Flipped(longer, 24, 4, 2, 1, 0)[12], 99);
}

TEST(RlFlipBitmap, BothFlagsMirrorTheExchangedRows) {
    // Rows are exchanged, then pixel 0 trades with the byte past pixel 2.
    EXPECT_EQ(Flipped({1, 2, 3, 90, 4, 5, 6, 91}, 8, 3, 2, 1, 1),
              Bytes({91, 5, 6, 4, 90, 2, 3, 1}));
}

TEST(RlFlipBitmap, ExchangesTheBitsThatTheReferenceExchanges) {
    Random random(4);
    for (uint16_t depth : {0, 1, 2, 3, 4, 8, 16, 24, 32}) {
        for (int round = 0; round < 60; ++round) {
            const uint32_t width = random.Below(40);
            const uint32_t height = random.Below(9);
            Bytes expected = RandomBitmap(random, width, height, depth);
            const Bytes bitmap = expected;
            const bool horizontal = round % 3 != 0, vertical = round % 3 != 1;
            reference::Flip(expected, depth, width, height, horizontal, vertical);
            EXPECT_EQ(Flipped(bitmap, depth, width, height, horizontal, vertical), expected)
                << depth << ": " << width << " x " << height;
        }
    }
}

TEST(RlFlipBitmap, ABlockThatIsTooSmallIsNotTouched) {
    const Block bits(Bytes{1, 2, 3, 4, 5, 6, 7});
    EXPECT_EQ(rlFlipBitmap(bits, 8, 4, 2, 1, 1), 0u);
    EXPECT_EQ(rlFlipBitmap(bits, 24, 0xFFFFFFFF, 0xFFFFFFFF, 1, 1), 0u);
    EXPECT_EQ(rlFlipBitmap(0, 8, 4, 2, 1, 1), 0u);
    EXPECT_EQ(Contents(bits), Bytes({1, 2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(rlFlipBitmap(bits, 8, 0, 9, 1, 1), MemoryHandle{bits});
}

TEST(RlFlipBitmap, TracesEveryPixelWritten) {
    testing::internal::CaptureStderr();
    _debug_color_res = 4;
    Flipped({1, 2, 3, 4, 5, 6, 7, 8}, 8, 4, 2, 1, 0);
    _debug_color_res = 0;
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "(0,0): (4,0): (1,0): (3,0): (1,1): (3,1): ");
}

} // namespace
} // namespace kowen
