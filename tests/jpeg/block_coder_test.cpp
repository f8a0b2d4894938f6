#include "jpeg/block_coder.h"

#include "jpeg/quant_tables.h"
#include "picture_env.h"
#include "reference/jpeg/coder.h"
#include "support/bitmaps.h"

#include <array>
#include <string>

#include <gtest/gtest.h>

namespace kowen {
namespace {

using reference::Block;

class BlockCoder : public testing::Test {
protected:
    std::string Bits() const { return env.Bits(fill); }
    std::string TakeBits() {
        const std::string bits = Bits();
        fill = 0;
        env->pendingByte = 0;
        env->bitMask = 128;
        return bits;
    }
    /// A block with one coefficient at zig-zag position k.
    static Block With(int k, int16_t coefficient) {
        Block block = {};
        block[static_cast<size_t>(ZZ[k])] = coefficient;
        return block;
    }
    int32_t Ac(const Block &block, int table) {
        return EncodeAC(block.data(), env.Get(), nullptr, &fill, env->huffmanTable[table]);
    }
    int32_t Dc(int16_t dc, int32_t component) {
        const Block block = With(0, dc);
        return EncodeDC(block.data(), env.Get(), nullptr, &fill, component);
    }

    PictureEnv env{KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 75, 16, 8};
    uint32_t fill = 0;
};

using EncodeDCTest = BlockCoder;

TEST_F(EncodeDCTest, CodesTheDifferenceToThePredictor) {
    EXPECT_EQ(Dc(3, 0), 0);
    EXPECT_EQ(TakeBits(), "01111");
    EXPECT_EQ(env->dcPredictor[0], 3);
    EXPECT_EQ(Dc(3, 0), 0);
    EXPECT_EQ(TakeBits(), "00");
    EXPECT_EQ(Dc(0, 0), 0);
    EXPECT_EQ(TakeBits(), "01100"); // -3
    EXPECT_EQ(env->dcPredictor[0], 0);
}

TEST_F(EncodeDCTest, ComponentsHavePredictorsAndCodesOfTheirOwn) {
    EXPECT_EQ(Dc(-1, 1), 0);
    EXPECT_EQ(TakeBits(), "010"); // chrominance category 1: 01, then 0
    EXPECT_EQ(Dc(1, 2), 0);
    EXPECT_EQ(TakeBits(), "011");
    EXPECT_EQ(Dc(1, 0), 0);
    EXPECT_EQ(TakeBits(), "0101");
    EXPECT_EQ(env->dcPredictor[0], 1);
    EXPECT_EQ(env->dcPredictor[1], -1);
    EXPECT_EQ(env->dcPredictor[2], 1);
}

TEST_F(EncodeDCTest, DifferenceIsTakenAsSixteenBits) {
    env->dcPredictor[0] = -32768;
    EXPECT_EQ(Dc(32767, 0), 0); // 65535 is -1
    EXPECT_EQ(TakeBits(), "0100");
    EXPECT_EQ(env->dcPredictor[0], 32767);
}

TEST_F(EncodeDCTest, LargestDifferencesHaveElevenBits) {
    env->dcPredictor[0] = -1024;
    EXPECT_EQ(Dc(1023, 0), 0); // 2047
    EXPECT_EQ(TakeBits(), "111111110"
                          "11111111111");
    EXPECT_EQ(Dc(-1024, 0), 0);
    EXPECT_EQ(TakeBits(), "111111110"
                          "00000000000");
}

TEST_F(EncodeDCTest, DifferencesBeyondTheTableCodeNothing) {
    env->dcPredictor[0] = -1024;
    EXPECT_EQ(Dc(1024, 0), 0); // 2048
    EXPECT_EQ(TakeBits(), "");
    EXPECT_EQ(env->dcPredictor[0], 1024);
    EXPECT_EQ(Dc(-1024, 0), 0); // -2048
    EXPECT_EQ(TakeBits(), "");
    EXPECT_EQ(env->dcPredictor[0], -1024);
}

using EncodeACTest = BlockCoder;

TEST_F(EncodeACTest, BlockWithoutCoefficientsIsAnEndOfBlock) {
    EXPECT_EQ(Ac(With(0, 500), 2), 0); // the DC is not an AC
    EXPECT_EQ(TakeBits(), "1010");
    EXPECT_EQ(Ac(With(0, 500), 3), 0);
    EXPECT_EQ(TakeBits(), "00");
}

TEST_F(EncodeACTest, TwentyZerosAreASixteenAndARunOfFour) {
    EXPECT_EQ(Ac(With(21, 1), 2), 0);
    EXPECT_EQ(TakeBits(), "11111111001" // F0
                          "111011"      // 41
                          "1"
                          "1010");
}

TEST_F(EncodeACTest, ThirtyTwoZerosAreTwoSixteens) {
    EXPECT_EQ(Ac(With(33, -1), 2), 0);
    EXPECT_EQ(TakeBits(), "11111111001"
                          "11111111001"
                          "00" // 01
                          "0"
                          "1010");
}

TEST_F(EncodeACTest, FifteenZerosNeedNoSixteen) {
    EXPECT_EQ(Ac(With(16, 1), 2), 0);
    EXPECT_EQ(TakeBits(), "1111111111110101" // F1
                          "1"
                          "1010");
}

TEST_F(EncodeACTest, LastCoefficientNeedsNoEndOfBlock) {
    EXPECT_EQ(Ac(With(63, 1), 2), 0); // 62 zeros: three sixteens and 14
    EXPECT_EQ(TakeBits(), "11111111001"
                          "11111111001"
                          "11111111001"
                          "1111111111101011" // E1
                          "1");
}

TEST_F(EncodeACTest, NegativeValuesAppendOneLess) {
    Block block = With(1, -5);
    block[static_cast<size_t>(ZZ[2])] = 5;
    block[static_cast<size_t>(ZZ[3])] = -2;
    EXPECT_EQ(Ac(block, 2), 0);
    EXPECT_EQ(TakeBits(), "100"
                          "010" // -5: 3 bits of -6
                          "100"
                          "101"
                          "01"
                          "01" // -2: 2 bits of -3
                          "1010");
}

TEST_F(EncodeACTest, RandomBlocksEqualTheReference) {
    TestRandom random(5);
    reference::Coder plain(KOWEN_OPERATION_SEQUENTIAL, 75);
    for (int round = 0; round < 3000; ++round) {
        Block block = {};
        const int coefficients = random.Between(0, 63);
        for (int i = 0; i < coefficients; ++i)
            block[static_cast<size_t>(random.Between(1, 63))] =
                static_cast<int16_t>(random.Between(-1023, 1023) >> random.Between(0, 10));
        EXPECT_EQ(Ac(block, 2 + round % 2), 0);
        plain.CodeAc(block, round % 2);
    }
    EXPECT_EQ(env.Bytes(fill), plain.bits.Bytes());
}

using EncodeBlockTest = BlockCoder;

TEST_F(EncodeBlockTest, FirstComponentUsesTheLuminanceTables) {
    Block block = With(1, 1);
    block[0] = 3;
    EXPECT_EQ(EncodeBlock(nullptr, &fill, block.data(), env.Get(), 0), 0);
    EXPECT_EQ(TakeBits(), "01111"
                          "001"
                          "1010");
}

TEST_F(EncodeBlockTest, OtherComponentsUseTheChrominanceTables) {
    Block block = With(1, 1);
    block[0] = 3;
    for (const int32_t component : {1, 2}) {
        EXPECT_EQ(EncodeBlock(nullptr, &fill, block.data(), env.Get(), component), 0);
        EXPECT_EQ(TakeBits(), "1011"
                              "011"
                              "00")
            << component;
        EXPECT_EQ(env->dcPredictor[component], 3);
    }
}

using EncodeACCoefTest = BlockCoder;

TEST_F(EncodeACCoefTest, CodesTheRunAndClearsIt) {
    int32_t run = 2;
    EXPECT_EQ(EncodeACCoef(nullptr, &fill, &run, -3, env.Get(), env->huffmanTable[2]), 0);
    EXPECT_EQ(run, 0);
    EXPECT_EQ(TakeBits(), "11111001" // 22
                          "00");
}

using EncodeZRLTest = BlockCoder;

TEST_F(EncodeZRLTest, TakesSixteenOffTheRun) {
    int32_t run = 40;
    EXPECT_EQ(EncodeZRL(nullptr, &fill, env->huffmanTable[2], env.Get(), &run), 0);
    EXPECT_EQ(run, 24);
    EXPECT_EQ(TakeBits(), "11111111001");
    EXPECT_EQ(EncodeZRL(nullptr, &fill, env->huffmanTable[3], env.Get(), &run), 0);
    EXPECT_EQ(run, 8);
    EXPECT_EQ(TakeBits(), "1111111010");
}

} // namespace
} // namespace kowen
