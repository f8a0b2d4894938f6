#include "color/resample.h"

#include "color/bitmaps.h"
#include "color/pixel.h"
#include "reference/color/resample.h"
#include "support/failing_memory.h"

namespace kowen {
namespace {

constexpr uint16_t kDepths[] = {0, 1, 2, 3, 4, 5, 8, 16, 24, 32, 300};

TEST(RlShrinkBitmap, GivesTheBytesOfThePlainForm) {
    Random random(3);
    for (uint16_t depth : kDepths) {
        for (int round = 0; round < 60; ++round) {
            const uint32_t width = 1 + random.Below(70);
            const uint32_t height = 1 + random.Below(12);
            const uint32_t targetWidth = random.Below(round % 2 == 0 ? width + 1 : 150);
            const uint32_t targetHeight = random.Below(30);
            const Bytes bitmap = RandomBitmap(random, width, height, depth);
            const Bytes expected =
                reference::Resample(bitmap, depth, width, height, targetWidth, targetHeight);
            const Block bits(bitmap);
            const Block shrunk(
                rlShrinkBitmap(bits, depth, width, height, targetWidth, targetHeight));
            const Block stretched(
                rlStretchBitmap(bits, depth, width, height, targetWidth, targetHeight));
            EXPECT_EQ(Contents(shrunk), expected) << depth << ": " << width << " x " << height
                                                  << " to " << targetWidth << " x " << targetHeight;
            EXPECT_EQ(Contents(stretched), expected);
        }
    }
}

} // namespace
} // namespace kowen
