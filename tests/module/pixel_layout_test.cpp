// How pixels and palettes lie in memory, byte for byte as docs/host-guide.md and BitmapRecord say:
// a picture of each depth makes the same file as the 24-bit picture of its colours.
#include "module/export_host.h"
#include "support/hex.h"

#include <gtest/gtest.h>

namespace {

const ExportBytes kTwoColours = FromHex("0A 14 1E  C8 96 64");

/// The bottom row of a 24-bit picture, 3 x 2: red, green, blue; the top row: black, grey, white.
const ExportBytes kTrueColour = FromHex("FF 00 00  00 FF 00  00 00 FF  00 00 00 "
                                        "00 00 00  80 80 80  FF FF FF  00 00 00");

class PixelLayout : public testing::Test {
protected:
    ExportBytes Export(int depth, int width, int height, const ExportBytes &pixels,
                       const ExportBytes &palette = {}) const {
        const ExportRun run = host.ExportToMemory({depth, width, height, pixels, palette});
        EXPECT_EQ(run.result, 0);
        return run.jpeg;
    }
    ExportHost host;
};

TEST_F(PixelLayout, OneBitHasTheLeftmostPixelInTheTopBit) {
    const ExportBytes bits = FromHex("A0 00 00 00  60 00 00 00"); // 1 0 1 and above it 0 1 1
    EXPECT_EQ(Export(1, 3, 2, bits, kTwoColours),
              Export(24, 3, 2,
                     FromHex("C8 96 64  0A 14 1E  C8 96 64  00 00 00 "
                             "0A 14 1E  C8 96 64  C8 96 64  00 00 00")));
}

TEST_F(PixelLayout, OneBitGoesOnInTheNextByte) {
    const ExportBytes bits = FromHex("01 80 00 00  00 00 00 00"); // pixels 7 and 8 of 9
    ExportBytes colours = FromHex("0A 14 1E 0A 14 1E 0A 14 1E 0A 14 1E 0A 14 1E 0A 14 1E 0A 14 1E "
                                  "C8 96 64 C8 96 64 00 "
                                  "0A 14 1E 0A 14 1E 0A 14 1E 0A 14 1E 0A 14 1E 0A 14 1E 0A 14 1E "
                                  "0A 14 1E 0A 14 1E 00");
    EXPECT_EQ(Export(1, 9, 2, bits, kTwoColours), Export(24, 9, 2, colours));
}

/// Entry i is 10 i, 11 i, 12 i.
ExportBytes Palette(int entries) {
    ExportBytes palette;
    for (int i = 0; i < entries; ++i)
        for (const int step : {10, 11, 12})
            palette.push_back(static_cast<uint8_t>(step * i));
    return palette;
}

const ExportBytes kEntries567 = FromHex("32 37 3C  3C 42 48  46 4D 54  00 00 00 "
                                        "00 00 00  00 00 00  46 4D 54  00 00 00");

TEST_F(PixelLayout, FourBitsHaveTheLeftPixelInTheHighNibble) {
    EXPECT_EQ(Export(4, 3, 2, FromHex("56 70 00 00  00 70 00 00"), Palette(16)),
              Export(24, 3, 2, kEntries567));
}

TEST_F(PixelLayout, EightBitsAreOneByteEach) {
    EXPECT_EQ(Export(8, 3, 2, FromHex("05 06 07 00  00 00 07 00"), Palette(256)),
              Export(24, 3, 2, kEntries567));
}

TEST_F(PixelLayout, ThirtyTwoBitsAreRedGreenBlueAndAByteThatIsIgnored) {
    EXPECT_EQ(Export(32, 3, 2,
                     FromHex("FF 00 00 00  00 FF 00 7F  00 00 FF FF "
                             "00 00 00 01  80 80 80 02  FF FF FF 03")),
              Export(24, 3, 2, kTrueColour));
}

TEST_F(PixelLayout, PaddingDoesNotMatter) {
    EXPECT_EQ(Export(1, 3, 2, FromHex("BF FF FF FF  7F FF FF FF"), kTwoColours),
              Export(1, 3, 2, FromHex("A0 00 00 00  60 00 00 00"), kTwoColours));
    EXPECT_EQ(Export(4, 3, 2, FromHex("56 7F FF FF  00 7F FF FF"), Palette(16)),
              Export(24, 3, 2, kEntries567));
    EXPECT_EQ(Export(8, 3, 2, FromHex("05 06 07 FF  00 00 07 FF"), Palette(256)),
              Export(24, 3, 2, kEntries567));
    EXPECT_EQ(Export(24, 3, 2,
                     FromHex("FF 00 00  00 FF 00  00 00 FF  AA BB CC "
                             "00 00 00  80 80 80  FF FF FF  DD EE FF")),
              Export(24, 3, 2, kTrueColour));
}

TEST_F(PixelLayout, TwoToTheDepthEntriesAreLookedAtAndNoMore) {
    for (const int depth : {1, 4}) {
        const TestBitmap bitmap = MakeIndexed(depth, 40, 24);
        ExportBytes longer = bitmap.palette;
        ASSERT_EQ(longer.size(), 3u << depth);
        longer.insert(longer.end(), 99, 0x55);
        EXPECT_EQ(Export(depth, 40, 24, bitmap.pixels, bitmap.palette),
                  Export(depth, 40, 24, bitmap.pixels, longer));
    }
}

TEST_F(PixelLayout, WithoutAPaletteThePictureIsBlack) {
    const ExportBytes black = Export(24, 40, 24, ExportBytes(120 * 24));
    for (const int depth : {1, 4, 8})
        EXPECT_EQ(Export(depth, 40, 24, MakeIndexed(depth, 40, 24).pixels), black) << depth;
}

TEST_F(PixelLayout, EntriesThatAShorterPaletteLacksAreBlack) {
    EXPECT_EQ(Export(8, 3, 2, FromHex("05 06 07 00  00 00 07 00"), Palette(7)),
              Export(24, 3, 2,
                     FromHex("32 37 3C  3C 42 48  00 00 00  00 00 00 "
                             "00 00 00  00 00 00  00 00 00  00 00 00")));
}

TEST_F(PixelLayout, DeepPicturesDoNotLookAtAPalette) {
    EXPECT_EQ(Export(24, 3, 2, kTrueColour, Palette(256)), Export(24, 3, 2, kTrueColour));
    const TestBitmap deep = MakeNoise(9, 6, 1, 32);
    EXPECT_EQ(Export(32, 9, 6, deep.pixels, Palette(256)), Export(32, 9, 6, deep.pixels));
}

} // namespace
