#include "color/pixel.h"

#include "color/bitmaps.h"
#include "support/failing_memory.h"

#include <string>

namespace kowen {
namespace {

TEST(RlBytesPerLine, RoundsUpToBytesAndThenToFour) {
    EXPECT_EQ(rlBytesPerLine(10, 1), 4u);
    EXPECT_EQ(rlBytesPerLine(3, 24), 12u);
    EXPECT_EQ(rlBytesPerLine(5, 8), 8u);
    EXPECT_EQ(rlBytesPerLine(1, 1), 4u);
    EXPECT_EQ(rlBytesPerLine(32, 1), 4u);
    EXPECT_EQ(rlBytesPerLine(33, 1), 8u);
    EXPECT_EQ(rlBytesPerLine(0, 24), 0u);
    EXPECT_EQ(rlBytesPerLine(8, 4), 4u);
    EXPECT_EQ(rlBytesPerLine(9, 4), 8u);
    EXPECT_EQ(rlBytesPerLine(3, 32), 12u);
}

TEST(RlBytesPerLine, DoesNotWrap) {
    EXPECT_EQ(rlBytesPerLine(0x10000000, 24), 805306368u); // x 24 is 6 x 2^30 bits
    EXPECT_EQ(rlBytesPerLine(0x3FFFFFFF, 32), 0xFFFFFFFCu);
    EXPECT_EQ(rlBytesPerLine(0x40000000, 32), kSizeTooLarge);
    EXPECT_EQ(rlBytesPerLine(0xFFFFFFFF, 65535), kSizeTooLarge);
}

TEST(RlCalcNewSize, IsBytesPerRowTimesHeight) {
    EXPECT_EQ(rlCalcNewSize(3, 2, 24), 24u);
    EXPECT_EQ(rlCalcNewSize(33, 3, 1), 24u);
    EXPECT_EQ(rlCalcNewSize(7, 0, 8), 0u);
    EXPECT_EQ(rlCalcNewSize(0, 7, 8), 0u);
}

TEST(RlCalcNewSize, ASizeBeyond32BitsIsRefusedByTheMemory) {
    EXPECT_EQ(rlCalcNewSize(65536, 65535, 8), 0xFFFF0000u);
    EXPECT_EQ(rlCalcNewSize(65536, 65536, 8), kSizeTooLarge);
    EXPECT_EQ(rlCalcNewSize(0xFFFFFFFF, 0xFFFFFFFF, 32), kSizeTooLarge);
    testing::internal::CaptureStdout();
    EXPECT_EQ(rlGetMemory(1, kSizeTooLarge), 0u);
    EXPECT_NE(testing::internal::GetCapturedStdout(), "");
}

TEST(BitmapFits, AsksForAllPixelsButNotForTheLastPadding) {
    const Block block(Bytes(21)); // rows of 12 bytes, 9 of them pixels
    EXPECT_TRUE(BitmapFits(block, 3, 2, 24));
    EXPECT_FALSE(BitmapFits(block, 4, 2, 24));
    EXPECT_FALSE(BitmapFits(block, 3, 3, 24));
    const Block shorter(Bytes(20));
    EXPECT_FALSE(BitmapFits(shorter, 3, 2, 24));
    EXPECT_FALSE(BitmapFits(shorter, 0xFFFFFFFF, 0xFFFFFFFF, 32));
}

TEST(BitmapFits, NothingFitsWithoutABlockButNoPixels) {
    EXPECT_FALSE(BitmapFits(0, 1, 1, 1));
    EXPECT_TRUE(BitmapFits(0, 0, 5, 24));
    EXPECT_TRUE(BitmapFits(0, 5, 0, 24));
}

TEST(RlGetPixel, ReadsEachDepth) {
    const uint8_t pixels[] = {0xA5, 0x1E, 30, 40, 0x80, 0, 0, 0};
    EXPECT_EQ(rlGetPixel(pixels, 4, 0, 0, 1), 1u);
    EXPECT_EQ(rlGetPixel(pixels, 4, 1, 0, 1), 0u);
    EXPECT_EQ(rlGetPixel(pixels, 4, 7, 0, 1), 1u);
    EXPECT_EQ(rlGetPixel(pixels, 4, 8, 0, 1), 0u);
    EXPECT_EQ(rlGetPixel(pixels, 4, 11, 0, 1), 1u);
    EXPECT_EQ(rlGetPixel(pixels, 4, 0, 1, 1), 1u);
    EXPECT_EQ(rlGetPixel(pixels, 4, 0, 0, 4), 0xAu);
    EXPECT_EQ(rlGetPixel(pixels, 4, 1, 0, 4), 0x5u);
    EXPECT_EQ(rlGetPixel(pixels, 4, 3, 0, 4), 0xEu);
    EXPECT_EQ(rlGetPixel(pixels, 4, 2, 0, 8), 30u);
    EXPECT_EQ(rlGetPixel(pixels, 4, 0, 1, 8), 0x80u);
    EXPECT_EQ(rlGetPixel(pixels, 4, 1, 0, 32), 0x80000000u);
    EXPECT_EQ(rlGetPixel(pixels, 4, 0, 0, 32), 0xA51E1E28u);
}

TEST(RlGetPixel, ColoursStandAboveAZeroByte) {
    const uint8_t pixels[] = {1, 2, 3, 10, 20, 30};
    EXPECT_EQ(rlGetPixel(pixels, 6, 1, 0, 24), 0x0A141E00u);
}

TEST(RlGetPixel, OtherDepthsReadAsZero) {
    const uint8_t pixels[] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
    for (uint16_t bits : {0, 2, 3, 5, 7, 9, 16, 17, 25, 31, 33})
        EXPECT_EQ(rlGetPixel(pixels, 4, 0, 0, bits), 0u) << bits;
}

// Sets one pixel of a row of eight bytes.
Bytes After(Bytes row, uint32_t x, uint16_t bits, uint32_t value,
            const uint32_t *indexMap = nullptr, const uint8_t *table = nullptr,
            uint32_t count = 0) {
    EXPECT_EQ(rlSetPixel(row.data(), 8, x, 0, bits, value, indexMap, table, count), 0);
    return row;
}

const Bytes kOnes(8, 0xFF);
const Bytes kZeros(8, 0);

TEST(RlSetPixel, OneBitLeavesTheOthers) {
    EXPECT_EQ(After(kOnes, 2, 1, 0), Bytes({0xDF, 255, 255, 255, 255, 255, 255, 255}));
    EXPECT_EQ(After(kZeros, 9, 1, 1), Bytes({0, 0x40, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(After(kZeros, 0, 1, 2), kZeros); // only the lowest bit counts
    EXPECT_EQ(After(kZeros, 0, 1, 3), Bytes({0x80, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(RlSetPixel, ANibbleLeavesTheOtherNibble) {
    EXPECT_EQ(After(kOnes, 1, 4, 0x2), Bytes({0xF2, 255, 255, 255, 255, 255, 255, 255}));
    EXPECT_EQ(After(kOnes, 0, 4, 0x2), Bytes({0x2F, 255, 255, 255, 255, 255, 255, 255}));
    EXPECT_EQ(After(kZeros, 3, 4, 0x9C), Bytes({0, 0x0C, 0, 0, 0, 0, 0, 0}));
}

TEST(RlSetPixel, AByteStoresTheLowByte) {
    EXPECT_EQ(After(kZeros, 1, 8, 0x12345678), Bytes({0, 0x78, 0, 0, 0, 0, 0, 0}));
}

TEST(RlSetPixel, ColoursStoreTheBytesFromTheHighest) {
    EXPECT_EQ(After(kOnes, 1, 24, 0x01020304), Bytes({255, 255, 255, 1, 2, 3, 255, 255}));
    EXPECT_EQ(After(kOnes, 1, 32, 0x01020304), Bytes({255, 255, 255, 255, 1, 2, 3, 4}));
}

TEST(RlSetPixel, OtherDepthsAreNotWritten) {
    for (uint16_t bits : {0, 2, 3, 5, 7, 9, 16, 17, 25, 31, 33})
        EXPECT_EQ(After(kOnes, 0, bits, 0), kOnes) << bits;
}

constexpr uint8_t kTable[] = {255, 0, 0, 10, 20, 30, 0, 200, 0};
constexpr uint32_t kMap[] = {2, 1, 0, 7};

TEST(RlSetPixel, TheMapGivesTheIndex) {
    EXPECT_EQ(After(kZeros, 0, 8, 0, kMap), Bytes({2, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(After(kZeros, 0, 8, 0, kMap, kTable, 3), Bytes({2, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(After(kZeros, 0, 4, 3, kMap), Bytes({0x70, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(RlSetPixel, WithoutAMapTheTableGivesTheNearestIndex) {
    EXPECT_EQ(After(kZeros, 0, 8, 0x0C182000, nullptr, kTable, 3), // (12, 24, 32)
              Bytes({1, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(After(kZeros, 0, 8, 0x00FF0000, nullptr, kTable, 3), Bytes({2, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(After(kZeros, 0, 8, 0x00FF0000, nullptr, kTable, 2), // a shorter table
              Bytes({1, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(RlSetPixel, ColoursComeFromTheTableByTheMap) {
    EXPECT_EQ(After(kOnes, 0, 24, 1, kMap, kTable, 3),
              Bytes({10, 20, 30, 255, 255, 255, 255, 255}));
    EXPECT_EQ(After(kOnes, 0, 32, 0, kMap, kTable, 3), Bytes({0, 200, 0, 0, 255, 255, 255, 255}));
}

TEST(RlSetPixel, ColoursComeFromTheMapWithoutATable) {
    constexpr uint32_t colours[] = {0x0A141E28};
    EXPECT_EQ(After(kOnes, 0, 24, 0, colours), Bytes({10, 20, 30, 255, 255, 255, 255, 255}));
    EXPECT_EQ(After(kOnes, 0, 32, 0, colours), Bytes({10, 20, 30, 40, 255, 255, 255, 255}));
}

TEST(RlSetPixel, AMapEntryOutsideTheTableIsBlack) {
    EXPECT_EQ(After(kOnes, 0, 24, 3, kMap, kTable, 3), Bytes({0, 0, 0, 255, 255, 255, 255, 255}));
    EXPECT_EQ(After(kOnes, 0, 32, 0, kMap, kTable, 2), Bytes({0, 0, 0, 0, 255, 255, 255, 255}));
}

TEST(RlSetPixel, ColoursIgnoreATableWithoutAMap) {
    EXPECT_EQ(After(kZeros, 0, 24, 0x01020304, nullptr, kTable, 3),
              Bytes({1, 2, 3, 0, 0, 0, 0, 0}));
    EXPECT_EQ(After(kZeros, 0, 32, 0x01020304, nullptr, kTable, 3),
              Bytes({1, 2, 3, 4, 0, 0, 0, 0}));
}

TEST(RlSetPixel, IsTracedAboveLevelThree) {
    testing::internal::CaptureStderr();
    _debug_color_res = 3;
    After(kZeros, 5, 8, 1);
    _debug_color_res = 4;
    After(kZeros, 5, 8, 1);
    After(kZeros, 2, 16, 1); // traced although it is not written
    _debug_color_res = 0;
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "(5,0): (2,0): ");
}

TEST(RlGetMemory, GivesZeroBytesCountTimesSize) {
    const Block block(rlGetMemory(3, 5));
    EXPECT_EQ(Contents(block), Bytes(15, 0));
}

TEST(RlGetMemory, AProductBeyond32BitsFails) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(rlGetMemory(65535, 0x10001000), 0u);
    testing::internal::GetCapturedStdout();
}

TEST(RlLockMemory, AnswersTheDataAndNullForNone) {
    const Block block(Bytes{7, 8});
    auto *data = static_cast<uint8_t *>(rlLockMemory(block));
    EXPECT_EQ(data[1], 8);
    EXPECT_EQ(rlPointertoHandle(data), MemoryHandle{block});
    EXPECT_EQ(rlUnlockMemory(block), 0);
    EXPECT_EQ(rlUnlockMemory(0), 0);
    EXPECT_EQ(rlLockMemory(0), nullptr);
    EXPECT_EQ(rlPointertoHandle(nullptr), 0u);
}

TEST(RlFreeNewData, TellsWhetherThereWasABlock) {
    EXPECT_EQ(rlFreeNewData(rlGetMemory(1, 1)), 1);
    EXPECT_EQ(rlFreeNewData(0), 0);
}

} // namespace
} // namespace kowen
