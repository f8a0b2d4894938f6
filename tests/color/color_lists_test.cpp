#include "color/color_lists.h"

#include "color/bitmaps.h"

#include <vector>

namespace kowen {
namespace {

using Candidates = std::vector<NearestCandidate>;

std::vector<int> Chosen(const ColorCube &cube, const Candidates &colors) {
    Candidates list = {{static_cast<uint16_t>(colors.size()), {}}};
    list.insert(list.end(), colors.begin(), colors.end());
    Candidates out(list.size());
    ChooseCandidates(cube, list.data(), out.data());
    std::vector<int> indices;
    for (uint32_t i = 1; i <= out[0].index; ++i)
        indices.push_back(out[i].index);
    return indices;
}

TEST(CubeOf, IsTheBoxOfTheUpperBits) {
    constexpr uint8_t color[] = {100, 50, 200};
    const ColorCube cube = CubeOf(color, 3);
    EXPECT_EQ(cube.low[0], 96);
    EXPECT_EQ(cube.high[0], 127);
    EXPECT_EQ(cube.low[1], 32);
    EXPECT_EQ(cube.high[1], 63);
    EXPECT_EQ(cube.low[2], 192);
    EXPECT_EQ(cube.high[2], 223);
    EXPECT_EQ(CubeNumber(color, 3), 3u << 6 | 1u << 3 | 6u);
}

TEST(HasGreys, TellsBoxesThatTouchTheGreyRequests) {
    EXPECT_TRUE(HasGreys({{0, 0, 0}, {7, 7, 7}}));
    EXPECT_TRUE(HasGreys({{0, 11, 0}, {7, 15, 7}})); // 7 and 11
    EXPECT_FALSE(HasGreys({{0, 12, 0}, {7, 15, 7}}));
    EXPECT_FALSE(HasGreys({{0, 0, 40}, {7, 7, 47}}));
}

TEST(ChooseCandidates, KeepsWhatIsNearestSomewhere) {
    // On the red axis the border between 10 and 30 is 20, between 30 and 90 it is 60.
    const Candidates colors = {{0, {10, 0, 1}}, {1, {30, 0, 1}}, {2, {90, 0, 1}}};
    EXPECT_EQ(Chosen({{0, 0, 0}, {15, 15, 15}}, colors), std::vector<int>({0}));
    EXPECT_EQ(Chosen({{16, 0, 0}, {31, 15, 15}}, colors), std::vector<int>({0, 1}));
    EXPECT_EQ(Chosen({{32, 0, 0}, {47, 15, 15}}, colors), std::vector<int>({1}));
    EXPECT_EQ(Chosen({{48, 0, 0}, {63, 15, 15}}, colors), std::vector<int>({1, 2}));
}

TEST(ChooseCandidates, KeepsTheLowerOfEquallyNearOnTheBorder) {
    // All of the box but its left face, which is as near to both, is nearer to entry 1.
    const Candidates colors = {{0, {10, 0, 1}}, {1, {30, 0, 1}}};
    EXPECT_EQ(Chosen({{20, 0, 0}, {27, 7, 7}}, colors), std::vector<int>({0, 1}));
    EXPECT_EQ(Chosen({{21, 0, 0}, {28, 7, 7}}, colors), std::vector<int>({1}));
    // Here the right face is, and the lower one wins there anyway.
    EXPECT_EQ(Chosen({{13, 0, 0}, {20, 7, 7}}, colors), std::vector<int>({0}));
}

TEST(ChooseCandidates, AnEmptyListStaysEmpty) {
    EXPECT_EQ(Chosen({{0, 0, 0}, {7, 7, 7}}, {}), std::vector<int>());
}

TEST(NearestOfList, TakesTheFirstOfEquallyNear) {
    const Candidates list = {{2, {}}, {4, {10, 0, 0}}, {8, {30, 0, 0}}};
    EXPECT_EQ(NearestOfList(list.data(), 20, 0, 0), 4u);
    EXPECT_EQ(NearestOfList(list.data(), 21, 0, 0), 8u);
    const Candidates none = {{0, {}}};
    EXPECT_EQ(NearestOfList(none.data(), 20, 0, 0), 0u);
}

} // namespace
} // namespace kowen
