#include "color/nearest_finder.h"

#include "color/bitmaps.h"
#include "color/quick_cells.h"
#include "support/failing_memory.h"

#include <string>

namespace kowen {
namespace {

constexpr uint64_t kFew = 100;
constexpr uint64_t kMany = 10000;
constexpr uint64_t kVeryMany = 1000000;

struct Rgb {
    uint8_t red, green, blue;
};

// A third of them near grey, where the two kinds of requests meet.
Rgb RandomColor(Random &random) {
    Rgb color = {random.Byte(), random.Byte(), random.Byte()};
    if (random.Below(3) == 0) {
        color.green = static_cast<uint8_t>(color.red + random.Below(9) - 4);
        color.blue = static_cast<uint8_t>(color.red + random.Below(9) - 4);
    }
    return color;
}

uint32_t Find(NearestFinder *finder, Rgb c) {
    switch (finder->cellBits) {
    case 6:
        return FindNearest<6>(finder, c.red, c.green, c.blue);
    case 5:
        return FindNearest<5>(finder, c.red, c.green, c.blue);
    default:
        return FindNearest<0>(finder, c.red, c.green, c.blue);
    }
}

std::string Text(Rgb c) {
    return std::to_string(c.red) + ", " + std::to_string(c.green) + ", " + std::to_string(c.blue);
}

void CompareWithPlainSearch(NearestFinder *finder, const Bytes &table, Random &random, int times) {
    for (int i = 0; i < times; ++i) {
        const Rgb c = RandomColor(random);
        const uint32_t expected = reference::NearestRGBIndex(c.red, c.green, c.blue, table, 65535);
        ASSERT_EQ(Find(finder, c), expected) << Text(c) << ", " << table.size() / 3 << " entries";
    }
}

ColorTable View(const Bytes &table) {
    return {table.data(), static_cast<uint32_t>(table.size() / 3)};
}

TEST(FindNearest, AnswersAsThePlainSearch) {
    Random random(11);
    for (uint32_t entries : {0u, 1u, 2u, 3u, 8u, 16u, 40u, 256u, 300u}) {
        for (uint64_t searches : {kFew, kMany, kVeryMany}) {
            const Bytes table = RandomTable(random, entries);
            NearestFinder finder;
            OpenFinder(&finder, View(table), searches);
            EXPECT_EQ(finder.cellBits, searches == kFew                      ? 0
                                       : searches == kMany || entries <= 32u ? 5
                                                                             : 6);
            CompareWithPlainSearch(&finder, table, random, 4000);
            CloseFinder(&finder);
        }
    }
}

TEST(FindNearest, AnswersAsThePlainSearchWithEntriesOnALattice) {
    // Quantised colours lie on steps of eight: many searches are equally near to several.
    Random random(12);
    for (uint32_t entries : {16u, 256u}) {
        Bytes table(size_t{entries} * 3);
        for (uint8_t &channel : table)
            channel = static_cast<uint8_t>(random.Below(5) * 8 + 103);
        for (uint64_t searches : {kMany, kVeryMany}) {
            NearestFinder finder;
            OpenFinder(&finder, View(table), searches);
            for (int i = 0; i < 20000; ++i) {
                const Rgb c = {static_cast<uint8_t>(95 + random.Below(60)),
                               static_cast<uint8_t>(95 + random.Below(60)),
                               static_cast<uint8_t>(95 + random.Below(60))};
                ASSERT_EQ(Find(&finder, c),
                          reference::NearestRGBIndex(c.red, c.green, c.blue, table, 65535))
                    << Text(c);
            }
            CloseFinder(&finder);
        }
    }
}

TEST(FindNearest, AnswersAsThePlainSearchWithOneKindOfEntriesOnly) {
    Random random(13);
    const Bytes greys = {9, 9, 9, 200, 200, 200, 9, 9, 9};
    const Bytes colors = {255, 0, 0, 0, 255, 0, 7, 8, 7};
    for (const Bytes &table : {greys, colors}) {
        NearestFinder finder;
        OpenFinder(&finder, View(table), kMany);
        CompareWithPlainSearch(&finder, table, random, 4000);
        CloseFinder(&finder);
    }
}

TEST(FindNearest, BeginsAnewWhenItsRoomIsFull) {
    Random random(14);
    const Bytes table = RandomTable(random, 256);
    NearestFinder finder;
    OpenFinder(&finder, View(table), kVeryMany);
    for (int i = 0; i < 200000; ++i) {
        const Rgb c = RandomColor(random);
        Find(&finder, c);
    }
    EXPECT_GT(finder.beginnings, 0u);
    CompareWithPlainSearch(&finder, table, random, 20000);
    CloseFinder(&finder);
}

TEST(OpenFinder, HasRoomForAllListsOfOneLeafOfTheLargestTable) {
    Bytes colors(size_t{65535} * 3); // each another one, and none grey
    for (size_t i = 0; i < 65535; ++i) {
        colors[3 * i] = static_cast<uint8_t>(1 + i % 255);
        colors[3 * i + 1] = static_cast<uint8_t>(i / 255);
    }
    NearestFinder finder;
    OpenFinder(&finder, View(colors), kVeryMany);
    ASSERT_NE(finder.block, 0u);
    const uint32_t longest = 1u + finder.candidates[1].index;
    EXPECT_EQ(longest, 65536u);
    EXPECT_GE(finder.candidatesRoom - finder.candidatesUsed,
              static_cast<uint32_t>(finder.levelCount + 1) * longest);
    CloseFinder(&finder);
}

TEST(OpenFinder, SearchesPlainlyWithoutMemory) {
    testing::internal::CaptureStdout();
    Random random(15);
    const Bytes table = RandomTable(random, 50);
    FailingMemory memory(1);
    NearestFinder finder;
    OpenFinder(&finder, View(table), kMany);
    EXPECT_TRUE(memory.Failed());
    EXPECT_EQ(finder.cellBits, 0);
    CompareWithPlainSearch(&finder, table, random, 100);
    CloseFinder(&finder);
    testing::internal::GetCapturedStdout();
}

uint64_t Pixel(Rgb c) {
    return uint64_t{c.red} | uint64_t{c.green} << 16 | uint64_t{c.blue} << 32;
}

TEST(FindInCells, AnswersAsThePlainSearch) {
    Random random(16);
    for (uint32_t entries : {1u, 2u, 8u, 16u, 55u}) {
        const Bytes table = RandomTable(random, entries);
        NearestFinder finder;
        QuickCells cells;
        OpenFinder(&finder, View(table), kMany);
        OpenQuickCells(&cells, &finder);
        ASSERT_NE(cells.block, 0u);
        for (int i = 0; i < 30000; ++i) {
            const Rgb c = RandomColor(random);
            // Whatever stands in the highest lane is not looked at.
            const uint64_t pixel = Pixel(c) | uint64_t{random.Byte()} << 48;
            ASSERT_EQ(FindInCells(&cells, pixel),
                      reference::NearestRGBIndex(c.red, c.green, c.blue, table, 65535))
                << Text(c) << ", " << entries << " entries";
        }
        CloseQuickCells(&cells);
        CloseFinder(&finder);
    }
}

TEST(FindInCells, ForgetsItsKindsWithTheFindersPlanes) {
    Random random(17);
    const Bytes table = RandomTable(random, 30);
    NearestFinder finder;
    QuickCells cells;
    OpenFinder(&finder, View(table), kMany);
    finder.candidatesRoom = 400; // so that the finder begins anew often
    OpenQuickCells(&cells, &finder);
    for (int i = 0; i < 60000; ++i) {
        const Rgb c = RandomColor(random);
        ASSERT_EQ(FindInCells(&cells, Pixel(c)),
                  reference::NearestRGBIndex(c.red, c.green, c.blue, table, 65535))
            << Text(c);
    }
    EXPECT_GT(finder.beginnings, 1u);
    CloseQuickCells(&cells);
    CloseFinder(&finder);
}

TEST(OpenQuickCells, DoNotServeForLargeTablesOrWithoutMemory) {
    testing::internal::CaptureStdout();
    Random random(18);
    const Bytes large = RandomTable(random, 56);
    const Bytes small = RandomTable(random, 16);
    NearestFinder finder;
    QuickCells cells;
    OpenFinder(&finder, View(large), kMany);
    OpenQuickCells(&cells, &finder);
    EXPECT_EQ(cells.block, 0u);
    CloseFinder(&finder);
    OpenFinder(&finder, View(small), kMany);
    {
        FailingMemory memory(1);
        OpenQuickCells(&cells, &finder);
    }
    EXPECT_EQ(cells.block, 0u);
    CloseQuickCells(&cells);
    CloseFinder(&finder);
    testing::internal::GetCapturedStdout();
}

} // namespace
} // namespace kowen
