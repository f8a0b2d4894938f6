// The lookup tables of codes against the coder of single coefficients.
#include "jpeg/code_tables.h"

#include "jpeg/block_coder.h"
#include "jpeg/picture_env.h"

#include <cstddef>
#include <string>

#include <gtest/gtest.h>

namespace kowen {
namespace {

std::string BitsOf(PackedCode code) {
    std::string bits;
    for (uint32_t bit = 0; bit < (code & kLengthMask); ++bit)
        bits += (code >> (31 - bit) & 1) != 0 ? '1' : '0';
    return bits;
}

const CodeTables &BuiltTables(const PictureEnv &env, int number) {
    return *FindCodeTables(env->huffmanTable[kDcLuminance + number],
                           env->huffmanTable[kAcLuminance + number]);
}

PackedCode ShortCode(const CodeTables &tables, uint32_t run, int32_t coefficient) {
    return tables
        .ofCoefficient[run * kShortCoefficients + static_cast<uint32_t>(coefficient + kShortReach)];
}

TEST(CodeTables, CoefficientsAreWhatTheyAreCodedAs) {
    for (const int32_t operation : {245, 246})
        for (const int number : {0, 1}) {
            const PictureEnv env(212, operation, 75, 16, 8);
            const CodeTables &tables = BuiltTables(env, number);
            for (uint32_t run = 0; run < kShortRuns; ++run)
                for (int32_t c = -kShortReach; c < kShortReach; ++c) {
                    if (c == 0)
                        continue;
                    PictureEnv plain(212, operation, 75, 16, 8);
                    uint32_t count = 0;
                    auto zeroRun = static_cast<int32_t>(run);
                    EncodeACCoef(nullptr, &count, &zeroRun, static_cast<int16_t>(c), plain.Get(),
                                 plain->huffmanTable[kAcLuminance + number]);
                    ASSERT_EQ(BitsOf(ShortCode(tables, run, c)), plain.Bits(count))
                        << run << ", " << c;
                }
        }
}

TEST(CodeTables, DifferencesAreWhatTheyAreCodedAs) {
    for (const int number : {0, 1}) {
        const PictureEnv env(212, 245, 75, 16, 8);
        const CodeTables &tables = BuiltTables(env, number);
        for (int32_t d = -2047; d <= 2047; ++d) {
            PictureEnv plain(212, 245, 75, 16, 8);
            uint32_t count = 0;
            const int16_t block[64] = {static_cast<int16_t>(d)};
            EncodeDC(block, plain.Get(), nullptr, &count, number);
            ASSERT_EQ(BitsOf(tables.ofDifference[d >= 0 ? d : 4095 + d]), plain.Bits(count)) << d;
        }
    }
}

// T.81 table K.5: run 0, size 1 is 00, and the coefficient 1 appends 1, -1 appends 0; the end of a
// block is 1010, 16 zeros are 11111111001. K.3 for the DC.
TEST(CodeTables, LuminanceCodesAreThoseOfTheStandard) {
    const PictureEnv env(212, 245, 75, 16, 8);
    const CodeTables &tables = BuiltTables(env, 0);
    EXPECT_EQ(BitsOf(ShortCode(tables, 0, 1)), "001");
    EXPECT_EQ(BitsOf(ShortCode(tables, 0, -1)), "000");
    EXPECT_EQ(BitsOf(ShortCode(tables, 0, 0)), "1010");
    EXPECT_EQ(BitsOf(ShortCode(tables, 15, 0)), "11111111001");
    EXPECT_EQ(BitsOf(tables.ofSymbol[0x00]), "1010");
    EXPECT_EQ(BitsOf(tables.ofSymbol[0xF0]), "11111111001");
    EXPECT_EQ(tables.ofSymbol[0xFF], 0u) << "there is no such code";
    EXPECT_EQ(BitsOf(tables.ofDcCategory[0]), "00");
    EXPECT_EQ(BitsOf(tables.ofDcCategory[6]), "1110");
    EXPECT_EQ(BitsOf(tables.ofDcCategory[11]), "111111110");
    for (size_t category = 12; category < kDcCodes; ++category)
        EXPECT_EQ(tables.ofDcCategory[category], 0u) << category;
}

TEST(CodeTables, OfTheSameCodesAreBuiltOnce) {
    const PictureEnv first(212, 245, 75, 16, 8);
    const PictureEnv second(212, 245, 30, 16, 8);
    EXPECT_EQ(&BuiltTables(first, 0), &BuiltTables(second, 0));
    EXPECT_NE(&BuiltTables(first, 0), &BuiltTables(first, 1));
}

// More pairs of lists than are cached: the tables are those of the list all the same.
TEST(CodeTables, EveryListHasTablesOfItsOwn) {
    const PictureEnv env(212, 245, 75, 16, 8);
    for (int round = 0; round < 2; ++round)
        for (uint32_t list = 0; list < 6; ++list) {
            HuffmanEntry dc[12] = {};
            HuffmanEntry ac[256] = {};
            dc[0] = {list, 3};
            ac[0] = {list, 4};
            const CodeTables &tables = *FindCodeTables(dc, ac);
            EXPECT_EQ(tables.ofDifference[0], list << 29 | 3);
            EXPECT_EQ(tables.ofSymbol[0], list << 28 | 4);
            ac[0].length = 5;
            EXPECT_EQ(FindCodeTables(dc, ac)->ofSymbol[0], list << 27 | 5);
        }
}

} // namespace
} // namespace kowen
