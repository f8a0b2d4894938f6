#include "export/draw_cell.h"

#include "color/depth.h"
#include "color/dither.h"
#include "color/reduce.h"
#include "device/device_record.h"
#include "export/offscreen.h"
#include "kowen/codes.h"
#include "platform/global_memory.h"
#include "reference/color/bitmap.h"
#include "reference/color/resample.h"
#include "support/bitmaps.h"
#include "support/failing_memory.h"
#include "support/heap_use.h"

#include <algorithm>
#include <vector>

#include <gtest/gtest.h>

namespace kowen {
namespace {

using Bytes = std::vector<uint8_t>;

MemoryHandle MakeBlock(const Bytes &bytes) {
    if (bytes.empty())
        return 0;
    const MemoryHandle handle = GlobalAlloc(kGlobalFlags, static_cast<uint32_t>(bytes.size()));
    std::copy(bytes.begin(), bytes.end(), Lock<uint8_t>(handle));
    return handle;
}

Bytes BlockBytes(MemoryHandle handle) {
    const auto *bytes = Lock<uint8_t>(handle);
    return {bytes, bytes + GlobalSize(handle)};
}

/// A host's bitmap record with blocks of its own.
class HostBitmap {
public:
    explicit HostBitmap(const TestBitmap &bitmap) {
        record.depth = static_cast<uint16_t>(bitmap.depth);
        record.width = static_cast<uint16_t>(bitmap.width);
        record.height = static_cast<uint16_t>(bitmap.height);
        record.pixels = MakeBlock(bitmap.pixels);
        record.palette = MakeBlock(bitmap.palette);
    }
    ~HostBitmap() {
        GlobalFree(record.pixels);
        GlobalFree(record.palette);
    }
    HostBitmap(const HostBitmap &) = delete;
    HostBitmap &operator=(const HostBitmap &) = delete;

    BitmapRecord record = {};
};

/// An off-screen that is drawn by DrawExportCellData, with a palette of so many blank entries.
class Offscreen {
public:
    Offscreen(HostBitmap &bitmap, int width, int height, int depth, int paletteCount = 0) {
        bandHeight = static_cast<uint32_t>(height);
        const uint8_t flag = 0;
        auto *palette =
            static_cast<uint8_t *>(qivPtrGlobalAlloc(static_cast<uint32_t>(paletteCount) * 3));
        record =
            InitPlatformOffscreen(static_cast<uint32_t>(width), &bandHeight,
                                  static_cast<uint16_t>(depth), static_cast<uint16_t>(paletteCount),
                                  palette, &bitmap.record, DrawExportCellData, &flag);
    }
    ~Offscreen() {
        uint8_t *palette = record->palette;
        TermPlatformOffscreen(record);
        qivPtrGlobalFree(palette);
    }
    Offscreen(const Offscreen &) = delete;
    Offscreen &operator=(const Offscreen &) = delete;

    MemoryHandle Draw() { return DrawPlatformOffscreen(record, 0, bandHeight); }
    Bytes Palette(int entries) const { return {record->palette, record->palette + entries * 3}; }

    OffscreenRecord *record = nullptr;
    uint32_t bandHeight = 0;
};

Bytes Prefix(Bytes bytes, size_t count) {
    bytes.resize(count);
    return bytes;
}

TEST(DrawExportCellData, QueryGivesTheTargetInInches) {
    HostBitmap bitmap(MakeNoise(4, 4));
    bitmap.record.targetWidth = 300;
    bitmap.record.targetHeight = 75;
    bitmap.record.resolution = 150;
    PictureQuery query = {};
    EXPECT_EQ(QueryPlatformOffscreen(&query, &bitmap.record, DrawExportCellData), 0);
    EXPECT_EQ(query.width, 2.0);
    EXPECT_EQ(query.height, 0.5);
    EXPECT_EQ(query.resolution, 150);
    EXPECT_EQ(query.pixelOrder, kPixelOrderRgb);
}

TEST(DrawExportCellData, QueryWithoutAResolutionGivesPixels) {
    HostBitmap bitmap(MakeNoise(4, 4));
    bitmap.record.targetWidth = 300;
    bitmap.record.targetHeight = 75;
    PictureQuery query = {};
    QueryPlatformOffscreen(&query, &bitmap.record, DrawExportCellData);
    EXPECT_EQ(query.width, 300.0);
    EXPECT_EQ(query.height, 75.0);
    EXPECT_EQ(query.resolution, 0);
}

TEST(DrawExportCellData, QueryTakesTheResolutionAsSigned) {
    HostBitmap bitmap(MakeNoise(4, 4));
    bitmap.record.targetWidth = 300;
    bitmap.record.targetHeight = 75;
    bitmap.record.resolution = 0xFFFE;
    PictureQuery query = {};
    QueryPlatformOffscreen(&query, &bitmap.record, DrawExportCellData);
    EXPECT_EQ(query.width, -150.0);
    EXPECT_EQ(query.resolution, -2);
}

TEST(DrawExportCellData, OpenTakesTheWholePictureAsOneBand) {
    HostBitmap bitmap(MakeNoise(8, 6));
    const Offscreen offscreen(bitmap, 20, 10, 24);
    EXPECT_EQ(offscreen.bandHeight, 10u);
    EXPECT_EQ(offscreen.record->palette, nullptr);
    EXPECT_EQ(offscreen.record->paletteCount, 0);
}

TEST(DrawExportCellData, OpenWithoutMemoryAnswersZero) {
    HostBitmap bitmap(MakeIndexed(8, 8, 6));
    EMData device = {};
    lpEMData = &device;
    for (const int failing : {2, 3}) { // the record itself is the first
        device.errorStack.currentError = 0;
        uint32_t bandHeight = 6;
        const uint8_t flag = 0;
        auto *palette = static_cast<uint8_t *>(qivPtrGlobalAlloc(768));
        const FailingMemory memory(failing);
        OffscreenRecord *record = InitPlatformOffscreen(8, &bandHeight, 8, 256, palette,
                                                        &bitmap.record, DrawExportCellData, &flag);
        EXPECT_TRUE(memory.Failed());
        ASSERT_NE(record, nullptr);
        EXPECT_EQ(bandHeight, 0u);
        EXPECT_EQ(device.errorStack.currentError, KOWEN_ERR_OUTPUT);
        EXPECT_EQ(DrawPlatformOffscreen(record, 0, 6), 0u);
        qivPtrGlobalFree(record->palette);
        TermPlatformOffscreen(record);
    }
    EXPECT_EQ(device.errorStack.overflow, 2);
    lpEMData = nullptr;
}

TEST(DrawExportCellData, PaletteOfAShallowerSourceIsCopied) {
    const TestBitmap source = MakeIndexed(4, 8, 6);
    HostBitmap bitmap(source);
    const Offscreen offscreen(bitmap, 8, 6, 8, 256);
    EXPECT_EQ(offscreen.record->paletteCount, 16);
    EXPECT_EQ(offscreen.Palette(16), source.palette);
}

TEST(DrawExportCellData, PaletteOfTheSameDepthIsCopied) {
    const TestBitmap source = MakeIndexed(8, 8, 6);
    HostBitmap bitmap(source);
    const Offscreen offscreen(bitmap, 8, 6, 8, 256);
    EXPECT_EQ(offscreen.record->paletteCount, 256);
    EXPECT_EQ(offscreen.Palette(256), source.palette);
}

TEST(DrawExportCellData, PaletteThatIsTooSmallGrows) {
    const TestBitmap source = MakeIndexed(8, 8, 6);
    HostBitmap bitmap(source);
    const Offscreen offscreen(bitmap, 8, 6, 8, 1);
    EXPECT_EQ(offscreen.record->paletteCount, 256);
    EXPECT_EQ(offscreen.Palette(256), source.palette);
}

TEST(DrawExportCellData, EntriesThatThePaletteLacksAreBlack) {
    TestBitmap source = MakeIndexed(4, 8, 6);
    source.palette.resize(5 * 3);
    HostBitmap bitmap(source);
    const Offscreen offscreen(bitmap, 8, 6, 8, 256);
    EXPECT_EQ(offscreen.record->paletteCount, 16);
    EXPECT_EQ(offscreen.Palette(16), Prefix(source.palette, 16 * 3));
}

TEST(DrawExportCellData, WithoutAPaletteOnEitherSideNoneIsCopied) {
    HostBitmap withPalette(MakeIndexed(8, 8, 6));
    const Offscreen none(withPalette, 8, 6, 24);
    EXPECT_EQ(none.record->paletteCount, 0);
    TestBitmap source = MakeIndexed(8, 8, 6);
    source.palette.clear();
    HostBitmap withoutPalette(source);
    const Offscreen blank(withoutPalette, 8, 6, 8, 256);
    EXPECT_EQ(blank.record->paletteCount, 256);
    EXPECT_EQ(blank.Palette(256), Bytes(768, 0));
}

TEST(DrawExportCellData, ThePaletteOfAnOffscreenStaysWithoutOneOfTheBitmap) {
    TestBitmap source = MakeIndexed(8, 8, 6);
    source.palette.clear();
    HostBitmap bitmap(source);
    uint32_t bandHeight = 6;
    const uint8_t flag = 0;
    auto *palette = static_cast<uint8_t *>(qivPtrGlobalAlloc(768));
    std::fill(palette, palette + 768, uint8_t{7});
    OffscreenRecord *record = InitPlatformOffscreen(8, &bandHeight, 8, 256, palette, &bitmap.record,
                                                    DrawExportCellData, &flag);
    EXPECT_EQ(record->palette, palette);
    EXPECT_EQ(Bytes(palette, palette + 768), Bytes(768, 7));
    TermPlatformOffscreen(record);
    qivPtrGlobalFree(palette);
}

TEST(DrawExportCellData, TrueColorAtDepthEightGetsAnOptimisedPalette) {
    HostBitmap bitmap(MakeNoise(40, 30));
    uint16_t count = 256;
    const MemoryHandle optimised = rlReduceColorTable(bitmap.record.pixels, 40, 30, &count);
    const Offscreen offscreen(bitmap, 40, 30, 8, 256);
    EXPECT_EQ(offscreen.record->paletteCount, 256);
    EXPECT_EQ(offscreen.Palette(256), Prefix(BlockBytes(optimised), 768));
    EXPECT_NE(offscreen.Palette(256), Bytes(768, 0));
    GlobalFree(optimised);
}

TEST(DrawExportCellData, TrueColorAtDepthFourGetsTheDitheringsPalette) {
    HostBitmap bitmap(MakeNoise(40, 30));
    MemoryHandle table = 0;
    uint16_t count = 16;
    const MemoryHandle dithering =
        rlDitherGetCT(bitmap.record.pixels, 40, 30, 24, 4, 0, &table, &count);
    const Offscreen offscreen(bitmap, 40, 30, 4, 16);
    EXPECT_EQ(offscreen.record->paletteCount, 16);
    EXPECT_EQ(offscreen.Palette(16), Prefix(BlockBytes(dithering), 48));
    EXPECT_NE(offscreen.Palette(16), Bytes(48, 0));
    GlobalFree(dithering);
}

TEST(DrawExportCellData, FourByteColorsAtDepthEightGetTheDitheringsPalette) {
    HostBitmap bitmap(MakeNoise(40, 30, 1, 32));
    MemoryHandle table = 0;
    uint16_t count = 256;
    const MemoryHandle dithering =
        rlDitherGetCT(bitmap.record.pixels, 40, 30, 32, 8, 0, &table, &count);
    uint16_t optimisedCount = 256;
    const MemoryHandle optimised =
        rlReduceColorTable(bitmap.record.pixels, 40, 30, &optimisedCount);
    const Offscreen offscreen(bitmap, 40, 30, 8, 256);
    const Bytes expected = dithering != 0 ? Prefix(BlockBytes(dithering), 768) : Bytes(768, 0);
    EXPECT_EQ(offscreen.Palette(256), expected);
    EXPECT_NE(Prefix(BlockBytes(optimised), 768), expected);
    GlobalFree(dithering);
    GlobalFree(optimised);
}

// Dithered below 8 bits, and then only from deeper bitmaps.
TEST(DrawExportCellData, DepthIsDitheredOnlyBelowEightAndTheSources) {
    const struct {
        TestBitmap source;
        int depth;
        bool dithers;
    } cases[] = {{MakeNoise(40, 30), 8, false},
                 {MakeNoise(40, 30), 4, true},
                 {MakeIndexed(8, 40, 30), 4, true},
                 {MakeIndexed(4, 40, 30), 8, false},
                 {MakeIndexed(1, 40, 30), 4, false}};
    for (const auto &c : cases) {
        HostBitmap bitmap(c.source);
        const BitmapRecord &host = bitmap.record;
        Offscreen offscreen(bitmap, 40, 30, c.depth, 1 << c.depth);
        const uint16_t entries = offscreen.record->paletteCount;
        const MemoryHandle palette = MakeBlock(offscreen.Palette(entries));
        const auto depth = static_cast<uint16_t>(c.depth);
        const MemoryHandle dithered =
            rlDitherGivenCT(host.pixels, 40, 30, host.depth, depth, host.palette, palette, entries);
        const MemoryHandle converted = rlConvertBitmapDepth(host.pixels, 40, 30, host.depth, depth,
                                                            host.palette, palette, entries);
        ASSERT_NE(converted, 0u);
        const Bytes drawn = BlockBytes(offscreen.Draw());
        EXPECT_EQ(drawn == BlockBytes(converted), !c.dithers) << host.depth << " to " << depth;
        EXPECT_EQ(dithered != 0 && drawn == BlockBytes(dithered), c.dithers)
            << host.depth << " to " << depth;
        for (const MemoryHandle block : {palette, dithered, converted})
            GlobalFree(block);
    }
}

// Every pixel of the drawn picture is one of the palette's places, not a colour.
TEST(DrawExportCellData, TrueColorAtSmallDepthsIsDrawnInIndices) {
    for (const int depth : {8, 4}) {
        HostBitmap bitmap(MakeNoise(40, 30));
        Offscreen offscreen(bitmap, 40, 30, depth, 1 << depth);
        const MemoryHandle drawn = offscreen.Draw();
        ASSERT_NE(drawn, 0u);
        EXPECT_NE(drawn, bitmap.record.pixels);
        EXPECT_EQ(GlobalSize(drawn), depth == 8 ? 40u * 30 : 20u * 30);
    }
}

TEST(DrawExportCellData, BitmapOfTheTargetsSizeAndDepthIsItself) {
    const TestBitmap source = MakeNoise(20, 10);
    HostBitmap bitmap(source);
    Offscreen offscreen(bitmap, 20, 10, 24);
    EXPECT_EQ(offscreen.Draw(), bitmap.record.pixels);
    EXPECT_EQ(offscreen.Draw(), bitmap.record.pixels);
    EXPECT_EQ(BlockBytes(bitmap.record.pixels), source.pixels);
}

TEST(DrawExportCellData, SizesAreShrunkAndStretched) {
    const TestBitmap source = MakeNoise(20, 10);
    const int targets[][2] = {{10, 5}, {40, 20}, {20, 11}, {19, 10}, {10, 20}, {40, 5}};
    for (const auto &target : targets) {
        HostBitmap bitmap(source);
        Offscreen offscreen(bitmap, target[0], target[1], 24);
        EXPECT_EQ(BlockBytes(offscreen.Draw()),
                  reference::Resample(source.pixels, 24, 20, 10, static_cast<uint32_t>(target[0]),
                                      static_cast<uint32_t>(target[1])))
            << target[0] << " x " << target[1];
        EXPECT_EQ(BlockBytes(bitmap.record.pixels), source.pixels);
    }
}

// Two pixels become one, the last, and one row two.
TEST(DrawExportCellData, AShrinkInOneDirectionStretchesTheOtherToo) {
    TestBitmap source = MakeNoise(2, 1);
    source.pixels = {1, 2, 3, 4, 5, 6, 0, 0};
    HostBitmap bitmap(source);
    Offscreen offscreen(bitmap, 1, 2, 24);
    EXPECT_EQ(BlockBytes(offscreen.Draw()), (Bytes{4, 5, 6, 0, 4, 5, 6, 0}));
}

// Shrunk in indices, then made colours; made colours, then stretched.
TEST(DrawExportCellData, DepthIsConvertedBetweenShrinkingAndStretching) {
    const TestBitmap source = MakeIndexed(8, 20, 10);
    const int targets[][2] = {{10, 5}, {40, 20}};
    for (const auto &target : targets) {
        HostBitmap bitmap(source);
        Offscreen offscreen(bitmap, target[0], target[1], 24);
        const bool shrunk = target[0] < 20;
        Bytes expected = source.pixels;
        if (shrunk)
            expected = reference::Resample(expected, 8, 20, 10, 10, 5);
        expected = reference::ConvertBitmapDepth(expected, shrunk ? 10 : 20, shrunk ? 5 : 10, 8, 24,
                                                 &source.palette, nullptr, 0);
        if (!shrunk)
            expected = reference::Resample(expected, 24, 20, 10, 40, 20);
        EXPECT_EQ(BlockBytes(offscreen.Draw()), expected);
    }
}

TEST(DrawExportCellData, EveryDrawIsAnew) {
    HostBitmap bitmap(MakeNoise(20, 10));
    Offscreen offscreen(bitmap, 10, 5, 24);
    const Bytes first = BlockBytes(offscreen.Draw());
    std::fill_n(Lock<uint8_t>(bitmap.record.pixels), GlobalSize(bitmap.record.pixels), uint8_t{9});
    const Bytes second = BlockBytes(offscreen.Draw());
    EXPECT_NE(first, second);
    EXPECT_EQ(second[0], 9);
}

TEST(DrawExportCellData, DrawWithoutMemoryAnswersZero) {
    const TestBitmap source = MakeIndexed(8, 20, 10);
    for (int k = 1;; ++k) {
        HostBitmap bitmap(source);
        Offscreen offscreen(bitmap, 30, 5, 24); // shrunk and converted
        const FailingMemory memory(k);
        const MemoryHandle drawn = offscreen.Draw();
        if (!memory.Failed()) {
            EXPECT_NE(drawn, 0u);
            EXPECT_GT(k, 2);
            break;
        }
        EXPECT_EQ(drawn, 0u) << k;
    }
}

TEST(DrawExportCellData, WithoutColumnsNothingIsConverted) {
    HostBitmap bitmap(MakeIndexed(8, 20, 10));
    Offscreen offscreen(bitmap, 0, 10, 24);
    const FailingMemory memory(1);
    EXPECT_EQ(offscreen.Draw(), bitmap.record.pixels);
    EXPECT_FALSE(memory.Failed());
}

TEST(DrawExportCellData, ABitmapWithoutABlockIsNoBand) {
    HostBitmap bitmap(MakeIndexed(8, 20, 10));
    GlobalFree(bitmap.record.pixels);
    bitmap.record.pixels = 0;
    for (const int width : {0, 10, 20, 30}) {
        Offscreen offscreen(bitmap, width, 10, 24);
        EXPECT_EQ(offscreen.Draw(), 0u) << width;
    }
}

// As many rows as there can be, none of which has a byte: drawing them ends at once.
TEST(DrawExportCellData, RowsWithoutBytesAreNotDrawnOneByOne) {
    HostBitmap bitmap(MakeNoise(20, 10));
    Offscreen noColumns(bitmap, 0, INT32_MAX, 24);
    EXPECT_EQ(noColumns.Draw(), bitmap.record.pixels);
    bitmap.record.depth = 0;
    Offscreen noDepth(bitmap, 10, INT32_MAX, 24);
    EXPECT_EQ(noDepth.Draw(), 0u); // 60 GB
}

TEST(DrawExportCellData, UnknownOperationsDoNothing) {
    HostBitmap bitmap(MakeNoise(4, 4));
    const Offscreen offscreen(bitmap, 4, 4, 24);
    EXPECT_EQ(DrawExportCellData(4, offscreen.record, 0, 0), 0u);
    EXPECT_EQ(DrawExportCellData(-1, offscreen.record, 0, 0), 0u);
}

TEST(DrawExportCellData, LeaksNothing) {
    HostBitmap palette(MakeIndexed(8, 20, 10));
    HostBitmap colors(MakeNoise(20, 10));
    ExpectNothingLeaks([&] {
        Offscreen stretched(palette, 30, 20, 24);
        stretched.Draw();
        stretched.Draw();
        Offscreen grown(palette, 20, 10, 8, 1);
        grown.Draw();
        Offscreen optimised(colors, 20, 10, 8, 256);
        optimised.Draw();
        Offscreen dithered(colors, 10, 5, 4, 16);
        dithered.Draw();
        Offscreen neverDrawn(colors, 10, 5, 4, 16);
    });
}

} // namespace
} // namespace kowen
