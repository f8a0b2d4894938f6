#include "jpeg/bands.h"

#include "jpeg/each_variant.h"
#include "jpeg/picture_env.h"
#include "jpeg/source_picture.h"
#include "reference/jpeg/encoder.h"
#include "support/bitmaps.h"
#include "support/failing_memory.h"
#include "support/hex.h"

#include <algorithm>
#include <vector>

#include <gtest/gtest.h>

namespace kowen {
namespace {

using reference::Picture;

std::vector<uint8_t> PixelBytes(const Picture &picture) {
    std::vector<uint8_t> bytes;
    for (const reference::Pixel &pixel : picture.pixels)
        bytes.insert(bytes.end(), pixel.begin(), pixel.end());
    return bytes;
}

Picture FromBitmap(const TestBitmap &bitmap, int colorFormat) {
    return reference::MappedPicture(bitmap.pixels, bitmap.width, bitmap.height, colorFormat);
}

/// One band through the coder that goes with the environment's colour format.
std::vector<uint8_t> CodeBand(PictureEnv &env, const Picture &band, int colorFormat) {
    const std::vector<uint8_t> pixels = PixelBytes(band);
    const auto code = colorFormat == KOWEN_FORMAT_YCC422 ? CompressBands422 : CompressBands444;
    const int32_t count = code(nullptr, pixels.data(), static_cast<uint32_t>(band.height),
                               static_cast<uint32_t>(band.width), env.Get());
    EXPECT_GE(count, 0);
    return env.Bytes(static_cast<uint32_t>(count));
}

/// A picture band by band of at most bandRows, each into a buffer of its own as the row feeder
/// gives them.
std::vector<uint8_t> CodeBands(const Picture &picture, int colorFormat, int quality,
                               int bandRows = 8) {
    PictureEnv env(colorFormat, KOWEN_OPERATION_SEQUENTIAL, quality,
                   static_cast<uint32_t>(picture.width), static_cast<uint32_t>(picture.height));
    std::vector<uint8_t> bytes;
    for (int top = 0; top < picture.height; top += bandRows) {
        const Picture band = picture.Rows(top, std::min(bandRows, picture.height - top));
        env.GiveBuffer(static_cast<uint32_t>(band.width * band.height * 3));
        bytes = bytes + CodeBand(env, band, colorFormat);
    }
    return bytes;
}

std::vector<uint8_t> CodeBandsPlainly(const Picture &picture, int colorFormat, int quality,
                                      int bandRows = 8) {
    reference::Coder coder(KOWEN_OPERATION_SEQUENTIAL, quality);
    for (int top = 0; top < picture.height; top += bandRows) {
        const Picture band = picture.Rows(top, std::min(bandRows, picture.height - top));
        if (colorFormat == KOWEN_FORMAT_YCC422)
            reference::CodeBand422(coder, band);
        else
            reference::CodeBand444(coder, band, colorFormat == KOWEN_FORMAT_GREY ? 1 : 3);
    }
    return coder.bits.Bytes();
}

void ExpectPlainBytes(const TestBitmap &bitmap, int colorFormat, int quality, int bandRows = 8) {
    const Picture picture = FromBitmap(bitmap, colorFormat);
    ASSERT_EQ(CodeBands(picture, colorFormat, quality, bandRows),
              CodeBandsPlainly(picture, colorFormat, quality, bandRows))
        << bitmap.width << " x " << bitmap.height << ", " << colorFormat << ", " << quality;
}

/// Sizes, contents and qualities that reach every way through a band coder.
void ExpectPlainBytesThroughout(int colorFormat) {
    for (int width = 1; width <= 70; ++width)
        for (const int height : {1, 3, 8, 9, 17})
            ExpectPlainBytes(MakeNoise(width, height, static_cast<uint32_t>(width * height)),
                             colorFormat, 1 + width * height % 100);
    for (const int quality : {1, 25, 44, 45, 50, 75, 95, 100}) {
        ExpectPlainBytes(MakeNoise(101, 37, 7), colorFormat, quality);
        ExpectPlainBytes(MakeSoft(101, 37), colorFormat, quality);
        ExpectPlainBytes(MakeChecks(67, 21), colorFormat, quality);
        ExpectPlainBytes(MakeGradient(64, 16), colorFormat, quality);
    }
    ExpectPlainBytes(MakeSoft(1100, 40), colorFormat, 90);
    ExpectPlainBytes(MakeNoise(1100, 40), colorFormat, 100);
    for (int bandRows = 1; bandRows <= 7; ++bandRows)
        ExpectPlainBytes(MakeNoise(50, 20, 3), colorFormat, 60, bandRows);
}

/// Every allocation of the band fails once: the band is lost, the bit state is not.
void ExpectLostBandKeepsTheBitState(int colorFormat) {
    const Picture picture = FromBitmap(MakeNoise(640, 8), colorFormat);
    PictureEnv whole(colorFormat, KOWEN_OPERATION_SEQUENTIAL, 100, 640, 8);
    CodeBand(whole, picture, colorFormat);
    const std::vector<uint8_t> pixels = PixelBytes(picture);
    const auto code = colorFormat == KOWEN_FORMAT_YCC422 ? CompressBands422 : CompressBands444;
    int failures = 0;
    for (int k = 1;; ++k) {
        PictureEnv env(colorFormat, KOWEN_OPERATION_SEQUENTIAL, 100, 640, 8, 1024);
        int32_t count = 0;
        {
            const FailingMemory memory(k);
            count = code(nullptr, pixels.data(), 8, 640, env.Get());
            if (!memory.Failed())
                break;
        }
        ++failures;
        EXPECT_EQ(count, 0) << "allocation " << k;
        EXPECT_EQ(env->outputHandle, 0u);
        EXPECT_EQ(env->pendingByte, whole->pendingByte);
        EXPECT_EQ(env->bitMask, whole->bitMask);
        EXPECT_EQ(env->dcPredictor[0], whole->dcPredictor[0]);
    }
    EXPECT_GT(failures, 0);
}

// White: luminance 255 - 128 = 127, DC 1016, by 16: 63.5, 63. Category 6: 1110 111111, end of
// block 1010; then the same DC: 00 1010; two flat chroma blocks of 128: 00 00 each.
TEST(CompressBands422, OneWhitePixelIsFourBlocks) {
    PictureEnv env(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 75, 1, 1);
    EXPECT_EQ(CodeBand(env, Flat(1, 1, {255, 128, 128}), KOWEN_FORMAT_YCC422), FromHex("EF E8 A0"));
    EXPECT_EQ(env->pendingByte, 0);
    EXPECT_EQ(env->bitMask, 0b00001000); // four zeros wait
    EXPECT_EQ(env->dcPredictor[0], 63);
}

TEST(CompressBands422, BitsAndPredictorsCarryOverToTheNextBand) {
    PictureEnv env(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 75, 1, 16);
    EXPECT_EQ(CodeBand(env, Flat(1, 8, {255, 128, 128}), KOWEN_FORMAT_YCC422), FromHex("EF E8 A0"));
    // 0000 wait; now 00 1010 00 1010 00 00 00 00.
    EXPECT_EQ(CodeBand(env, Flat(1, 8, {255, 128, 128}), KOWEN_FORMAT_YCC422), FromHex("02 8A 00"));
    EXPECT_EQ(env->bitMask, 128);
}

// The second pixel of a pair does not count, nor is it averaged.
TEST(CompressBands422, ChromaComesFromTheEvenColumns) {
    Picture even = Flat(16, 8, {100, 90, 200});
    Picture odd = even;
    for (size_t i = 1; i < odd.pixels.size(); i += 2)
        odd.pixels[i] = {100, 7, 251};
    EXPECT_EQ(CodeBands(odd, KOWEN_FORMAT_YCC422, 90), CodeBands(even, KOWEN_FORMAT_YCC422, 90));
}

// Eight columns and fewer: the second luminance block is one column, repeated.
TEST(CompressBands422, BlockBeyondThePictureRepeatsItsLastColumn) {
    Picture narrow = Flat(3, 8, {0, 128, 128});
    Picture whole = Flat(16, 8, {0, 128, 128});
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 16; ++x) {
            const auto value = static_cast<uint8_t>(60 * std::min(x, 2) + 3 * y);
            whole.pixels[static_cast<size_t>(y * 16 + x)][0] = value;
            if (x < 3)
                narrow.pixels[static_cast<size_t>(y * 3 + x)][0] = value;
        }
    EXPECT_EQ(CodeBands(narrow, KOWEN_FORMAT_YCC422, 90),
              CodeBands(whole, KOWEN_FORMAT_YCC422, 90));
}

// Nine columns: column 8 alone in the second block. Chroma repeats the last even column.
TEST(CompressBands422, MissingColumnsRepeatTheLast) {
    for (int width = 1; width < 16; ++width) {
        const Picture narrow = FromBitmap(MakeNoise(width, 8, 3), KOWEN_FORMAT_YCC422);
        Picture whole = Flat(16, 8, {});
        const int lastEven = (width - 1) / 2 * 2;
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 16; ++x) {
                reference::Pixel &pixel = whole.pixels[static_cast<size_t>(y * 16 + x)];
                pixel = narrow.At(std::min(x, lastEven), y);
                pixel[0] = narrow.At(std::min(x, width - 1), y)[0];
            }
        EXPECT_EQ(CodeBands(narrow, KOWEN_FORMAT_YCC422, 90),
                  CodeBands(whole, KOWEN_FORMAT_YCC422, 90))
            << width;
    }
}

TEST(CompressBands422, MissingRowsRepeatTheLast) {
    for (int rows = 1; rows < 8; ++rows) {
        const Picture some = FromBitmap(MakeNoise(16, rows, 5), KOWEN_FORMAT_YCC422);
        Picture whole = Flat(16, 8, {});
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 16; ++x)
                whole.pixels[static_cast<size_t>(y * 16 + x)] = some.At(x, std::min(y, rows - 1));
        EXPECT_EQ(CodeBands(some, KOWEN_FORMAT_YCC422, 90),
                  CodeBands(whole, KOWEN_FORMAT_YCC422, 90))
            << rows;
    }
}

TEST(CompressBands422, EqualsTheReferenceThroughout) {
    WithEachVariant([] { ExpectPlainBytesThroughout(KOWEN_FORMAT_YCC422); });
}

TEST(CompressBands422, LostBandKeepsTheBitState) {
    ExpectLostBandKeepsTheBitState(KOWEN_FORMAT_YCC422);
}

TEST(CompressBands444, GreyPixelIsOneBlock) {
    PictureEnv env(KOWEN_FORMAT_GREY, KOWEN_OPERATION_SEQUENTIAL, 75, 1, 1);
    // 1110 111111 1010, of which 14 bits are one byte and six that wait.
    EXPECT_EQ(CodeBand(env, Flat(1, 1, {255, 0, 0}), KOWEN_FORMAT_GREY), FromHex("EF"));
    EXPECT_EQ(env->pendingByte, 0b11101000);
    EXPECT_EQ(env->bitMask, 0b00000010);
}

// White: DC 1016; by 16 it is 63, by the chrominance 17 it is 60 (59.76). The second component
// codes 60 - 63 = -3, the third 60 - 60 = 0, both with the luminance tables:
// 1110 111111 1010, 011 00 1010, 00 1010.
TEST(CompressBands444, ComponentsShareTheFirstPredictor) {
    PictureEnv env(KOWEN_FORMAT_RGB444, KOWEN_OPERATION_SEQUENTIAL, 75, 8, 8);
    EXPECT_EQ(CodeBand(env, Flat(8, 8, {255, 255, 255}), KOWEN_FORMAT_RGB444), FromHex("EF E9 94"));
    EXPECT_EQ(env->pendingByte, 0b01010000);
    EXPECT_EQ(env->bitMask, 0b00000100);
    EXPECT_EQ(env->dcPredictor[0], 60);
    EXPECT_EQ(env->dcPredictor[1], 0);
    EXPECT_EQ(env->dcPredictor[2], 0);
}

TEST(CompressBands444, MissingColumnsAndRowsRepeatTheLast) {
    for (int size = 1; size < 8; ++size) {
        const Picture some = FromBitmap(MakeNoise(size, size, 5), KOWEN_FORMAT_RGB444);
        Picture whole = Flat(8, 8, {});
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 8; ++x)
                whole.pixels[static_cast<size_t>(y * 8 + x)] = some.Near(x, y);
        EXPECT_EQ(CodeBands(some, KOWEN_FORMAT_RGB444, 90),
                  CodeBands(whole, KOWEN_FORMAT_RGB444, 90))
            << size;
    }
}

TEST(CompressBands444, EqualsTheReferenceThroughoutInColor) {
    WithEachVariant([] { ExpectPlainBytesThroughout(KOWEN_FORMAT_RGB444); });
}

TEST(CompressBands444, EqualsTheReferenceThroughoutInGrey) {
    WithEachVariant([] { ExpectPlainBytesThroughout(KOWEN_FORMAT_GREY); });
}

TEST(CompressBands444, LostBandKeepsTheBitState) {
    ExpectLostBandKeepsTheBitState(KOWEN_FORMAT_RGB444);
}

TEST(CompressBands444, WithoutComponentsNothingIsCoded) {
    PictureEnv env(0, KOWEN_OPERATION_SEQUENTIAL, 75, 16, 8);
    EXPECT_EQ(env->componentCount, 0u);
    EXPECT_TRUE(CodeBand(env, Flat(16, 8, {1, 2, 3}), KOWEN_FORMAT_RGB444).empty());
    EXPECT_EQ(env->bitMask, 128);
}

void ExpectMappedAndCoded(int colorFormat) {
    for (int width = 1; width <= 70; ++width)
        for (int rows = 1; rows <= 8; ++rows) {
            const TestBitmap before = MakeNoise(width, rows, static_cast<uint32_t>(width));
            TestBitmap bitmap = before;
            const Picture mapped = FromBitmap(before, colorFormat);
            PictureEnv env(colorFormat, KOWEN_OPERATION_SEQUENTIAL, 90,
                           static_cast<uint32_t>(width), 8);
            const int32_t count = MapAndCompressBand(BottomUp(bitmap), env.Get());
            ASSERT_GE(count, 0);
            ASSERT_EQ(env.Bytes(static_cast<uint32_t>(count)),
                      CodeBandsPlainly(mapped, colorFormat, 90))
                << width << " x " << rows;
            for (int y = 0; y < rows; ++y) {
                for (int x = 0; x < width; ++x) {
                    const uint8_t *p = bitmap.Pixel(x, rows - 1 - y);
                    ASSERT_EQ((reference::Pixel{p[0], p[1], p[2]}), mapped.At(x, y));
                }
                for (int i = width * 3; i < bitmap.Stride(); ++i)
                    ASSERT_EQ(*(bitmap.Pixel(0, y) + i), *(before.Pixel(0, y) + i)) << width;
            }
        }
}

TEST(MapAndCompressBand, MapsInPlaceAndCodes) {
    WithEachVariant([] {
        for (const int colorFormat : {KOWEN_FORMAT_YCC422, KOWEN_FORMAT_RGB444, KOWEN_FORMAT_GREY})
            ExpectMappedAndCoded(colorFormat);
    });
}

TEST(MapAndCompressBand, TakesRowsInEitherDirection) {
    TestBitmap topDown = MakeNoise(20, 8);
    TestBitmap bottomUp = MakeBlank(20, 8);
    for (int row = 0; row < 8; ++row)
        std::copy_n(topDown.Pixel(0, row), topDown.Stride(), bottomUp.Pixel(0, 7 - row));
    PictureEnv down(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 75, 20, 8);
    PictureEnv up(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 75, 20, 8);
    const int32_t downCount =
        MapAndCompressBand({topDown.Pixel(0, 0), topDown.Stride(), 8, 20}, down.Get());
    const int32_t upCount = MapAndCompressBand(BottomUp(bottomUp), up.Get());
    ASSERT_EQ(downCount, upCount);
    EXPECT_EQ(down.Bytes(static_cast<uint32_t>(downCount)),
              up.Bytes(static_cast<uint32_t>(upCount)));
}

/// Pictures of each format, coded an MCU row each in turns.
void ExpectPicturesInTurnsAreWhole() {
    constexpr int kRows = 3;
    const int formats[] = {KOWEN_FORMAT_YCC422, KOWEN_FORMAT_RGB444, KOWEN_FORMAT_GREY};
    const int qualities[] = {100, 40, 75};
    const Picture pictures[] = {FromBitmap(MakeNoise(700, 8 * kRows, 1), formats[0]),
                                FromBitmap(MakeNoise(90, 8 * kRows, 2), formats[1]),
                                FromBitmap(MakeSoft(530, 8 * kRows), formats[2])};
    PictureEnv envs[] = {{formats[0], KOWEN_OPERATION_SEQUENTIAL, qualities[0], 700, 8 * kRows},
                         {formats[1], KOWEN_OPERATION_SEQUENTIAL, qualities[1], 90, 8 * kRows},
                         {formats[2], KOWEN_OPERATION_SEQUENTIAL, qualities[2], 530, 8 * kRows}};
    std::vector<uint8_t> bytes[3];
    for (int row = 0; row < kRows; ++row)
        for (int i = 0; i < 3; ++i)
            bytes[i] = bytes[i] + CodeBand(envs[i], pictures[i].Rows(8 * row, 8), formats[i]);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(bytes[i], CodeBandsPlainly(pictures[i], formats[i], qualities[i])) << formats[i];
}

// What an MCU row leaves in the working memory that all share is not seen by another picture's.
TEST(CompressBands, PicturesMayTakeTurns) {
    WithEachVariant(ExpectPicturesInTurnsAreWhole);
}

TEST(CompressBands, OtherThanOneToEightRowsCodeNothing) {
    const std::vector<uint8_t> pixels(9 * 8 * 3, 200);
    for (const uint32_t rows : {0u, 9u}) {
        PictureEnv subsampled(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 75, 8, 8);
        EXPECT_EQ(CompressBands422(nullptr, pixels.data(), rows, 8, subsampled.Get()), 0);
        EXPECT_EQ(subsampled->bitMask, 128) << rows;
        PictureEnv full(KOWEN_FORMAT_RGB444, KOWEN_OPERATION_SEQUENTIAL, 75, 8, 8);
        EXPECT_EQ(CompressBands444(nullptr, pixels.data(), rows, 8, full.Get()), 0);
        EXPECT_EQ(full->bitMask, 128) << rows;
    }
}

} // namespace
} // namespace kowen
