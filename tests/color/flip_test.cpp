#include "color/bitmaps.h"
#include "color/pixel.h"
#include "color/resample.h"
#include "reference/color/resample.h"

namespace kowen {
namespace {

TEST(RlFlipBitmap, GivesTheBytesOfThePlainForm) {
    Random random(4);
    for (uint16_t depth : {0, 1, 2, 3, 4, 8, 16, 24, 32}) {
        for (int round = 0; round < 60; ++round) {
            const uint32_t width = random.Below(40);
            const uint32_t height = random.Below(9);
            Bytes expected = RandomBitmap(random, width, height, depth);
            const Block bits(expected);
            const bool horizontal = round % 3 != 0, vertical = round % 3 != 1;
            reference::Flip(expected, depth, width, height, horizontal, vertical);
            EXPECT_EQ(rlFlipBitmap(bits, depth, width, height, horizontal, vertical),
                      MemoryHandle{bits});
            EXPECT_EQ(Contents(bits), expected) << depth << ": " << width << " x " << height;
        }
    }
}

} // namespace
} // namespace kowen
