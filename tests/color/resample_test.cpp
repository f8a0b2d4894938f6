#include "color/resample.h"

#include "color/bitmaps.h"
#include "color/pixel.h"
#include "reference/color/resample.h"
#include "support/failing_memory.h"

#include <string>

namespace kowen {
namespace {

constexpr uint16_t kResampleDepths[] = {0, 1, 2, 3, 4, 5, 8, 16, 24, 32, 300};

TEST(RlShrinkBitmap, GivesTheBytesOfTheReference) {
    Random random(3);
    for (uint16_t depth : kResampleDepths) {
        for (int round = 0; round < 60; ++round) {
            const uint32_t width = 1 + random.Below(70);
            const uint32_t height = 1 + random.Below(12);
            const uint32_t targetWidth = random.Below(round % 2 == 0 ? width + 1 : 150);
            const uint32_t targetHeight = random.Below(30);
            const Bytes bitmap = RandomBitmap(random, width, height, depth);
            const Bytes expected =
                reference::Resample(bitmap, depth, width, height, targetWidth, targetHeight);
            const Block bits(bitmap);
            const Block shrunk(
                rlShrinkBitmap(bits, depth, width, height, targetWidth, targetHeight));
            const Block stretched(
                rlStretchBitmap(bits, depth, width, height, targetWidth, targetHeight));
            EXPECT_EQ(Contents(shrunk), expected) << depth << ": " << width << " x " << height
                                                  << " to " << targetWidth << " x " << targetHeight;
            EXPECT_EQ(Contents(stretched), expected);
        }
    }
}

TEST(RlShrinkBitmap, GivesTheBytesOfTheReferenceOnLongRows) {
    Random random(51);
    for (uint16_t depth : {1, 4, 8, 24, 32}) {
        const Bytes bitmap = RandomBitmap(random, 1500, 2, depth);
        const Block bits(bitmap);
        for (uint32_t target : {1u, 749u, 750u, 751u, 1499u, 1500u, 1501u, 2250u, 4000u}) {
            const Block result(rlShrinkBitmap(bits, depth, 1500, 2, target, 3));
            EXPECT_EQ(Contents(result), reference::Resample(bitmap, depth, 1500, 2, target, 3))
                << depth << " to " << target;
        }
    }
}

Bytes RowOf(uint32_t width, uint32_t targetWidth, const Bytes &row) {
    Bytes target(rlBytesPerLine(targetWidth, 8), 0);
    EXPECT_TRUE((targetWidth <= width ? ShrinkX : StretchX)(row.data(), target.data(), 8, width, 1,
                                                            targetWidth));
    target.resize(targetWidth);
    return target;
}

TEST(ShrinkX, TheLastPixelComesFromTheLastSourcePixel) {
    EXPECT_EQ(RowOf(10, 5, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}), Bytes({0, 2, 4, 6, 9}));
    EXPECT_EQ(RowOf(10, 1, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}), Bytes({9}));
}

TEST(ShrinkX, PositionsAreTruncated) {
    // 7 / 4 = 1.75: 0, 1.75, 3.5, then the last.
    EXPECT_EQ(RowOf(7, 4, {0, 1, 2, 3, 4, 5, 6}), Bytes({0, 1, 3, 6}));
    EXPECT_EQ(RowOf(3, 3, {7, 8, 9}), Bytes({7, 8, 9}));
}

TEST(ShrinkX, ResamplesSeveralRows) {
    const Bytes rows = {1, 2, 3, 4, 5, 6, 7, 8};
    Bytes target(8, 0);
    EXPECT_TRUE(ShrinkX(rows.data(), target.data(), 8, 4, 2, 2));
    EXPECT_EQ(target, Bytes({1, 4, 0, 0, 5, 8, 0, 0}));
}

TEST(StretchX, FillsFromTheRight) {
    EXPECT_EQ(RowOf(2, 5, {1, 2}), Bytes({1, 1, 1, 2, 2}));
    // 4 / 3: 1, 2, 4 from the right.
    EXPECT_EQ(RowOf(3, 4, {1, 2, 3}), Bytes({1, 1, 2, 3}));
}

TEST(StretchX, TruncationLeavesTheLeftColumnUnfilled) {
    // In doubles 11 x (15 / 11) is less than 15.
    const Bytes row = RowOf(11, 15, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11});
    EXPECT_EQ(row[0], 0);
    EXPECT_EQ(row[1], 1);
    EXPECT_EQ(row[14], 11);
}

// Two rows of three pixels become five: at 5 / 2, the lower row goes into the last two and, 5 - 2
// of them, the upper one into the others.
TEST(Stretch, RepeatsRowsFromTheLastUp) {
    const Bytes rows = {1, 2, 3, 91, 4, 5, 6, 92};
    Bytes target(20, 0);
    EXPECT_TRUE(Stretch(rows.data(), target.data(), 8, 3, 2, 3, 5));
    EXPECT_EQ(target, Bytes({1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3, 0, 4, 5, 6, 0, 4, 5, 6, 0}));
}

TEST(Stretch, ResamplesItsRowsByTheWidths) {
    const Bytes rows = {1, 2, 3, 91, 4, 5, 6, 92};
    Bytes narrow(12, 0), wide(24, 0);
    EXPECT_TRUE(
        Stretch(rows.data(), narrow.data(), 8, 3, 2, 2, 3)); // 3 / 2: pixel 0, then the last
    EXPECT_EQ(narrow, Bytes({1, 3, 0, 0, 1, 3, 0, 0, 4, 6, 0, 0}));
    EXPECT_TRUE(Stretch(rows.data(), wide.data(), 8, 3, 2, 6, 3)); // 6 / 3: each twice
    EXPECT_EQ(wide,
              Bytes({1, 1, 2, 2, 3, 3, 0, 0, 1, 1, 2, 2, 3, 3, 0, 0, 4, 4, 5, 5, 6, 6, 0, 0}));
}

TEST(Stretch, TruncationLeavesTheFirstRowAsItIs) {
    // In doubles 11 x (15 / 11) is less than 15: 14 rows are filled.
    Bytes rows(44, 0);
    for (uint8_t y = 0; y < 11; ++y)
        rows[size_t{y} * 4] = static_cast<uint8_t>(y + 1);
    Bytes target(60, 99);
    EXPECT_TRUE(Stretch(rows.data(), target.data(), 8, 1, 11, 1, 15));
    EXPECT_EQ(target[0], 99);
    EXPECT_EQ(target[4], 1);
    EXPECT_EQ(target[56], 11);
}

TEST(Stretch, APositionInARowBeyond16BitsFails) {
    const uint8_t row[4] = {0x80, 0, 0, 0};
    Bytes target(2 * 8192, 0);
    EXPECT_FALSE(Stretch(row, target.data(), 1, 2, 1, 65536, 2));
    EXPECT_EQ(target, Bytes(2 * 8192, 0));
}

// Four rows to three at 4 / 3: rows 0, 1 and 2. Of the columns, the first and the last.
TEST(Shrink, DropsRowsAndColumns) {
    const Bytes rows = {1, 2, 3, 91, 4, 5, 6, 92, 7, 8, 9, 93, 10, 11, 12, 94};
    Bytes target(12, 0);
    EXPECT_TRUE(Shrink(rows.data(), target.data(), 8, 3, 4, 2, 3));
    EXPECT_EQ(target, Bytes({1, 3, 0, 0, 4, 6, 0, 0, 7, 9, 0, 0}));
}

Bytes Column(uint32_t height, uint32_t targetHeight) {
    Bytes bitmap;
    for (uint32_t y = 0; y < height; ++y)
        bitmap.insert(bitmap.end(), {static_cast<uint8_t>(y + 1), 0, 0, 0});
    const Block bits(bitmap);
    const Block result(rlStretchBitmap(bits, 8, 1, height, 1, targetHeight));
    Bytes column;
    const Bytes rows = Contents(result);
    for (size_t i = 0; i < rows.size(); i += 4)
        column.push_back(rows[i]);
    return column;
}

TEST(RlStretchBitmap, TruncationLeavesTheTopRowUnfilled) {
    const Bytes column = Column(11, 15);
    ASSERT_EQ(column.size(), 15u);
    EXPECT_EQ(column[0], 0);
    EXPECT_EQ(column[1], 1);
    EXPECT_EQ(column[14], 11);
}

TEST(RlStretchBitmap, RepeatsRowsFromTheLast) {
    EXPECT_EQ(Column(2, 5), Bytes({1, 1, 1, 2, 2}));
    EXPECT_EQ(Column(3, 4), Bytes({1, 1, 2, 3}));
}

TEST(RlStretchBitmap, ShrinksWhenAskedTo) {
    // Unlike columns, the last row is the current one, not the last of the source.
    EXPECT_EQ(Column(10, 5), Bytes({1, 3, 5, 7, 9}));
    EXPECT_EQ(Column(7, 4), Bytes({1, 2, 4, 6}));
    EXPECT_EQ(Column(4, 4), Bytes({1, 2, 3, 4}));
}

TEST(RlShrinkBitmap, StretchesWhenAskedTo) {
    const Block bits(Bytes{7, 0, 0, 0});
    const Block result(rlShrinkBitmap(bits, 8, 1, 1, 2, 3));
    EXPECT_EQ(Contents(result), Bytes({7, 7, 0, 0, 7, 7, 0, 0, 7, 7, 0, 0}));
}

TEST(RlShrinkBitmap, WidthsAndHeightsGoTheirOwnWays) {
    const Block bits(Bytes{1, 2, 3, 4, 5, 6, 7, 8});
    const Block wider(rlShrinkBitmap(bits, 8, 4, 2, 8, 1));
    EXPECT_EQ(Contents(wider), Bytes({1, 1, 2, 2, 3, 3, 4, 4}));
    const Block higher(rlShrinkBitmap(bits, 8, 4, 2, 2, 3));
    EXPECT_EQ(Contents(higher), Bytes({1, 4, 0, 0, 1, 4, 0, 0, 5, 8, 0, 0}));
}

TEST(RlShrinkBitmap, AnUnfilledTopRowStaysZeroInColours) {
    Bytes bitmap(44, 0xAB);
    const Block bits(bitmap);
    const Block result(rlShrinkBitmap(bits, 24, 1, 11, 1, 15));
    const Bytes rows = Contents(result);
    EXPECT_EQ(Bytes(rows.begin(), rows.begin() + 4), Bytes(4, 0));
    EXPECT_EQ(Bytes(rows.begin() + 4, rows.begin() + 8), Bytes({0xAB, 0xAB, 0xAB, 0}));
}

TEST(RlShrinkBitmap, SizesOfZeroDrawNothing) {
    const Block bits(Bytes{1, 2, 3, 4});
    const Block none(rlShrinkBitmap(bits, 8, 4, 1, 0, 1));
    EXPECT_NE(MemoryHandle{none}, 0u);
    EXPECT_EQ(GlobalSize(none), 0u);
    const Block fromNoWidth(rlShrinkBitmap(0, 8, 0, 3, 4, 1));
    EXPECT_EQ(Contents(fromNoWidth), Bytes(4, 0));
    const Block fromNoHeight(rlShrinkBitmap(0, 8, 3, 0, 4, 1));
    EXPECT_EQ(Contents(fromNoHeight), Bytes(4, 0));
    const Block fromNothing(rlStretchBitmap(0, 24, 0, 0, 0, 0));
    EXPECT_EQ(Contents(fromNothing), Bytes());
}

TEST(RlShrinkBitmap, ASourceWithoutAllItsPixelsGivesNone) {
    const Block bits(Bytes(8));
    EXPECT_EQ(rlShrinkBitmap(bits, 24, 3, 1, 1, 1), 0u);
    EXPECT_EQ(rlStretchBitmap(bits, 8, 8, 2, 16, 4), 0u);
    EXPECT_EQ(rlShrinkBitmap(0, 8, 1, 1, 1, 1), 0u);
    const Block unpadded(Bytes{1, 2, 3, 4, 5, 6});
    const Block result(rlShrinkBitmap(unpadded, 24, 2, 1, 1, 1));
    EXPECT_EQ(Contents(result), Bytes({4, 5, 6, 0}));
}

TEST(StretchX, APositionBeyond16BitsFails) {
    const Block bits(Bytes{0x80, 0, 0, 0});
    const Block fits(rlStretchBitmap(bits, 1, 2, 1, 65535, 1));
    ASSERT_NE(MemoryHandle{fits}, 0u);
    EXPECT_EQ(Contents(fits)[0], 0xFF);
    EXPECT_EQ(rlStretchBitmap(bits, 1, 2, 1, 65536, 1), 0u);
    EXPECT_EQ(rlStretchBitmap(bits, 1, 2, 1, 65536, 2), 0u);
    uint8_t row[4] = {};
    EXPECT_FALSE(StretchX(row, row, 1, 2, 1, 65536));
}

TEST(Shrink, APositionBeyond16BitsFails) {
    const Block bits(Bytes(size_t{65536} * 4, 0x55));
    const Block fits(rlShrinkBitmap(bits, 8, 1, 65535, 1, 1));
    EXPECT_EQ(Contents(fits), Bytes({0x55, 0, 0, 0}));
    EXPECT_EQ(rlShrinkBitmap(bits, 8, 1, 65536, 1, 1), 0u);
    // Only these two positions have 16 bits.
    const Block wide(rlShrinkBitmap(bits, 8, 131072, 2, 65536, 1));
    EXPECT_NE(MemoryHandle{wide}, 0u);
    const Block high(rlStretchBitmap(bits, 1, 1, 1, 1, 70000));
    EXPECT_NE(MemoryHandle{high}, 0u);
}

TEST(RlShrinkBitmap, GivesNoneWithoutMemory) {
    testing::internal::CaptureStdout();
    const Block bits(Bytes{1, 2, 3, 4});
    for (uint32_t targetHeight : {1u, 3u}) {
        for (int k : {1, 2}) {
            FailingMemory memory(k);
            EXPECT_EQ(rlShrinkBitmap(bits, 8, 4, 1, 2, targetHeight), 0u) << k;
            EXPECT_TRUE(memory.Failed());
        }
    }
    EXPECT_EQ(rlStretchBitmap(bits, 8, 4, 1, 65535, 70000), 0u); // 4.6 thousand million bytes
    testing::internal::GetCapturedStdout();
}

std::string Traced(uint32_t targetWidth, uint32_t targetHeight) {
    const Block bits(Bytes{1, 2, 3, 4});
    testing::internal::CaptureStderr();
    _debug_color_res = 4;
    const Block result(rlShrinkBitmap(bits, 8, 2, 1, targetWidth, targetHeight));
    _debug_color_res = 0;
    return testing::internal::GetCapturedStderr();
}

TEST(RlShrinkBitmap, TracesEveryPixelWritten) {
    EXPECT_EQ(Traced(1, 1), "(0,0): (0,0): "); // the last row is made twice
    EXPECT_EQ(Traced(2, 2), "(0,0): (1,0): "); // the upper row is a copy
    EXPECT_EQ(Traced(3, 1), "(2,0): (1,0): (0,0): (2,0): (1,0): (0,0): ");
}

} // namespace
} // namespace kowen
