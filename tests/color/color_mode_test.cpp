#include "color/color_mode.h"

#include "color/bitmaps.h"

namespace kowen {
namespace {

Bytes Transformed(Bytes colours, int32_t mode) {
    rev_rgb(static_cast<int32_t>(colours.size() / 3), colours.data(), mode);
    return colours;
}

TEST(RevRgb, GreyScaleWeighsThreeSixAndOne) {
    EXPECT_EQ(Transformed({255, 0, 0, 0, 255, 0, 0, 0, 255}, kModeGreyScale), // 76.5, 153, 25.5
              Bytes({76, 76, 76, 153, 153, 153, 25, 25, 25}));
    EXPECT_EQ(Transformed({255, 255, 255, 0, 0, 0}, kModeGreyScale),
              Bytes({255, 255, 255, 0, 0, 0}));
}

TEST(RevRgb, InvertedGreyScaleIsTheRestTo255) {
    EXPECT_EQ(Transformed({255, 0, 0, 10, 20, 33}, kModeGreyScaleInverted), // 76 and 18
              Bytes({179, 179, 179, 237, 237, 237}));
}

TEST(RevRgb, InvertsEveryChannel) {
    EXPECT_EQ(Transformed({0, 255, 1, 128, 100, 3}, kModeInverted),
              Bytes({255, 0, 254, 127, 155, 252}));
}

TEST(RevRgb, InvertsGreysOnly) {
    EXPECT_EQ(Transformed({100, 105, 110, 100, 111, 100, 7, 7, 7}, kModeGreysInverted),
              Bytes({155, 150, 145, 100, 111, 100, 248, 248, 248}));
    // Neighbours within ten, but red and blue are not.
    EXPECT_EQ(Transformed({100, 106, 112}, kModeGreysInverted), Bytes({100, 106, 112}));
}

TEST(RevRgb, OtherModesLeaveTheColours) {
    const Bytes colours = {1, 2, 3, 200, 200, 200};
    for (int32_t mode : {0, 5, -1, 103, INT32_MIN, INT32_MAX})
        EXPECT_EQ(Transformed(colours, mode), colours) << mode;
}

TEST(RevRgb, TransformsNothingBelowOneColour) {
    Bytes colours = {1, 2, 3};
    rev_rgb(0, colours.data(), kModeInverted);
    rev_rgb(-5, colours.data(), kModeInverted);
    rev_rgb(0, nullptr, kModeGreyScale);
    EXPECT_EQ(colours, Bytes({1, 2, 3}));
}

} // namespace
} // namespace kowen
