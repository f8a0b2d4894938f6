#include "color/layout32.h"

#include "color/bitmaps.h"

namespace kowen {
namespace {

TEST(RlCMYKtoRGB, TakesTheDarkerOfInkAndBlack) {
    const Block bits(Bytes{0, 0, 0, 0, 10, 200, 30, 50, 1, 2, 3, 255});
    rlCMYKtoRGB(bits, 3, 1);
    EXPECT_EQ(Contents(bits), Bytes({255, 255, 255, 205, 55, 205, 0, 0, 0, 2, 3, 255}));
}

TEST(RlCMYKtoRGB, RowsAreNotPadded) {
    const Block bits(Bytes{255, 254, 253, 0, 252, 251, 250, 0});
    rlCMYKtoRGB(bits, 1, 2);
    EXPECT_EQ(Contents(bits), Bytes({0, 1, 2, 3, 4, 5, 250, 0}));
}

TEST(RlALPHAtoRGB, DropsTheFourthByte) {
    const Block bits(Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
    rlALPHAtoRGB(bits, 1, 3);
    EXPECT_EQ(Contents(bits), Bytes({1, 2, 3, 5, 6, 7, 9, 10, 11, 10, 11, 12}));
}

TEST(RlRGB4toCMYK, InvertsAndClearsTheFourthByte) {
    const Block bits(Bytes{0, 1, 2, 3, 255, 254, 253, 252, 10, 20, 30, 40, 50, 60, 70, 80});
    rlRGB4toCMYK(bits, 2, 2);
    EXPECT_EQ(Contents(bits),
              Bytes({255, 254, 253, 0, 0, 1, 2, 0, 245, 235, 225, 0, 205, 195, 185, 0}));
}

const Bytes kOnePixelAndThreeBytes = {1, 2, 3, 4, 5, 6, 7};

TEST(RlRGB4toCMYK, PixelsBeyondTheBlockAreLeftOut) {
    const Block bits(kOnePixelAndThreeBytes);
    rlRGB4toCMYK(bits, 1000, 1000);
    EXPECT_EQ(Contents(bits), Bytes({254, 253, 252, 0, 5, 6, 7}));
}

TEST(RlCMYKtoRGB, PixelsBeyondTheBlockAreLeftOut) {
    const Block bits(kOnePixelAndThreeBytes);
    rlCMYKtoRGB(bits, 1000, 1000);
    EXPECT_EQ(Contents(bits), Bytes({251, 251, 251, 4, 5, 6, 7}));
}

TEST(RlALPHAtoRGB, PixelsBeyondTheBlockAreLeftOut) {
    const Block bits(Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11});
    rlALPHAtoRGB(bits, 0xFFFFFFFF, 0xFFFFFFFF);
    EXPECT_EQ(Contents(bits), Bytes({1, 2, 3, 5, 6, 7, 7, 8, 9, 10, 11}));
}

TEST(RlRGB4toCMYK, NothingHappensWithoutPixels) {
    rlRGB4toCMYK(0, 2, 2);
    rlCMYKtoRGB(0, 2, 2);
    rlALPHAtoRGB(0, 2, 2);
    const Block bits(Bytes{1, 2, 3, 4});
    rlRGB4toCMYK(bits, 0, 5);
    rlCMYKtoRGB(bits, 5, 0);
    EXPECT_EQ(Contents(bits), Bytes({1, 2, 3, 4}));
}

} // namespace
} // namespace kowen
