#include "jpeg/forward_dct.h"

#include "reference/jpeg/transform.h"
#include "support/bitmaps.h"

#include <algorithm>
#include <numbers>

#include <gtest/gtest.h>

namespace kowen {
namespace {

using reference::Block;

Block Transformed(Block block) {
    ForwardDCT(block.data());
    return block;
}

Block PlainlyTransformed(Block block) {
    reference::ForwardDct(block);
    return block;
}

Block FlatBlock(int sample) {
    Block block;
    block.fill(static_cast<int16_t>(sample));
    return block;
}

// cos(n pi / 16). By table: the emulators of old processors lack what some C libraries' cosines
// use.
double Cosine(int n) {
    constexpr double kQuarter[] = {1,
                                   0.98078528040323044,
                                   0.92387953251128676,
                                   0.83146961230254524,
                                   0.70710678118654752,
                                   0.55557023301960222,
                                   0.38268343236508977,
                                   0.19509032201612827,
                                   0};
    const int phase = n % 32;
    const int mirrored = phase <= 16 ? phase : 32 - phase;
    return mirrored <= 8 ? kQuarter[mirrored] : -kQuarter[16 - mirrored];
}

// T.81 A.3.3, in double precision.
double TrueCoefficient(const Block &samples, int v, int u) {
    double sum = 0;
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x)
            sum += samples[static_cast<size_t>(y * 8 + x)] * Cosine((2 * x + 1) * u) *
                   Cosine((2 * y + 1) * v);
    const double scaleU = u == 0 ? std::numbers::sqrt2 / 2 : 1.0;
    const double scaleV = v == 0 ? std::numbers::sqrt2 / 2 : 1.0;
    return sum * scaleU * scaleV / 4;
}

// The samples that drive coefficient (v, u) to its extreme.
Block Extreme(int v, int u, bool inverted) {
    Block block;
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) {
            const double basis = Cosine((2 * x + 1) * u) * Cosine((2 * y + 1) * v);
            block[static_cast<size_t>(y * 8 + x)] =
                static_cast<int16_t>((basis > 0) != inverted ? 127 : -128);
        }
    return block;
}

Block RandomBlock(TestRandom &random, int low, int high) {
    Block block;
    for (int16_t &sample : block)
        sample = static_cast<int16_t>(random.Between(low, high));
    return block;
}

TEST(ForwardDCT, FlatBlockHasOnlyADcOfEightTimesTheSample) {
    for (int sample = -128; sample <= 127; ++sample) {
        Block expected = {};
        expected[0] = static_cast<int16_t>(8 * sample);
        ASSERT_EQ(Transformed(FlatBlock(sample)), expected) << sample;
    }
    EXPECT_EQ(Transformed(FlatBlock(72))[0], 576);
}

// Each row 64, 48, 32, 16, 0, -16, -32, -48: by the formula, row 0 of the result is
// 64, 291.55, 0, 30.48, 0, 9.09, 0, 2.29 and the other rows are 0. The pass over the rows rounds
// to quarters: 30.48 becomes 30.50, and that 31.
TEST(ForwardDCT, RampHasOnlyItsRow) {
    Block block;
    for (size_t i = 0; i < 64; ++i)
        block[i] = static_cast<int16_t>(64 - 16 * static_cast<int>(i % 8));
    Block expected = {};
    expected[0] = 64;
    expected[1] = 292;
    expected[3] = 31;
    expected[5] = 9;
    expected[7] = 2;
    EXPECT_EQ(Transformed(block), expected);
}

// The same downwards, in the first column: the pass over the columns rounds once, 30.48 to 30.
TEST(ForwardDCT, RampDownwardsHasOnlyItsColumn) {
    Block block;
    for (size_t i = 0; i < 64; ++i)
        block[i] = static_cast<int16_t>(64 - 16 * static_cast<int>(i / 8));
    Block expected = {};
    expected[0] = 64;
    expected[1 * 8] = 292;
    expected[3 * 8] = 30;
    expected[5 * 8] = 9;
    expected[7 * 8] = 2;
    EXPECT_EQ(Transformed(block), expected);
}

TEST(ForwardDCT, IsWithinOneOfTheTrueTransform) {
    TestRandom random(7);
    for (int round = 0; round < 200; ++round) {
        const Block samples = RandomBlock(random, -128, 127);
        const Block block = Transformed(samples);
        for (int v = 0; v < 8; ++v)
            for (int u = 0; u < 8; ++u)
                ASSERT_NEAR(block[static_cast<size_t>(v * 8 + u)], TrueCoefficient(samples, v, u),
                            1.0);
    }
}

TEST(ForwardDCT, RandomBlocksEqualTheReference) {
    TestRandom random(1);
    for (int round = 0; round < 50000; ++round) {
        const int reach = 1 << (round % 8);
        const Block samples = RandomBlock(random, std::max(-128, -reach), std::min(127, reach));
        ASSERT_EQ(Transformed(samples), PlainlyTransformed(samples)) << round;
    }
}

TEST(ForwardDCT, ExtremeBlocksEqualTheReference) {
    for (int v = 0; v < 8; ++v)
        for (int u = 0; u < 8; ++u)
            for (const bool inverted : {false, true}) {
                const Block samples = Extreme(v, u, inverted);
                ASSERT_EQ(Transformed(samples), PlainlyTransformed(samples)) << v << ", " << u;
            }
    TestRandom random(3);
    for (int round = 0; round < 20000; ++round) {
        Block samples;
        for (int16_t &sample : samples)
            sample = static_cast<int16_t>(random.Next() % 2 == 0 ? -128 : 127);
        ASSERT_EQ(Transformed(samples), PlainlyTransformed(samples)) << round;
    }
}

TEST(ForwardDCT, SingleSamplesEqualTheReference) {
    for (size_t place = 0; place < 64; ++place)
        for (int sample = -128; sample <= 127; ++sample) {
            Block samples = {};
            samples[place] = static_cast<int16_t>(sample);
            ASSERT_EQ(Transformed(samples), PlainlyTransformed(samples)) << place << ": " << sample;
        }
}

TEST(ForwardDct, LeavesWhatLiesBehindTheBlock) {
    int16_t samples[64 + 8];
    for (int i = 0; i < 64 + 8; ++i)
        samples[i] = static_cast<int16_t>(i - 36);
    ForwardDCT(samples);
    for (int i = 64; i < 64 + 8; ++i)
        EXPECT_EQ(samples[i], i - 36) << i;
}

} // namespace
} // namespace kowen
