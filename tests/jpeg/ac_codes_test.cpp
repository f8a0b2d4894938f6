// AC codes of small coefficients against the coder of single coefficients.
#include "jpeg/ac_codes.h"

#include "jpeg/block_coder.h"
#include "jpeg/picture_env.h"

#include <cstddef>
#include <string>

#include <gtest/gtest.h>

namespace kowen {
namespace {

std::string BitsOf(const HuffmanEntry &entry) {
    std::string bits;
    for (int bit = entry.length - 1; bit >= 0; --bit)
        bits += (entry.code >> bit & 1) != 0 ? '1' : '0';
    return bits;
}

TEST(AcCodes, AreWhatACoefficientIsCodedAs) {
    for (const int32_t operation : {245, 246})
        for (const int slot : {2, 3}) {
            PictureEnv env(212, operation, 75, 16, 8);
            const HuffmanEntry *ofCoefficient = AcCodesOf(env->huffmanTable[slot])->ofCoefficient;
            for (uint32_t run = 0; run < kShortRuns; ++run)
                for (int32_t c = -kShortReach; c < kShortReach; ++c) {
                    if (c == 0)
                        continue;
                    PictureEnv plain(212, operation, 75, 16, 8);
                    uint32_t count = 0;
                    auto zeroRun = static_cast<int32_t>(run);
                    EncodeACCoef(nullptr, &count, &zeroRun, static_cast<int16_t>(c), plain.Get(),
                                 plain->huffmanTable[slot]);
                    const HuffmanEntry &entry =
                        ofCoefficient[run * kShortCoefficients +
                                      static_cast<uint32_t>(c + kShortReach)];
                    ASSERT_EQ(BitsOf(entry), plain.Bits(count)) << run << ", " << c;
                }
        }
}

// T.81 table K.5: run 0, size 1 is 00, and the coefficient 1 appends 1, -1 appends 0.
TEST(AcCodes, OneAfterNoZerosHasThreeBits) {
    PictureEnv env(212, 245, 75, 16, 8);
    const HuffmanEntry *ofCoefficient = AcCodesOf(env->huffmanTable[2])->ofCoefficient;
    EXPECT_EQ(BitsOf(ofCoefficient[kShortReach + 1]), "001");
    EXPECT_EQ(BitsOf(ofCoefficient[kShortReach - 1]), "000");
}

TEST(AcCodes, OfTheSameTableAreMadeOnce) {
    PictureEnv first(212, 245, 75, 16, 8);
    PictureEnv second(212, 245, 30, 16, 8);
    EXPECT_EQ(AcCodesOf(first->huffmanTable[2]), AcCodesOf(second->huffmanTable[2]));
    EXPECT_NE(AcCodesOf(first->huffmanTable[2]), AcCodesOf(first->huffmanTable[3]));
}

} // namespace
} // namespace kowen
