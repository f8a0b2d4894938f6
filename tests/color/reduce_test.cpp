#include "color/bitmaps.h"
#include "color/color_resolution.h"
#include "color/pixel.h"
#include "color/reduce.h"
#include "reference/color/dither.h"
#include "reference/color/median_cut.h"
#include "support/failing_memory.h"

#include <string>

namespace kowen {
namespace {

struct Reduced {
    Bytes block;
    uint16_t count;
};

Reduced Reduce(const Bytes &image, uint16_t width, uint16_t height, uint16_t wanted) {
    const Block bits(image);
    const Block table(rlReduceColorTable(bits, width, height, &wanted));
    EXPECT_NE(MemoryHandle{table}, 0u);
    return {Contents(table), wanted};
}

TEST(RlReduceColorTable, FewColoursAreTakenInKeyOrder) {
    const Reduced table = Reduce({255, 255, 255, 7, 7, 7, 0, 200, 9}, 3, 1, 256);
    EXPECT_EQ(table.count, 3);
    EXPECT_EQ(table.block.size(), 768u);
    // Keys 0, 0 25 1 and 31 31 31; 25 x 8 | 7 = 207, 1 x 8 | 7 = 15.
    EXPECT_EQ(Bytes(table.block.begin(), table.block.begin() + 9),
              Bytes({0, 0, 0, 0, 207, 15, 255, 255, 255}));
}

TEST(RlReduceColorTable, ReadsAColourTableWithoutPadding) {
    EXPECT_EQ(Reduce({255, 0, 0, 0, 0, 255}, 2, 1, 4).count, 2);
}

TEST(RlReduceColorTable, AWantedCountOfZeroMakesAnEmptyTable) {
    const Reduced table = Reduce({1, 2, 3}, 1, 1, 0);
    EXPECT_EQ(table.count, 0);
    EXPECT_EQ(table.block, Bytes());
}

TEST(RlReduceColorTable, AnImageWithoutPixelsHasNoColours) {
    EXPECT_EQ(Reduce({}, 0, 9, 16).count, 0);
    EXPECT_EQ(Reduce({}, 9, 0, 16).count, 0);
    uint16_t count = 8;
    const Block table(rlReduceColorTable(0, 0, 1, &count));
    EXPECT_EQ(Contents(table), Bytes(24, 0));
    EXPECT_EQ(count, 0);
}

TEST(RlReduceColorTable, AnImageWithoutAllItsPixelsGivesNone) {
    const Block bits(Bytes(20));
    uint16_t count = 8;
    EXPECT_EQ(rlReduceColorTable(bits, 3, 2, &count), 0u);
    EXPECT_EQ(count, 0);
    count = 8;
    EXPECT_EQ(rlReduceColorTable(0, 3, 2, &count), 0u);
    EXPECT_EQ(count, 0);
}

TEST(RlReduceColorTable, GivesTheColoursOfTheReference) {
    Random random(31);
    for (uint16_t wanted : {1, 2, 3, 8, 16, 248, 256, 1000}) {
        for (const auto &[width, height] : {std::pair<uint16_t, uint16_t>{31, 40}, {301, 260}}) {
            const Bytes image = RandomBitmap(random, width, height, 24);
            const Reduced table = Reduce(image, width, height, wanted);
            Bytes expected = reference::ReduceColours(image, width, height, wanted);
            EXPECT_EQ(table.count, expected.size() / 3);
            expected.resize(size_t{wanted} * 3, 0);
            EXPECT_EQ(table.block, expected) << wanted << ", " << width << " x " << height;
        }
    }
}

TEST(RlReduceColorTable, GivesNoneWithoutMemory) {
    testing::internal::CaptureStdout();
    Random random(32);
    const Block image(RandomBitmap(random, 300, 300, 24));
    int k = 1;
    for (;; ++k) {
        FailingMemory memory(k);
        uint16_t count = 16;
        const Block table(rlReduceColorTable(image, 300, 300, &count));
        if (!memory.Failed())
            break;
        EXPECT_EQ(table, 0u) << k;
        EXPECT_EQ(count, 0) << k;
    }
    EXPECT_EQ(k, 7); // table, context, histogram, boxes, slots and list
    testing::internal::GetCapturedStdout();
}

TEST(RlReduceColorTable, ReportsItsColours) {
    testing::internal::CaptureStderr();
    _debug_color_res = 3;
    Reduce({255, 0, 0, 0, 0, 255}, 2, 1, 4);
    _debug_color_res = 0;
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Color Reduction in Process...24bit -> 4 colors\n"
              "  -new color table size: 2\n"
              "   color 0: [0, 0, 255]\n"
              "   color 1: [255, 0, 0]\n");
}

struct Changed {
    Bytes bitmap;
    Bytes table;
    bool hasTable;
};

// The table that was passed in stays the caller's, as its handle's copy.
Changed Change(const Bytes &bitmap, uint32_t width, uint32_t height, uint16_t from, uint16_t to,
               const Bytes *table) {
    const Block bits(bitmap);
    const Block own = table != nullptr ? Block(*table) : Block();
    MemoryHandle handle = own;
    const Block result(rlChangeColorResolution(bits, width, height, from, to, &handle));
    EXPECT_TRUE(handle == 0 || handle != own) << "the old table came back";
    const Block made(handle);
    return {Contents(result), Contents(made), handle != 0};
}

TEST(RlChangeColorResolution, GrowingClearsTheTableHandle) {
    Bytes table(768, 0);
    table[3] = 11;
    table[4] = 22;
    table[5] = 33;
    const Changed changed = Change({1, 0, 0, 0}, 2, 1, 8, 24, &table);
    EXPECT_EQ(changed.bitmap, Bytes({11, 22, 33, 0, 0, 0, 0, 0}));
    EXPECT_FALSE(changed.hasTable);
}

TEST(RlChangeColorResolution, EqualDepthsKeepTheBytesAndClearTheTableHandle) {
    for (const uint16_t depth : {4, 8}) {
        const int last = (1 << depth) - 1;
        Bytes greys;
        for (int i = 0; i <= last; ++i)
            greys.insert(greys.end(), 3, static_cast<uint8_t>(255 / last * i));
        const Changed changed = Change({0x12, 0x34, 0x56, 0x78}, 4, 1, depth, depth, &greys);
        EXPECT_EQ(changed.bitmap.at(0), 0x12) << depth;
        EXPECT_EQ(changed.bitmap.at(1), 0x34) << depth;
        EXPECT_FALSE(changed.hasTable) << depth;
    }
    const Bytes colours = {1, 2, 3, 4, 5, 6, 0, 0};
    const Changed changed = Change(colours, 2, 1, 24, 24, nullptr);
    EXPECT_EQ(changed.bitmap, colours);
    EXPECT_FALSE(changed.hasTable);
}

TEST(RlChangeColorResolution, ReducesTrueColoursToATableOfTheirOwn) {
    // Keys: blue 31 first, then red 31.
    const Changed changed =
        Change({255, 0, 0, 0, 0, 255, 255, 0, 0, 9, 9, 9}, 3, 1, 24, 8, nullptr);
    EXPECT_EQ(changed.bitmap, Bytes({1, 0, 1, 0}));
    ASSERT_EQ(changed.table.size(), 768u);
    EXPECT_EQ(Bytes(changed.table.begin(), changed.table.begin() + 6),
              Bytes({0, 0, 255, 255, 0, 0}));
}

TEST(RlChangeColorResolution, GivesTheBytesOfTheReference) {
    Random random(33);
    const Bytes image = RandomBitmap(random, 90, 70, 24);
    const Changed changed = Change(image, 90, 70, 24, 8, nullptr);
    const Bytes table = reference::ReduceColours(image, 90, 70, 256);
    EXPECT_EQ(changed.table, table);
    EXPECT_EQ(changed.bitmap,
              reference::ConvertBitmapDepth(image, 90, 70, 24, 8, nullptr, &table, 256));
}

TEST(RlChangeColorResolution, DithersTrueColoursToFewBits) {
    Random random(34);
    const Bytes image = RandomBitmap(random, 40, 30, 24);
    for (uint16_t to : {1, 4}) {
        const Changed changed = Change(image, 40, 30, 24, to, nullptr);
        const reference::Table table = reference::DitherGetCT(image, 40, 30, 24, to, nullptr);
        EXPECT_EQ(changed.table, table.entries);
        EXPECT_EQ(changed.bitmap, reference::DitherGivenCT(image, 40, 30, 24, to, nullptr,
                                                           table.entries, table.count));
    }
}

TEST(RlChangeColorResolution, ReducesTheTableOfAnIndexedSource) {
    // 4 entries stand in the table, 252 are black: 8 to 6 bits leaves 3 colours and black.
    const Bytes table = {255, 0, 0, 0, 255, 0, 0, 0, 255, 255, 0, 0};
    const Changed changed = Change({0, 1, 2, 3}, 4, 1, 8, 6, &table);
    ASSERT_EQ(changed.table.size(), 192u);
    EXPECT_EQ(Bytes(changed.table.begin(), changed.table.begin() + 12),
              Bytes({0, 0, 0, 0, 0, 255, 0, 255, 0, 255, 0, 0}));
    EXPECT_EQ(changed.bitmap, Bytes(4, 0)); // depth 6 is not written
}

TEST(RlChangeColorResolution, A32BitSourceKeepsItsFirstThreeBytes) {
    const Changed changed = Change({1, 2, 3, 4, 5, 6, 7, 8}, 2, 1, 32, 24, nullptr);
    EXPECT_EQ(changed.bitmap, Bytes({1, 2, 3, 5, 6, 7, 0, 0}));
    EXPECT_EQ(changed.table, Bytes());
}

TEST(RlChangeColorResolution, ASourceWithoutAllItsPixelsGivesNone) {
    const Block bits(Bytes(8));
    for (uint16_t to : {1, 4, 8, 32}) {
        MemoryHandle table = 0;
        EXPECT_EQ(rlChangeColorResolution(bits, 3, 1, 24, to, &table), 0u) << to;
        EXPECT_EQ(table, 0u);
    }
}

} // namespace
} // namespace kowen
