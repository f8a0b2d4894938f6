#include "picture/colour_mode.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

namespace kowen::host {
namespace {

using Colour = std::array<uint8_t, 3>;

Colour Changed(int mode, Colour colour) {
    ApplyColourMode(mode, colour.data(), 1);
    return colour;
}

TEST(ApplyColourMode, GivesTheColoursOfEachMode) {
    EXPECT_EQ(Changed(103, {1, 2, 3}), (Colour{1, 2, 3}));
    EXPECT_EQ(Changed(104, {1, 2, 250}), (Colour{254, 253, 5}));
    EXPECT_EQ(Changed(105, {100, 105, 110}), (Colour{155, 150, 145}));
    EXPECT_EQ(Changed(105, {100, 111, 100}), (Colour{100, 111, 100}));
    EXPECT_EQ(Changed(106, {255, 0, 0}), (Colour{76, 76, 76}));
    EXPECT_EQ(Changed(107, {255, 0, 0}), (Colour{179, 179, 179}));
    EXPECT_EQ(Changed(999, {1, 2, 3}), (Colour{1, 2, 3}));
}

TEST(ApplyColourMode, ChangesEachColour) {
    uint8_t pixels[] = {0, 0, 0, 255, 255, 255};
    ApplyColourMode(104, pixels, 2);
    const uint8_t expected[] = {255, 255, 255, 0, 0, 0};
    EXPECT_TRUE(std::equal(pixels, pixels + 6, expected));
}

} // namespace
} // namespace kowen::host
