#include "color/depth.h"

#include "color/bitmaps.h"
#include "color/pixel.h"
#include "support/failing_memory.h"

#include <string>

namespace kowen {
namespace {

constexpr uint16_t kDepths[] = {1, 4, 8, 24, 32};
constexpr uint16_t kAllDepths[] = {0, 1, 2, 3, 4, 5, 7, 8, 9, 16, 17, 24, 25, 32, 33, 200};

Bytes Converted(const Bytes &bitmap, uint32_t width, uint32_t height, uint16_t from, uint16_t to,
                const Bytes *fromTable, const Bytes *toTable, uint32_t count) {
    const Block bits(bitmap);
    const Block source = fromTable != nullptr ? Block(*fromTable) : Block();
    const Block target = toTable != nullptr ? Block(*toTable) : Block();
    const Block result(rlConvertBitmapDepth(bits, width, height, from, to, source, target, count));
    EXPECT_NE(MemoryHandle{result}, 0u);
    return Contents(result);
}

// Every combination of tables for one pair of depths.
void CompareWithReference(Random &random, uint32_t width, uint32_t height, uint16_t from,
                          uint16_t to) {
    const Bytes bitmap = RandomBitmap(random, width, height, from);
    const uint32_t sourceEntries = from <= 8 ? 1u << from : 20;
    const Bytes whole = RandomTable(random, sourceEntries);
    const Bytes part = RandomTable(random, random.Below(sourceEntries));
    const uint32_t targetEntries = 1 + random.Below(to <= 8 ? 1u << to : 300);
    const Bytes target = RandomTable(random, targetEntries);
    for (const Bytes *fromTable : {static_cast<const Bytes *>(nullptr), &whole, &part}) {
        for (const Bytes *toTable : {static_cast<const Bytes *>(nullptr), &target}) {
            for (uint32_t count : {targetEntries, targetEntries / 2, targetEntries + 7}) {
                EXPECT_EQ(Converted(bitmap, width, height, from, to, fromTable, toTable, count),
                          reference::ConvertBitmapDepth(bitmap, width, height, from, to, fromTable,
                                                        toTable, count))
                    << from << " to " << to << ", " << width << " x " << height << ", count "
                    << count << (fromTable == &part ? ", short source table" : "");
            }
        }
    }
}

TEST(RlConvertBitmapDepth, GivesTheBytesOfTheReference) {
    Random random(1);
    for (uint16_t from : kAllDepths)
        for (uint16_t to : kAllDepths)
            for (uint32_t width : {1u, 2u, 7u, 8u, 9u, 31u, 33u})
                CompareWithReference(random, width, 1 + random.Below(4), from, to);
}

TEST(RlConvertBitmapDepth, GivesTheBytesOfTheReferenceOnLongRows) {
    Random random(2);
    for (uint16_t from : kDepths)
        for (uint16_t to : kDepths)
            CompareWithReference(random, 2051, 3, from, to);
}

// More colours than are remembered, and colours that come again.
TEST(RlConvertBitmapDepth, GivesTheBytesOfTheReferenceOnLargePictures) {
    Random random(3);
    constexpr uint32_t kWidth = 1026, kHeight = 260;
    for (uint16_t from : {24, 32}) {
        Bytes bitmap = RandomBitmap(random, kWidth, kHeight, from);
        for (size_t i = bitmap.size() / 3; i < bitmap.size(); ++i)
            bitmap[i] &= 0xE1;
        for (uint32_t entries : {12u, 256u}) {
            const Bytes table = RandomTable(random, entries);
            EXPECT_TRUE(Converted(bitmap, kWidth, kHeight, from, 8, nullptr, &table, entries) ==
                        reference::ConvertBitmapDepth(bitmap, kWidth, kHeight, from, 8, nullptr,
                                                      &table, entries))
                << from << ", " << entries;
        }
    }
}

const Bytes kTwoColours = {10, 20, 30, 200, 100, 50};

TEST(RlConvertBitmapDepth, ExpandsIndicesThroughTheSourcesTable) {
    EXPECT_EQ(Converted({0x40, 0, 0, 0}, 2, 1, 1, 24, &kTwoColours, nullptr, 0),
              Bytes({10, 20, 30, 200, 100, 50, 0, 0}));
}

TEST(RlConvertBitmapDepth, AMapTo32BitsHoldsIndices) {
    EXPECT_EQ(Converted({0x40, 0, 0, 0}, 2, 1, 1, 32, &kTwoColours, nullptr, 0),
              Bytes({0, 0, 0, 0, 0, 0, 0, 1}));
    EXPECT_EQ(Converted({0x40, 0, 0, 0}, 2, 1, 1, 32, &kTwoColours, &kTwoColours, 2),
              Bytes({10, 20, 30, 0, 200, 100, 50, 0}));
}

TEST(RlConvertBitmapDepth, AColourThatIsNoIndexOfTheTargetsTableIsBlack) {
    // The map holds the pixel values 0x0A141E00 and 0xC8643200.
    EXPECT_EQ(Converted({0x40, 0, 0, 0}, 2, 1, 1, 24, &kTwoColours, &kTwoColours, 2), Bytes(8, 0));
    // Black is 0, and 0 is an index.
    const Bytes black = {0, 0, 0, 0, 0, 0};
    EXPECT_EQ(Converted({0, 0, 0, 0}, 1, 1, 1, 24, &black, &kTwoColours, 2),
              Bytes({10, 20, 30, 0}));
}

TEST(RlConvertBitmapDepth, A32BitSourceKeepsItsFirstThreeBytes) {
    EXPECT_EQ(Converted({1, 2, 3, 4, 5, 6, 7, 8}, 2, 1, 32, 24, nullptr, nullptr, 0),
              Bytes({1, 2, 3, 5, 6, 7, 0, 0}));
    EXPECT_EQ(Converted({1, 2, 3, 4, 5, 6, 7, 8}, 2, 1, 32, 24, nullptr, &kTwoColours, 2),
              Bytes({1, 2, 3, 5, 6, 7, 0, 0}));
}

TEST(RlConvertBitmapDepth, A24BitSourceGetsAZeroByte) {
    EXPECT_EQ(Converted({1, 2, 3, 5, 6, 7, 9, 9}, 2, 1, 24, 32, nullptr, nullptr, 0),
              Bytes({1, 2, 3, 0, 5, 6, 7, 0}));
}

TEST(RlConvertBitmapDepth, TrueColoursBecomeTheNearestIndex) {
    const Bytes table = {0, 0, 0, 255, 255, 255, 255, 0, 0, 0, 0, 255};
    const Bytes bitmap = {9, 9, 9, 200, 10, 10, 250, 252, 249, 1, 2, 130}; // four pixels
    EXPECT_EQ(Converted(bitmap, 4, 1, 24, 8, nullptr, &table, 4), Bytes({0, 2, 1, 3}));
    EXPECT_EQ(Converted(bitmap, 4, 1, 24, 4, nullptr, &table, 4), Bytes({0x02, 0x13, 0, 0}));
    EXPECT_EQ(Converted(bitmap, 4, 1, 24, 1, nullptr, &table, 4), Bytes({0x30, 0, 0, 0}));
    EXPECT_EQ(Converted(bitmap, 4, 1, 24, 8, nullptr, &table, 3), Bytes({0, 2, 1, 2}));
}

TEST(RlConvertBitmapDepth, EntriesThatTheSourcesTableLacksAreBlack) {
    const Bytes one = {10, 20, 30};
    EXPECT_EQ(Converted({0, 1, 255, 0}, 4, 1, 8, 24, &one, nullptr, 0),
              Bytes({10, 20, 30, 0, 0, 0, 0, 0, 0, 10, 20, 30}));
}

TEST(RlConvertBitmapDepth, EntriesThatTheTargetsTableLacksAreNotFound) {
    const Bytes one = {255, 0, 0};
    EXPECT_EQ(Converted({0, 255, 0, 0}, 1, 1, 24, 8, nullptr, &one, 256), Bytes(4, 0));
    const Block bits(Bytes{0, 255, 0, 0}), empty(Bytes{});
    const Block result(rlConvertBitmapDepth(bits, 1, 1, 24, 8, 0, empty, 256));
    EXPECT_EQ(Contents(result), Bytes(4, 0));
}

TEST(RlConvertBitmapDepth, ASourceWithoutAllItsPixelsGivesNone) {
    const Block bits(Bytes(8));
    EXPECT_EQ(rlConvertBitmapDepth(bits, 3, 1, 24, 8, 0, 0, 0), 0u);
    EXPECT_EQ(rlConvertBitmapDepth(0, 3, 1, 24, 8, 0, 0, 0), 0u);
    EXPECT_EQ(rlConvertBitmapDepth(bits, 0xFFFFFFFF, 0xFFFFFFFF, 24, 8, 0, 0, 0), 0u);
    const Block unpadded(Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9});
    const Block result(rlConvertBitmapDepth(unpadded, 3, 1, 24, 24, 0, 0, 0));
    EXPECT_EQ(Contents(result), Bytes({1, 2, 3, 4, 5, 6, 7, 8, 9, 0, 0, 0}));
}

TEST(RlConvertBitmapDepth, AnEmptyBitmapStaysEmpty) {
    const Block bits(Bytes{});
    const Block wide(rlConvertBitmapDepth(bits, 7, 0, 8, 24, 0, 0, 0));
    const Block high(rlConvertBitmapDepth(0, 0, 7, 24, 8, 0, 0, 0));
    EXPECT_NE(MemoryHandle{wide}, 0u);
    EXPECT_NE(MemoryHandle{high}, 0u);
    EXPECT_EQ(GlobalSize(wide) + GlobalSize(high), 0u);
}

// As many rows as there can be, none of which has a byte: converting them ends at once.
TEST(RlConvertBitmapDepth, RowsWithoutBytesAreNotConvertedOneByOne) {
    const Block bits(Bytes{1, 2, 3, 4});
    const Block noColumns(rlConvertBitmapDepth(bits, 0, 0xFFFFFFFF, 8, 24, 0, 0, 0));
    const Block noDepth(rlConvertBitmapDepth(bits, 0xFFFFFFFF, 0xFFFFFFFF, 0, 0, 0, 0, 0));
    EXPECT_NE(MemoryHandle{noColumns}, 0u);
    EXPECT_NE(MemoryHandle{noDepth}, 0u);
    EXPECT_EQ(GlobalSize(noColumns) + GlobalSize(noDepth), 0u);
}

TEST(RlConvertBitmapDepth, ATargetBeyond32BitsGivesNone) {
    testing::internal::CaptureStdout();
    const Block bits(Bytes(131072)); // 2^20 pixels of one bit; with 65532 bits they take 8 GB
    EXPECT_EQ(rlConvertBitmapDepth(bits, 128, 8192, 1, 65532, 0, 0, 0), 0u);
    testing::internal::GetCapturedStdout();
}

TEST(RlConvertBitmapDepth, GivesNoneWithoutMemory) {
    testing::internal::CaptureStdout();
    const Block bits(Bytes{9, 9, 9, 0}), indexed(Bytes{1, 0, 0, 0});
    const Block table(kTwoColours);
    {
        FailingMemory memory(1); // the bitmap
        EXPECT_EQ(rlConvertBitmapDepth(bits, 1, 1, 24, 4, 0, table, 2), 0u);
    }
    {
        FailingMemory memory(2); // the entries that the source's table lacks
        EXPECT_EQ(rlConvertBitmapDepth(indexed, 1, 1, 8, 4, table, table, 2), 0u);
    }
    testing::internal::GetCapturedStdout();
}

// What is printed at a level while two pixels of one bit become bytes.
std::string Printed(int16_t level) {
    testing::internal::CaptureStderr();
    _debug_color_res = level;
    Converted({0x40, 0, 0, 0, 0, 0, 0, 0}, 2, 2, 1, 8, &kTwoColours, nullptr, 0);
    _debug_color_res = 0;
    return testing::internal::GetCapturedStderr();
}

TEST(RlConvertBitmapDepth, ReportsByLevel) {
    const std::string start = "Allocated 8 bytes of new memory for the destination bitmap\n";
    const std::string end = "\nColor resolution conversion complete\n";
    const std::string dots = "Converted bits. Each (.) represents one scan line\n..";
    EXPECT_EQ(Printed(0), "");
    EXPECT_EQ(Printed(1), start + dots + end);
    EXPECT_EQ(Printed(2), start + dots + end);
    EXPECT_EQ(Printed(3), start + end);
    EXPECT_EQ(Printed(4), start + "(0,0): (1,0): (0,1): (1,1): " + end);
    EXPECT_EQ(Printed(-1), start + end);
}

std::vector<uint32_t> IndexMap(const Bytes *fromTable, uint16_t from, const Bytes *toTable,
                               uint16_t to, uint32_t count) {
    const Block map(rlBuildColormap(fromTable ? fromTable->data() : nullptr, from,
                                    toTable ? toTable->data() : nullptr, to, count));
    std::vector<uint32_t> entries(GlobalSize(map) / 4);
    if (!entries.empty())
        std::memcpy(entries.data(), GlobalLock(map), GlobalSize(map));
    return entries;
}

using Entries = std::vector<uint32_t>;

TEST(RlBuildColormap, MapsToTheNearestIndex) {
    const Bytes target = {0, 0, 0, 190, 90, 60, 0, 50, 60};
    EXPECT_EQ(IndexMap(&kTwoColours, 1, &target, 8, 3), Entries({2, 1}));
    EXPECT_EQ(IndexMap(&kTwoColours, 1, &target, 8, 2), Entries({1, 1}));
}

TEST(RlBuildColormap, MapsToColoursFor24Bits) {
    EXPECT_EQ(IndexMap(&kTwoColours, 1, &kTwoColours, 24, 2), Entries({0x0A141E00, 0xC8643200}));
    EXPECT_EQ(IndexMap(&kTwoColours, 1, nullptr, 24, 0), Entries({0x0A141E00, 0xC8643200}));
}

TEST(RlBuildColormap, MapsOntoTheSourcesTableWhenTheDepthDoesNotShrink) {
    const Bytes twice = {10, 20, 30, 10, 20, 30};
    EXPECT_EQ(IndexMap(&kTwoColours, 1, nullptr, 1, 0), Entries({0, 1}));
    EXPECT_EQ(IndexMap(&kTwoColours, 1, nullptr, 32, 0), Entries({0, 1}));
    EXPECT_EQ(IndexMap(&twice, 1, nullptr, 8, 0), Entries({0, 0}));
}

TEST(RlBuildColormap, StaysZeroWhenATableIsMissing) {
    const Bytes sixteen(48, 77);
    EXPECT_EQ(IndexMap(&sixteen, 4, nullptr, 1, 2), Entries(16, 0));
    EXPECT_EQ(IndexMap(nullptr, 1, &kTwoColours, 8, 2), Entries(2, 0));
    EXPECT_EQ(IndexMap(nullptr, 1, nullptr, 24, 0), Entries(2, 0));
}

TEST(RlBuildColormap, IsNoneForDeepSources) {
    for (uint16_t from : {17, 24, 31, 32, 33, 65535})
        EXPECT_EQ(rlBuildColormap(kTwoColours.data(), from, kTwoColours.data(), 8, 2), 0u) << from;
    EXPECT_EQ(IndexMap(nullptr, 16, nullptr, 8, 0).size(), 65536u);
}

TEST(RlBuildColormap, IsNoneWithoutMemory) {
    testing::internal::CaptureStdout();
    FailingMemory memory(1);
    EXPECT_EQ(rlBuildColormap(kTwoColours.data(), 1, kTwoColours.data(), 8, 2), 0u);
    testing::internal::GetCapturedStdout();
}

TEST(RlFreeColormap, AnswersZero) {
    EXPECT_EQ(rlFreeColormap(rlBuildColormap(nullptr, 1, nullptr, 8, 0)), 0);
    EXPECT_EQ(rlFreeColormap(0), 0);
}

} // namespace
} // namespace kowen
