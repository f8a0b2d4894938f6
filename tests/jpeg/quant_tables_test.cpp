#include "jpeg/quant_tables.h"

#include "jpeg/compress_env.h"
#include "reference/jpeg/transform.h"

#include <memory>

#include <gtest/gtest.h>

namespace kowen {
namespace {

std::unique_ptr<CompressEnv> WithQuality(int32_t quality,
                                         int32_t colorFormat = KOWEN_FORMAT_YCC422) {
    auto env = std::make_unique<CompressEnv>();
    EXPECT_EQ(SetQTable(env.get(), quality, colorFormat), 0);
    return env;
}

// Places of base values in the luminance table: 16 stands first, 10 third in the first row, 121
// sixth in the seventh row.
constexpr int kPlaceOf16 = 0;
constexpr int kPlaceOf10 = 2;
constexpr int kPlaceOf121 = 6 * 8 + 5;

TEST(ZZ, IsTheZigZagOrderOfTheStandard) {
    // T.81 figure A.6.
    constexpr int16_t kOrder[64] = {0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,
                                    12, 19, 26, 33, 40, 48, 41, 34, 27, 20, 13, 6,  7,  14, 21, 28,
                                    35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23, 30, 37, 44, 51,
                                    58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};
    for (int k = 0; k < 64; ++k) {
        EXPECT_EQ(ZZ[k], kOrder[k]) << k;
        EXPECT_EQ(ZZ[k], reference::kZigZag[static_cast<size_t>(k)]) << k;
    }
}

TEST(SetQTable, QualitySeventyFiveGivesTheStandardTables) {
    const auto env = WithQuality(75);
    for (size_t i = 0; i < 64; ++i) {
        EXPECT_EQ(env->quantTable[0][i], reference::kLuminanceBase[i]) << i;
        EXPECT_EQ(env->quantTable[1][i], reference::kChrominanceBase[i]) << i;
        EXPECT_EQ(kBaseQuantTable[0][i], reference::kLuminanceBase[i]) << i;
        EXPECT_EQ(kBaseQuantTable[1][i], reference::kChrominanceBase[i]) << i;
    }
}

TEST(SetQTable, QualityHundredGivesOneToThirteen) {
    const auto env = WithQuality(100);
    EXPECT_EQ(env->quantTable[0][kPlaceOf16], 2);   // 1.6
    EXPECT_EQ(env->quantTable[0][kPlaceOf10], 1);   // 1.0
    EXPECT_EQ(env->quantTable[0][kPlaceOf121], 13); // 12.1
}

TEST(SetQTable, QualityFiftyGivesNearlyTwiceTheStandard) {
    const auto env = WithQuality(50);              // scale 1.9
    EXPECT_EQ(env->quantTable[0][kPlaceOf16], 31); // 30.4
    EXPECT_EQ(env->quantTable[0][kPlaceOf10], 19); // 19.0
    EXPECT_EQ(env->quantTable[1][63], 189);        // 99: 188.1
}

TEST(SetQTable, LowQualitiesPassTwoHundredFiftyFive) {
    EXPECT_EQ(WithQuality(1)->quantTable[0][kPlaceOf121], 444);  // 443.344
    EXPECT_EQ(WithQuality(44)->quantTable[0][kPlaceOf121], 257); // 256.036
    EXPECT_EQ(WithQuality(45)->quantTable[0][kPlaceOf121], 252); // 251.68
}

// A setup whose profile section has no driver holds a quality of 0.
TEST(SetQTable, QualityZeroGivesUpToFourHundredFortyEight) {
    const auto env = WithQuality(0);                 // scale 3.7
    EXPECT_EQ(env->quantTable[0][kPlaceOf121], 448); // 447.7
    EXPECT_EQ(env->quantTable[0][kPlaceOf10], 37);   // 37.0
}

TEST(SetQTable, EveryQualityIsTheCeilingOfTheScaledBase) {
    for (int quality = 0; quality <= 100; ++quality) {
        const auto env = WithQuality(quality);
        const auto luminance = reference::Quantisers(reference::kLuminanceBase, quality);
        const auto chrominance = reference::Quantisers(reference::kChrominanceBase, quality);
        for (size_t i = 0; i < 64; ++i) {
            ASSERT_EQ(env->quantTable[0][i], luminance[i]) << quality << ", " << i;
            ASSERT_EQ(env->quantTable[1][i], chrominance[i]) << quality << ", " << i;
        }
    }
}

TEST(SetQTable, ColorFormatMakesNoDifference) {
    for (const int32_t colorFormat : {0, 215, 222}) {
        const auto env = WithQuality(30, colorFormat);
        for (int i = 0; i < 64; ++i)
            ASSERT_EQ(env->quantTable[1][i], WithQuality(30)->quantTable[1][i]);
    }
}

TEST(SetQTable, QualitiesBeyondAnySetupGiveOnesNotZeros) {
    for (const int32_t quality : {103, 200, 32767}) {
        const auto env = WithQuality(quality);
        for (int i = 0; i < 64; ++i) {
            ASSERT_EQ(env->quantTable[0][i], 1) << quality;
            ASSERT_EQ(env->quantTable[1][i], 1) << quality;
        }
    }
    EXPECT_EQ(WithQuality(102)->quantTable[0][kPlaceOf121], 4); // 3.388
}

} // namespace
} // namespace kowen
