#include "color/kernels.h"

#include "color/bitmaps.h"
#include "color/each_form.h"

#include <algorithm>

namespace kowen {
namespace {

TEST(AvailableColorKernels, BeginWithThePlainFormAndHoldTheActiveOne) {
    const ColorKernels *const *form = AvailableColorKernels();
    EXPECT_EQ(*form, &kPlainColorKernels);
    while (*form != nullptr && *form != &ActiveColorKernels())
        ++form;
    EXPECT_EQ(*form, &ActiveColorKernels());
}

TEST(CountColors, EveryFormCountsTheUpperFiveBitsOfEachChannel) {
    Random random(61);
    for (uint32_t width = 0; width <= 70; ++width) {
        const Bytes row = RandomBytes(random, size_t{width} * 3);
        std::vector<uint32_t> expected(32768);
        for (size_t i = 0; i < row.size(); i += 3)
            ++expected[(row[i] >> 3) * 1024 + (row[i + 1] >> 3) * 32 + (row[i + 2] >> 3)];
        WithEachColorForm([&] {
            std::vector<uint32_t> counts(32768), others(32768);
            ActiveColorKernels().countColors(row.data(), width, counts.data(), others.data());
            std::transform(counts.begin(), counts.end(), others.begin(), counts.begin(),
                           [](uint32_t a, uint32_t b) { return a + b; });
            ASSERT_TRUE(counts == expected) << width;
        });
    }
}

// (8, 4, 0) is nearest to entry 7, (9, 4, 0), at all of the cube but where red is at most 8: there
// entry 3, (7, 4, 0), is nearer or as near.
TEST(FillCube, TheLowestIndexWinsAmongEquallyNear) {
    const NearestCandidate list[] = {{2, {}}, {3, {7, 4, 0}}, {7, {9, 4, 0}}};
    const uint8_t low[] = {8, 4, 0};
    WithEachColorForm([&] {
        Bytes indices(kCubeColors);
        ActiveColorKernels().fillCube(list, low, indices.data());
        for (uint32_t i = 0; i < kCubeColors; ++i)
            ASSERT_EQ(indices[i], i % 4 == 0 ? 3 : 7) << i;
    });
}

TEST(FillCube, EveryFormGivesTheBytesOfThePlainForm) {
    Random random(62);
    for (int round = 0; round < 2000; ++round) {
        std::vector<NearestCandidate> list = {{static_cast<uint16_t>(random.Below(40)), {}}};
        for (uint16_t i = 0; i < list[0].index; ++i)
            list.push_back({static_cast<uint16_t>(i * 6 + random.Below(6)),
                            {random.Byte(), random.Byte(), random.Byte()}});
        const uint8_t low[] = {static_cast<uint8_t>(random.Byte() & ~3),
                               static_cast<uint8_t>(random.Byte() & ~3),
                               static_cast<uint8_t>(random.Byte() & ~3)};
        Bytes expected(kCubeColors);
        plain::FillCube(list.data(), low, expected.data());
        WithEachColorForm([&] {
            Bytes indices(kCubeColors + 1, 0xA5);
            ActiveColorKernels().fillCube(list.data(), low, indices.data());
            ASSERT_TRUE(std::equal(expected.begin(), expected.end(), indices.begin()));
            ASSERT_EQ(indices[kCubeColors], 0xA5);
        });
    }
}

} // namespace
} // namespace kowen
