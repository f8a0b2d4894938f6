#include "color/dither.h"

#include "color/bitmaps.h"
#include "color/depth.h"
#include "color/pixel.h"
#include "reference/color/dither.h"
#include "support/failing_memory.h"

#include <string>

namespace kowen {
namespace {

const Bytes kBlackAndWhite = {0, 0, 0, 255, 255, 255};

struct Lines {
    Bytes current;
    Bytes next;
};

Lines Dithered(Bytes current, Bytes next, const Bytes &table) {
    _rlDitherOneLine(current.data(), next.empty() ? nullptr : next.data(), table.data(),
                     static_cast<uint32_t>(current.size() / 3),
                     static_cast<uint16_t>(table.size() / 3));
    return {current, next};
}

Bytes Greys(const std::vector<int> &greys) {
    Bytes row;
    for (int grey : greys)
        row.insert(row.end(), 3, static_cast<uint8_t>(grey));
    return row;
}

// Three greys of 100 above three greys of 100.
// 100 is black, error 100: q = 12, s = 43 (43.75). Right 100 + 43 = 143; below 100 + 43 - 12 = 131;
// below right 100 + 43 - 36 = 107.
// 143 is white, error -112: q = -14, s = -49. Right 51; below 107 - 49 + 14 = 72; below left
// 131 - 49 + 28 = 110; below right 100 - 49 + 42 = 93.
// The third pixel is the last one: white as its neighbour, and its error is lost.
TEST(RlDitherOneLine, SpreadsErrorsInIntegers) {
    const Lines lines = Dithered(Greys({100, 100, 100}), Greys({100, 100, 100}), kBlackAndWhite);
    EXPECT_EQ(lines.current, Greys({0, 255, 255}));
    EXPECT_EQ(lines.next, Greys({110, 72, 93}));
}

// As above; but 250 + 31 is limited to 255 before 21 is taken off, and 10 - 35 to 0.
TEST(RlDitherOneLine, EverySumIsLimited) {
    const Lines lines = Dithered(Greys({100, 100, 100}), Greys({250, 3, 2}), kBlackAndWhite);
    EXPECT_EQ(lines.next, Greys({234, 0, 0}));
}

TEST(RlDitherOneLine, SumsToTheRightAreLimited) {
    // 120 is black, s = 52: 220 + 52 stays 255, which is white without an error: 9 stays.
    const Lines up = Dithered(Greys({120, 220, 9, 0}), {}, kBlackAndWhite);
    EXPECT_EQ(up.current, Greys({0, 255, 0, 0}));
    // 130 is white, error -125, s = -54: 3 - 54 stays 0.
    const Lines down = Dithered(Greys({130, 3, 140, 0}), {}, kBlackAndWhite);
    EXPECT_EQ(down.current, Greys({255, 0, 255, 255}));
}

TEST(RlDitherOneLine, ChannelsAreSpreadApart) {
    // Table red and black; (200, 20, 0) is red: error (-55, 20, 0), q = (-6, 2, 0),
    // s = (-24, 8, 0). Below + s - q, below right + s - 3 q.
    const Lines lines =
        Dithered({200, 20, 0, 1, 1, 1}, {50, 50, 50, 50, 50, 50}, {255, 0, 0, 0, 0, 0});
    EXPECT_EQ(lines.current, Bytes({255, 0, 0, 255, 0, 0}));
    EXPECT_EQ(lines.next, Bytes({32, 56, 50, 44, 52, 50}));
}

TEST(RlDitherOneLine, AnExactColourSpreadsNoError) {
    const Lines lines = Dithered(Greys({255, 0, 255, 7}), Greys({9, 8, 7, 6}), kBlackAndWhite);
    EXPECT_EQ(lines.current, Greys({255, 0, 255, 255}));
    EXPECT_EQ(lines.next, Greys({9, 8, 7, 6}));
}

TEST(RlDitherOneLine, TheLastPixelTakesItsLeftNeighboursColour) {
    EXPECT_EQ(Dithered(Greys({255, 0}), {}, kBlackAndWhite).current, Greys({255, 255}));
    EXPECT_EQ(Dithered(Greys({0, 255}), {}, kBlackAndWhite).current, Greys({0, 0}));
}

TEST(RlDitherOneLine, ARowOfOneTakesEntryZero) {
    const Lines lines = Dithered(Greys({0}), Greys({77}), {255, 255, 255, 0, 0, 0});
    EXPECT_EQ(lines.current, Greys({255}));
    EXPECT_EQ(lines.next, Greys({77}));
}

TEST(RlDitherOneLine, AnEmptyTableIsBlack) {
    // Error 100 as above: 100 + 43 = 143 is not searched, being the last.
    const Lines lines = Dithered(Greys({100, 100}), Greys({100, 100}), {});
    EXPECT_EQ(lines.current, Greys({0, 0}));
    EXPECT_EQ(lines.next, Greys({131, 107}));
}

TEST(RlDitherOneLine, AnEmptyRowIsNotTouched) {
    uint8_t current[] = {1, 2, 3}, next[] = {4, 5, 6};
    _rlDitherOneLine(current, next, kBlackAndWhite.data(), 0, 2);
    EXPECT_EQ(Bytes(current, current + 3), Bytes({1, 2, 3}));
    EXPECT_EQ(Bytes(next, next + 3), Bytes({4, 5, 6}));
}

TEST(RlDitherOneLine, HandsOnWhatTheReferenceGathers) {
    Random random(41);
    for (int round = 0; round < 200; ++round) {
        const uint32_t width = 1 + random.Below(60);
        const Bytes table = RandomTable(random, random.Below(round % 3 == 0 ? 300 : 17));
        const Lines rows = {RandomBytes(random, size_t{width} * 3),
                            RandomBytes(random, size_t{width} * 3)};
        const reference::DitheredRow expected =
            reference::DitherRow(rows.current, table, static_cast<uint32_t>(table.size() / 3));
        const Lines lines = Dithered(rows.current, rows.next, table);
        EXPECT_EQ(lines.current, expected.colours) << width;
        EXPECT_EQ(lines.next, reference::WithErrors(rows.next, expected.errors)) << width;
    }
}

Bytes DitheredTo(const Bytes &bitmap, uint32_t width, uint32_t height, uint16_t from, uint16_t to,
                 const Bytes &palette, const Bytes &table, uint16_t count) {
    const Block bits(bitmap), colours(palette), target(table);
    const Block result(rlDitherGivenCT(bits, width, height, from, to, colours, target, count));
    EXPECT_NE(MemoryHandle{result}, 0u);
    return Contents(result);
}

TEST(RlDitherGivenCT, DithersRowByRow) {
    // The first row as above. The second, 110 72 93: 110 is black, s = 48, so 72 + 48 = 120 is
    // black, and so is the last.
    Bytes bitmap = Greys({100, 100, 100});
    bitmap.insert(bitmap.end(), {0xEE, 0xEE, 0xEE}); // padding
    const Bytes second = bitmap;
    bitmap.insert(bitmap.end(), second.begin(), second.end());
    EXPECT_EQ(DitheredTo(bitmap, 3, 2, 24, 4, {}, kBlackAndWhite, 2),
              Bytes({0x01, 0x10, 0, 0, 0x00, 0x00, 0, 0}));
}

TEST(RlDitherGivenCT, GivesTheBytesOfTheReference) {
    Random random(5);
    for (uint16_t from : {1, 4, 8, 24, 32}) {
        for (uint16_t to : {1, 2, 3, 4, 7, 8, 24, 32}) {
            for (int round = 0; round < 12; ++round) {
                const uint32_t width = 1 + random.Below(round < 9 ? 40 : 400);
                const uint32_t height = 1 + random.Below(12);
                const Bytes bitmap = RandomBitmap(random, width, height, from);
                const Bytes palette = RandomTable(random, from <= 8 ? 1u << from : 1);
                const auto count = static_cast<uint16_t>(random.Below(round % 4 == 0 ? 400 : 18));
                const Bytes table = RandomTable(random, count);
                EXPECT_EQ(DitheredTo(bitmap, width, height, from, to, palette, table, count),
                          reference::DitherGivenCT(bitmap, width, height, from, to, &palette, table,
                                                   count))
                    << from << " to " << to << ", " << width << " x " << height << ", " << count
                    << " colours";
            }
        }
    }
}

TEST(RlDitherGivenCT, OneBitWithoutGreysInTheTable) {
    // Every grey request finds entry 0, a colour, whose errors differ by channel. The grey of
    // (0, 100, 0) is 60: error (-140, 50, 20), s = (-61, 21, 8). The pixel to the right is black
    // and becomes (0, 21, 8), which is no grey and nearest to entry 1. The last takes that too.
    const Bytes table = {200, 10, 40, 0, 20, 0};
    const Bytes bitmap = {0, 100, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(DitheredTo(bitmap, 3, 1, 24, 1, {}, table, 2), Bytes({0x60, 0, 0, 0}));
}

TEST(RlDitherGivenCT, OneBitLooksAtMoreThan256Entries) {
    // 256 blacks, then two whites: index 256, whose lowest bit is 0, is the first white, so that
    // all bits are 0. With one black fewer it is index 255.
    Bytes table(256 * 3, 0);
    table.insert(table.end(), 6, 255);
    const Bytes bitmap = {255, 255, 255, 255, 255, 255, 0, 0};
    EXPECT_EQ(DitheredTo(bitmap, 2, 1, 24, 1, {}, table, 258), Bytes({0, 0, 0, 0}));
    table.erase(table.begin(), table.begin() + 3);
    EXPECT_EQ(DitheredTo(bitmap, 2, 1, 24, 1, {}, table, 257), Bytes({0xC0, 0, 0, 0}));
}

TEST(RlDitherGivenCT, ATableThatIsNoneOrTooShortIsNotReadPastItsEnd) {
    const Bytes bitmap = {200, 10, 10, 250, 252, 249, 1, 2, 3, 0, 0, 0};
    const Block bits(bitmap);
    const Block none(rlDitherGivenCT(bits, 3, 1, 24, 8, 0, 0, 16));
    EXPECT_EQ(Contents(none), Bytes(4, 0));
    EXPECT_EQ(DitheredTo(bitmap, 3, 1, 24, 8, {}, {255, 0, 0}, 16), Bytes(4, 0));
    EXPECT_EQ(DitheredTo(bitmap, 3, 1, 24, 8, {}, {255, 0, 0}, 0), Bytes(4, 0));
}

TEST(RlDitherGivenCT, ASourceWithoutAllItsPixelsGivesNone) {
    const Block bits(Bytes(8)), table(kBlackAndWhite);
    EXPECT_EQ(rlDitherGivenCT(bits, 3, 1, 24, 1, 0, table, 2), 0u);
    EXPECT_EQ(rlDitherGivenCT(bits, 9, 1, 8, 1, 0, table, 2), 0u);
    EXPECT_EQ(rlDitherGivenCT(0, 3, 1, 24, 1, 0, table, 2), 0u);
    uint16_t count = 9;
    MemoryHandle chosen = 0;
    EXPECT_EQ(rlDitherGetCT(bits, 3, 1, 24, 1, 0, &chosen, &count), 0u);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(rlDitherBitmap(bits, 3, 1, 24, 4, 0, &chosen), 0u);
    EXPECT_EQ(chosen, 0u);
}

TEST(RlDitherGivenCT, AnEmptyBitmapStaysEmpty) {
    const Block bits(Bytes{}), table(kBlackAndWhite);
    const Block wide(rlDitherGivenCT(bits, 7, 0, 24, 1, 0, table, 2));
    const Block high(rlDitherGivenCT(bits, 0, 7, 24, 4, 0, table, 2));
    EXPECT_NE(MemoryHandle{wide}, 0u);
    EXPECT_NE(MemoryHandle{high}, 0u);
    EXPECT_EQ(GlobalSize(wide) + GlobalSize(high), 0u);
}

// As many rows as there can be, none of which has a byte: dithering them ends at once.
TEST(RlDitherGivenCT, RowsWithoutBytesAreNotDitheredOneByOne) {
    const Block bits(Bytes{1, 2, 3, 4}), table(kBlackAndWhite);
    const Block result(rlDitherGivenCT(bits, 0, 0xFFFFFFFF, 24, 1, 0, table, 2));
    EXPECT_NE(MemoryHandle{result}, 0u);
    EXPECT_EQ(GlobalSize(result), 0u);
}

const Bytes kMonoTable = {0,   0,   0,   255, 255, 255, 64,  64,  64,  128, 128, 128,
                          160, 160, 160, 192, 192, 192, 208, 208, 208, 224, 224, 224};
const Bytes kMustHaves = {255, 255, 255, 255, 255, 0, 255, 0, 255, 0, 255, 255,
                          255, 0,   0,   0,   255, 0, 0,   0, 255, 0, 0,   0};

TEST(RlDitherBitmap, OneBitKeepsTheLowestBitOfTheGreysIndex) {
    // (100, 110, 90) has the grey (300 + 660 + 90) / 10 = 105: nearest is 128, index 3, bit 1.
    // (64, 64, 64) is index 2, bit 0. Second pixels are the last ones.
    const Block dark(Bytes{64, 64, 64, 0, 0, 0, 0, 0}), mid(Bytes{100, 110, 90, 0, 0, 0, 0, 0});
    MemoryHandle table = 0;
    const Block first(rlDitherBitmap(mid, 2, 1, 24, 1, 0, &table));
    const Block mono(table);
    EXPECT_EQ(Contents(mono), kMonoTable);
    EXPECT_EQ(Contents(first), Bytes({0xC0, 0, 0, 0}));
    table = 0;
    const Block second(rlDitherBitmap(dark, 2, 1, 24, 1, 0, &table));
    const Block again(table);
    EXPECT_EQ(Contents(second), Bytes({0, 0, 0, 0}));
}

TEST(RlDitherBitmap, OneBitUsesTheCallersTable) {
    const Block bits(Bytes{200, 200, 200, 0, 0, 0, 0, 0}), own(kBlackAndWhite);
    MemoryHandle table = own;
    const Block result(rlDitherBitmap(bits, 2, 1, 24, 1, 0, &table));
    EXPECT_EQ(table, MemoryHandle{own});
    EXPECT_EQ(Contents(result), Bytes({0xC0, 0, 0, 0}));
}

TEST(RlDitherBitmap, FourBitsGetTheMustHavesAfterTheQuantisedColours) {
    // One colour: keys (200 >> 3) = 25 gives 207, 100 gives 12 and 103, 50 gives 6 and 55.
    const Block bits(Bytes{200, 100, 50, 200, 100, 50, 0, 0});
    MemoryHandle table = 0;
    const Block result(rlDitherBitmap(bits, 2, 1, 24, 4, 0, &table));
    const Block chosen(table);
    Bytes expected = {207, 103, 55};
    expected.insert(expected.end(), kMustHaves.begin(), kMustHaves.end());
    expected.resize(48, 0);
    EXPECT_EQ(Contents(chosen), expected);
    EXPECT_EQ(Contents(result), Bytes({0, 0, 0, 0}));
}

TEST(RlDitherBitmap, FewerThanFourBitsGetTheMustHavesThatFit) {
    const Block bits(Bytes{200, 100, 50, 200, 100, 50, 0, 0});
    for (uint16_t to : {2, 3}) {
        MemoryHandle table = 0;
        const Block result(rlDitherBitmap(bits, 2, 1, 24, to, 0, &table));
        const Block chosen(table);
        EXPECT_EQ(Contents(chosen), Bytes(kMustHaves.begin(), kMustHaves.begin() + 3 * (1 << to)));
        EXPECT_EQ(Contents(result), Bytes(4, 0)); // these depths are not written
    }
}

TEST(RlDitherBitmap, DeeperTargetsUseTheCallersTableToo) {
    const Block bits(Bytes{200, 200, 200, 0, 0, 0, 0, 0}), own(kBlackAndWhite);
    MemoryHandle table = own;
    const Block result(rlDitherBitmap(bits, 2, 1, 24, 4, 0, &table));
    EXPECT_EQ(table, MemoryHandle{own});
    EXPECT_EQ(Contents(result), Bytes({0x11, 0, 0, 0}));
}

TEST(RlDitherBitmap, IndexedSourcesGoThroughTheirPalette) {
    const Block bits(Bytes{1, 1, 0, 0}), palette(Bytes{9, 9, 9, 250, 250, 250});
    const Block own(kBlackAndWhite);
    MemoryHandle table = own;
    const Block result(rlDitherBitmap(bits, 4, 1, 8, 1, palette, &table));
    // 250, 250, 9 are white, white, black; the last is black again.
    EXPECT_EQ(Contents(result), Bytes({0xC0, 0, 0, 0}));
}

TEST(RlDitherBitmap, GivesTheTableAndBytesOfTheReference) {
    Random random(6);
    for (uint16_t from : {1, 4, 8, 24, 32}) {
        for (uint16_t to : {1, 2, 3, 4, 5, 7, 8}) {
            const uint32_t width = 1 + random.Below(60);
            const uint32_t height = 1 + random.Below(40);
            const Bytes bitmap = RandomBitmap(random, width, height, from);
            const Bytes palette = RandomTable(random, from <= 8 ? 1u << from : 1);
            const Block bits(bitmap), colours(palette);
            MemoryHandle table = 0;
            const Block result(rlDitherBitmap(bits, width, height, from, to, colours, &table));
            const Block owned(table);
            reference::Table expected =
                reference::DitherGetCT(bitmap, width, height, from, to, &palette);
            EXPECT_EQ(Contents(table), expected.entries) << from << " to " << to;
            EXPECT_EQ(Contents(result),
                      reference::DitherGivenCT(bitmap, width, height, from, to, &palette,
                                               expected.entries, expected.count))
                << from << " to " << to;
        }
    }
}

TEST(RlDitherBitmap, GivesNoneWithoutMemory) {
    testing::internal::CaptureStdout();
    Random random(45);
    const Block bits(RandomBitmap(random, 70, 40, 8)), colours(RandomTable(random, 256));
    int k = 1;
    for (;; ++k) {
        MemoryHandle table = 0;
        FailingMemory memory(k);
        const Block result(rlDitherBitmap(bits, 70, 40, 8, 4, colours, &table));
        const Block chosen(table);
        if (!memory.Failed())
            break;
        EXPECT_EQ(result, 0u) << k;
        EXPECT_EQ(table != 0, k == 9) << k; // the result itself
    }
    // The copy; the quantiser's table, context, histogram, boxes, slots and list; the table, the
    // result.
    EXPECT_EQ(k, 10);
    testing::internal::GetCapturedStdout();
}

TEST(RlDitherGetCT, GivesTheGreysForOneBit) {
    const Block bits(Bytes{1, 2, 3, 0});
    MemoryHandle table = 0;
    uint16_t count = 0;
    const Block chosen(rlDitherGetCT(bits, 1, 1, 24, 1, 0, &table, &count));
    EXPECT_EQ(table, MemoryHandle{chosen});
    EXPECT_EQ(Contents(chosen), kMonoTable);
    EXPECT_EQ(count, 8);
}

TEST(RlDitherGetCT, UsesTheCallersTableForOneBitOnly) {
    const Block bits(Bytes{200, 100, 50, 0}), own(kBlackAndWhite);
    MemoryHandle table = own;
    uint16_t count = 0;
    EXPECT_EQ(rlDitherGetCT(bits, 1, 1, 24, 1, 0, &table, &count), MemoryHandle{own});
    EXPECT_EQ(count, 2);
    const Block chosen(rlDitherGetCT(bits, 1, 1, 24, 4, 0, &table, &count));
    EXPECT_NE(MemoryHandle{chosen}, MemoryHandle{own});
    EXPECT_EQ(count, 16);
    EXPECT_EQ(GlobalSize(chosen), 48u);
}

TEST(RlDitherGetCT, GivesTheTableOfTheReference) {
    Random random(46);
    for (uint16_t from : {8, 24}) {
        const Bytes bitmap = RandomBitmap(random, 50, 30, from), palette = RandomTable(random, 256);
        const Block bits(bitmap), colours(palette);
        MemoryHandle table = 0;
        uint16_t count = 0;
        const Block chosen(rlDitherGetCT(bits, 50, 30, from, 4, colours, &table, &count));
        EXPECT_EQ(Contents(chosen),
                  reference::DitherGetCT(bitmap, 50, 30, from, 4, &palette).entries);
        EXPECT_EQ(count, 16);
    }
}

struct Output {
    std::string out;
    std::string err;
};

template <typename Work> Output Printed(int16_t level, Work work) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    _debug_color_res = level;
    work();
    _debug_color_res = 0;
    return {testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
}

Output PrintedByGivenCT(int16_t level) {
    return Printed(level, [] {
        DitheredTo({0, 0, 0, 1, 0, 0, 0, 1}, 1, 2, 24, 1, {}, kBlackAndWhite, 2);
    });
}

const std::string kTableText = "Dithering to the following colortable:\n"
                               "color 0: [0, 0, 0]\n"
                               "color 1: [255, 255, 255]\n";

TEST(RlDitherGivenCT, ReportsOnStandardOutputByLevel) {
    const std::string rows = "Dithering...each(.) represents one scan line\n..\n";
    EXPECT_EQ(PrintedByGivenCT(0).out, "");
    EXPECT_EQ(PrintedByGivenCT(1).out, kTableText + rows);
    EXPECT_EQ(PrintedByGivenCT(2).out, kTableText + rows);
    EXPECT_EQ(PrintedByGivenCT(3).out, kTableText);
    EXPECT_EQ(PrintedByGivenCT(-1).out, kTableText + rows);
}

TEST(RlDitherGivenCT, ReportsItsTwoConversions) {
    const std::string dots = "Converted bits. Each (.) represents one scan line\n..";
    const std::string end = "\nColor resolution conversion complete\n";
    const std::string allocated = " bytes of new memory for the destination bitmap\n";
    EXPECT_EQ(PrintedByGivenCT(0).err, "");
    EXPECT_EQ(PrintedByGivenCT(1).err,
              "Allocated 8" + allocated + dots + end + "Allocated 8" + allocated + dots + end);
    EXPECT_EQ(PrintedByGivenCT(4).err, "Allocated 8" + allocated + "(0,0): (0,1): " + end +
                                           "Allocated 8" + allocated + "(0,0): (0,1): " + end);
}

TEST(RlDitherGetCT, ReportsTheTableOnly) {
    const Output output = Printed(1, [] {
        const Block bits(Bytes{1, 2, 3, 0}), own(kBlackAndWhite);
        MemoryHandle table = own;
        uint16_t count = 0;
        rlDitherGetCT(bits, 1, 1, 24, 1, 0, &table, &count);
    });
    EXPECT_EQ(output.out, kTableText);
}

} // namespace
} // namespace kowen
