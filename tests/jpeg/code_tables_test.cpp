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

PackedCode ShortCode(const CodeTables &tables, uint32_t run, int32_t coefficient) {
    return tables
        .ofCoefficient[run * kShortCoefficients + static_cast<uint32_t>(coefficient + kShortReach)];
}

TEST(CodeTables, CoefficientsAreWhatTheyAreCodedAs) {
    for (const int32_t operation : {245, 246})
        for (const int number : {0, 1}) {
            const CodeTables &tables = *CodeTablesFor(operation, number);
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
        const CodeTables &tables = *CodeTablesFor(245, number);
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
    const CodeTables &tables = *CodeTablesFor(245, 0);
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

// T.81 tables K.5 and K.6: a run of 15 before size 10 has a code of 16 bits, the end-of-band runs
// of progressive files follow it.
TEST(CodeTables, EachOperationHasItsOwn) {
    EXPECT_EQ(CodeTablesFor(245, 0), CodeTablesFor(245, 0));
    EXPECT_NE(CodeTablesFor(245, 0), CodeTablesFor(245, 1));
    EXPECT_NE(CodeTablesFor(245, 0), CodeTablesFor(246, 0));
    EXPECT_EQ(CodeTablesFor(245, 0)->ofSymbol[0x10], 0u) << "EOB1 is a code of progressive files";
    EXPECT_EQ(CodeTablesFor(246, 0)->ofSymbol[0x10] & kLengthMask, 16u);
    EXPECT_EQ(CodeTablesFor(247, 0), CodeTablesFor(246, 0)) << "any other than the sequential one";
}

} // namespace
} // namespace kowen
