#include "jpeg/quantize.h"

#include "jpeg/compress_env.h"
#include "jpeg/quant_tables.h"
#include "reference/jpeg/transform.h"

#include <algorithm>
#include <memory>

#include <gtest/gtest.h>

namespace kowen {
namespace {

constexpr int kMostQuantiser = 448; // base 121 at quality 0

std::unique_ptr<CompressEnv> WithQuantiser(int quantiser) {
    auto env = std::make_unique<CompressEnv>();
    for (auto &table : env->quantTable)
        std::fill(std::begin(table), std::end(table), static_cast<uint16_t>(quantiser));
    return env;
}

int16_t QuantiseOne(int16_t coefficient, int quantiser, int32_t number = 0) {
    int16_t block[kBlockSize] = {};
    block[kBlockSize - 1] = coefficient;
    EXPECT_EQ(QuantizeBlock(block, WithQuantiser(quantiser).get(), number), 0);
    EXPECT_EQ(block[0], 0);
    return block[kBlockSize - 1];
}

TEST(QuantizeBlock, HalvesRoundTowardMinusInfinity) {
    EXPECT_EQ(QuantiseOne(40, 16), 2);   // 2.5
    EXPECT_EQ(QuantiseOne(-40, 16), -3); // -2.5
    EXPECT_EQ(QuantiseOne(8, 16), 0);    // 0.5
    EXPECT_EQ(QuantiseOne(-8, 16), -1);  // -0.5
    EXPECT_EQ(QuantiseOne(1, 2), 0);
    EXPECT_EQ(QuantiseOne(-1, 2), -1);
}

TEST(QuantizeBlock, OtherValuesRoundToTheNearest) {
    EXPECT_EQ(QuantiseOne(576, 16), 36);
    EXPECT_EQ(QuantiseOne(41, 16), 3);   // 2.56
    EXPECT_EQ(QuantiseOne(39, 16), 2);   // 2.44
    EXPECT_EQ(QuantiseOne(-39, 16), -2); // -2.44
    EXPECT_EQ(QuantiseOne(-41, 16), -3); // -2.56
    EXPECT_EQ(QuantiseOne(-7, 1), -7);
    EXPECT_EQ(QuantiseOne(222, 444), 0);   // 0.5
    EXPECT_EQ(QuantiseOne(-222, 444), -1); // -0.5
}

TEST(QuantizeBlock, EachPlaceHasItsOwnQuantiserRowByRow) {
    CompressEnv env = {};
    for (int i = 0; i < kBlockSize; ++i) {
        env.quantTable[0][i] = static_cast<uint16_t>(i + 1);
        env.quantTable[1][i] = static_cast<uint16_t>(2 * i + 1);
    }
    int16_t luminance[kBlockSize];
    int16_t chrominance[kBlockSize];
    for (int i = 0; i < kBlockSize; ++i) {
        luminance[i] = static_cast<int16_t>(7 * (i + 1));
        chrominance[i] = static_cast<int16_t>(-5 * (2 * i + 1));
    }
    EXPECT_EQ(QuantizeBlock(luminance, &env, 0), 0);
    EXPECT_EQ(QuantizeBlock(chrominance, &env, 1), 0);
    for (int i = 0; i < kBlockSize; ++i) {
        EXPECT_EQ(luminance[i], 7) << i;
        EXPECT_EQ(chrominance[i], -5) << i;
    }
}

TEST(QuantizeBlock, EveryCoefficientByEveryQuantiserIsTheDoubleDivision) {
    for (int quantiser = 1; quantiser <= kMostQuantiser; ++quantiser) {
        const auto env = WithQuantiser(quantiser);
        for (int first = INT16_MIN; first <= INT16_MAX; first += kBlockSize) {
            int16_t block[kBlockSize];
            for (int i = 0; i < kBlockSize; ++i)
                block[i] = static_cast<int16_t>(first + i);
            QuantizeBlock(block, env.get(), quantiser % 2);
            for (int i = 0; i < kBlockSize; ++i)
                if (block[i] != reference::Quantised(first + i, quantiser))
                    FAIL() << first + i << " / " << quantiser << " became " << block[i];
        }
    }
}

constexpr int kDisagreement = 100000;

// What the kernels compute from the divisors, in 16-bit lanes: the high half of a product and the
// rounded high half of a doubled one, or the high half of a doubled one and a rounding shift; the
// scalar one has a product of 32 bits.
int QuotientFrom(const QuantDivisors &divisors, int place, int coefficient) {
    const auto scaled = static_cast<int16_t>(4 * coefficient - 1);
    const auto high = static_cast<int16_t>(scaled * divisors.reciprocal[place] >> 16);
    const int quotient = (high * divisors.scale[place] + (1 << 14)) >> 15;
    const auto doubled = static_cast<int16_t>(2 * scaled * divisors.reciprocal[place] >> 16);
    const int shift = -divisors.shift[place];
    const int shifted = (doubled + (1 << (shift - 1))) >> shift;
    const int atOnce = (scaled * divisors.reciprocal[place] + (1 << (14 + shift))) >> (15 + shift);
    return shifted == quotient && atOnce == quotient ? quotient : kDisagreement;
}

TEST(Divisors, EveryCoefficientByEveryQuantiserIsExact) {
    for (int first = 1; first <= kMostQuantiser; first += kBlockSize) {
        CompressEnv env = {};
        for (int i = 0; i < kBlockSize; ++i)
            env.quantTable[1][i] = static_cast<uint16_t>(first + i);
        const QuantDivisors &divisors = Divisors(&env, 1);
        for (int i = 0; i < kBlockSize; ++i)
            for (int c = -kMaxCoefficient; c <= kMaxCoefficient; ++c)
                if (QuotientFrom(divisors, i, c) != reference::Quantised(c, first + i))
                    FAIL() << c << " / " << first + i;
    }
}

TEST(Divisors, OfQuantisersBeyondAnySetupGiveZeros) {
    for (int first = 449; first <= 65535; first += first < 4096 ? kBlockSize : 977) {
        CompressEnv env = {};
        for (int i = 0; i < kBlockSize; ++i)
            env.quantTable[0][i] = static_cast<uint16_t>(std::min(first + i, 65535));
        const QuantDivisors &divisors = Divisors(&env, 0);
        for (int i = 0; i < kBlockSize; ++i)
            for (int c = -1024; c <= 1024; c += i == 0 || c < -1000 || c > 1000 ? 1 : 7)
                if (QuotientFrom(divisors, i, c) != reference::Quantised(c, env.quantTable[0][i]))
                    FAIL() << c << " / " << env.quantTable[0][i];
    }
    CompressEnv env = {};
    std::fill_n(env.quantTable[0], kBlockSize, uint16_t{65535});
    EXPECT_EQ(QuotientFrom(Divisors(&env, 0), 5, 1024), 0);
    EXPECT_EQ(QuotientFrom(Divisors(&env, 0), 5, -1024), 0);
}

TEST(Divisors, AreRebuiltWhenTheTableChanges) {
    CompressEnv env = {};
    SetQTable(&env, 75, 212);
    EXPECT_EQ(QuotientFrom(Divisors(&env, 0), 0, 160), 10); // 16
    SetQTable(&env, 100, 212);
    EXPECT_EQ(QuotientFrom(Divisors(&env, 0), 0, 160), 80); // 2
    EXPECT_EQ(QuotientFrom(Divisors(&env, 1), 0, 160), 80); // chrominance 17: 2
    env.quantTable[1][0] = 40;
    EXPECT_EQ(QuotientFrom(Divisors(&env, 1), 0, 160), 4);
    EXPECT_EQ(QuotientFrom(Divisors(&env, 0), 0, 160), 80);
}

} // namespace
} // namespace kowen
