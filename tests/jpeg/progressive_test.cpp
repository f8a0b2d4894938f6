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

/// The pixels of a picture padded to whole MCUs, as the cell writer pads them.
std::vector<uint8_t> Padded(const Picture &picture) {
    std::vector<uint8_t> bytes;
    for (int y = 0; y < (picture.height + 7) / 8 * 8; ++y)
        for (int x = 0; x < (picture.width + 15) / 16 * 16; ++x) {
            const reference::Pixel &pixel = picture.Near(x, y);
            bytes.insert(bytes.end(), pixel.begin(), pixel.end());
        }
    return bytes;
}

int32_t Code(PictureEnv &env, const std::vector<uint8_t> &padded) {
    return CompressProgressive(nullptr, padded.data(), env->paddedHeight, env->paddedWidth,
                               env.Get());
}

std::vector<uint8_t> CodeWhole(const Picture &picture, int quality, uint32_t bufferBytes = 1000) {
    PictureEnv env(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_PROGRESSIVE, quality,
                   static_cast<uint32_t>(picture.width), static_cast<uint32_t>(picture.height),
                   bufferBytes);
    const int32_t count = Code(env, Padded(picture));
    EXPECT_GE(count, 0);
    EXPECT_EQ(env->bitMask, 128);
    return env.Bytes(static_cast<uint32_t>(count));
}

std::vector<uint8_t> CodePlainly(const Picture &picture, int quality) {
    reference::Coder coder(KOWEN_OPERATION_PROGRESSIVE, quality);
    reference::CodeProgressive(coder, picture);
    return coder.bits.Bytes();
}

void ExpectPlainBytes(const TestBitmap &bitmap, int quality) {
    const Picture picture =
        reference::MappedPicture(bitmap.pixels, bitmap.width, bitmap.height, KOWEN_FORMAT_YCC422);
    ASSERT_EQ(CodeWhole(picture, quality), CodePlainly(picture, quality))
        << bitmap.width << " x " << bitmap.height << ", " << quality;
}

// DC: 1110 111111 and 00 for the two luminance blocks, 00 and 00 for chroma, padded: 16 bits.
// AC: one luminance block lies in the padding; one end-of-band run of 1 a scan, EOB0.
TEST(CompressProgressive, OneWhitePixelIsFourScans) {
    EXPECT_EQ(CodeWhole(Flat(1, 1, {255, 128, 128}), 75),
              FromHex("FF DA 00 0C 03 01 00 02 11 03 11 00 00 00 EF C0"
                      "FF DA 00 08 01 01 00 01 3F 00 AF" // 1010
                      "FF DA 00 08 01 02 11 01 3F 00 3F" // 00
                      "FF DA 00 08 01 03 11 01 3F 00 3F"));
}

// Width 40: five luminance blocks in the picture, a sixth in the padding. Symbol 0x20 has the
// code FFC3 in the luminance list; 5 in its two low bits is 01.
TEST(CompressProgressive, FiveEmptyBlocksAreOneRun) {
    EXPECT_EQ(CodeWhole(Flat(40, 8, {128, 128, 128}), 75),
              FromHex("FF DA 00 0C 03 01 00 02 11 03 11 00 00 00 00 00 00"
                      "FF DA 00 08 01 01 00 01 3F 00 FF 00 C3 7F"
                      // Three chroma blocks: symbol 0x10, FFBE, then 3 in one bit.
                      "FF DA 00 08 01 02 11 01 3F 00 FF 00 BE FF 00"
                      "FF DA 00 08 01 03 11 01 3F 00 FF 00 BE FF 00"));
}

// The DC scan codes the blocks in the padding, the AC scans do not.
TEST(CompressProgressive, BlocksInThePaddingHaveNoAc) {
    for (const int width : {8, 17, 24, 33})
        ExpectPlainBytes(MakeNoise(width, 8, 9), 90);
}

// Padding repeats the last column, which may be an odd one; chroma of the even columns beyond it
// is then the odd column's. The sequential coder repeats the last even column instead.
TEST(CompressProgressive, ChromaBeyondTheEdgeIsTheLastColumns) {
    const Picture picture =
        reference::MappedPicture(MakeNoise(18, 8, 4).pixels, 18, 8, KOWEN_FORMAT_YCC422);
    Picture whole = Flat(32, 8, {});
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 32; ++x)
            whole.pixels[static_cast<size_t>(y * 32 + x)] = picture.Near(x, y);
    const auto narrow = CodeWhole(picture, 90);
    const auto wide = CodeWhole(whole, 90);
    // The DC scans agree; from there the wide picture has one luminance block more.
    const size_t dcBytes = FromHex("FF DA 00 0C 03 01 00 02 11 03 11 00 00 00").size() + 4;
    EXPECT_EQ(std::vector<uint8_t>(narrow.begin(), narrow.begin() + dcBytes),
              std::vector<uint8_t>(wide.begin(), wide.begin() + dcBytes));
    EXPECT_EQ(narrow, CodePlainly(picture, 90));
}

void ExpectPlainBytesThroughout() {
    for (int width = 1; width <= 70; ++width)
        for (const int height : {1, 8, 17})
            ExpectPlainBytes(MakeNoise(width, height, static_cast<uint32_t>(width * height)),
                             1 + width * height % 100);
    for (const int quality : {1, 25, 44, 45, 50, 75, 95, 100}) {
        ExpectPlainBytes(MakeNoise(101, 37, 7), quality);
        ExpectPlainBytes(MakeSoft(101, 37), quality);
        ExpectPlainBytes(MakeChecks(67, 21), quality);
        ExpectPlainBytes(MakeGradient(64, 16), quality);
    }
    ExpectPlainBytes(MakeSoft(1100, 40), 90);
    ExpectPlainBytes(MakeNoise(1100, 40), 100);
}

TEST(CompressProgressive, EqualsTheReferenceThroughout) {
    WithEachVariant(ExpectPlainBytesThroughout);
}

// Empty bands between full ones: the run goes out before the next coefficient.
TEST(CompressProgressive, RunsEndBeforeTheNextCoefficient) {
    for (const int gap : {1, 2, 3, 4, 7, 8, 9}) {
        TestBitmap bitmap = MakeFlat(16 * (gap + 2), 8, 90, 90, 90);
        for (const int x : {3, 16 * (gap + 1) + 3})
            bitmap.Pixel(x, 3)[0] = 250;
        ExpectPlainBytes(bitmap, 100);
    }
}

// 128 x 128 blocks: 16384 is 2^14, symbol 0xE0 (FFCF) with 14 zeros.
TEST(CompressProgressive, RunOfSixteenThousandHasClassFourteen) {
    const auto bytes = CodeWhole(Flat(1024, 1024, {128, 128, 128}), 75, 65536);
    const auto plain = CodePlainly(Flat(1024, 1024, {128, 128, 128}), 75);
    EXPECT_EQ(bytes, plain);
    const auto header = FromHex("FF DA 00 08 01 01 00 01 3F 00");
    const auto scan = std::search(bytes.begin(), bytes.end(), header.begin(), header.end());
    ASSERT_NE(scan, bytes.end());
    const auto data = FromHex("FF 00 CF 00 03"); // FFCF, 14 zeros, 2 ones
    EXPECT_TRUE(std::equal(data.begin(), data.end(), scan + 10));
}

// 182 x 182 luminance blocks are 33124: a run of 32767 goes out at once, then one of 357.
TEST(CompressProgressive, RunsEndAtThirtyTwoThousandSevenHundredSixtySeven) {
    const Picture picture = Flat(1456, 1456, {128, 128, 128});
    const auto bytes = CodeWhole(picture, 75, 65536);
    EXPECT_EQ(bytes, CodePlainly(picture, 75));
    const auto header = FromHex("FF DA 00 08 01 01 00 01 3F 00");
    const auto scan = std::search(bytes.begin(), bytes.end(), header.begin(), header.end());
    ASSERT_NE(scan, bytes.end());
    // FFCF and 14 ones; 357 = 256 + 101: symbol 0x80, FFC9, and 01100101; 2 bits of padding.
    // 11111111 11001111 11111111 11111111 11111111 00100101 10010111
    const auto data = FromHex("FF 00 CF FF 00 FF 00 FF 00 25 97");
    EXPECT_TRUE(std::equal(data.begin(), data.end(), scan + 10));
}

// A producer of several bands: each is coded as a picture of its own, from its own pixels.
TEST(CompressProgressive, BandOfAPictureIsCodedAsAPicture) {
    const Picture band =
        reference::MappedPicture(MakeNoise(20, 8).pixels, 20, 8, KOWEN_FORMAT_YCC422);
    const std::vector<uint8_t> padded = Padded(band);
    PictureEnv env(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_PROGRESSIVE, 75, 20, 24); // padded 32 x 24
    const int32_t count = CompressProgressive(nullptr, padded.data(), 8, 32, env.Get());
    ASSERT_GT(count, 0);
    EXPECT_EQ(env.Bytes(static_cast<uint32_t>(count)), CodePlainly(band, 75));
}

TEST(CompressProgressive, WidthOtherThanThePaddedHasNoPadding) {
    const Picture whole =
        reference::MappedPicture(MakeNoise(32, 8).pixels, 32, 8, KOWEN_FORMAT_YCC422);
    const std::vector<uint8_t> pixels = Padded(whole);
    PictureEnv env(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_PROGRESSIVE, 75, 50, 8); // padded 64 x 8
    const int32_t count = CompressProgressive(nullptr, pixels.data(), 8, 32, env.Get());
    ASSERT_GT(count, 0);
    EXPECT_EQ(env.Bytes(static_cast<uint32_t>(count)), CodePlainly(whole, 75));
}

// Padded to 32 columns, of 20: rows of 64 have none of that padding.
TEST(CompressProgressive, RowsWiderThanTheEnvironmentHaveNoPadding) {
    const Picture whole =
        reference::MappedPicture(MakeNoise(64, 8).pixels, 64, 8, KOWEN_FORMAT_YCC422);
    const std::vector<uint8_t> pixels = Padded(whole);
    PictureEnv env(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_PROGRESSIVE, 75, 20, 8);
    const int32_t count = CompressProgressive(nullptr, pixels.data(), 8, 64, env.Get());
    ASSERT_GT(count, 0);
    EXPECT_EQ(env.Bytes(static_cast<uint32_t>(count)), CodePlainly(whole, 75));
}

// 8388608 MCUs: their blocks are 4.6 GB, more than a block of memory can have.
TEST(CompressProgressive, PictureThatNoStoreCanHoldHasNoCount) {
    const uint8_t pixel[3] = {};
    PictureEnv env(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_PROGRESSIVE, 75, 8, 8);
    EXPECT_EQ(CompressProgressive(nullptr, pixel, 1024, 1 << 20, env.Get()), -1);
}

TEST(CompressProgressive, WithoutMemoryThereIsNoCount) {
    const Picture picture =
        reference::MappedPicture(MakeNoise(160, 64).pixels, 160, 64, KOWEN_FORMAT_YCC422);
    const std::vector<uint8_t> padded = Padded(picture);
    bool coefficientStoreFailed = false;
    bool growthFailed = false;
    for (int k = 1;; ++k) {
        PictureEnv env(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_PROGRESSIVE, 100, 160, 64, 512);
        const FailingMemory memory(k);
        const int32_t count = Code(env, padded);
        if (!memory.Failed())
            break;
        EXPECT_TRUE(count == -1 || count == 0) << "allocation " << k;
        coefficientStoreFailed |= count == -1;
        growthFailed |= count == 0;
    }
    EXPECT_TRUE(coefficientStoreFailed);
    EXPECT_TRUE(growthFailed);
}

void ExpectMappedAndCoded(int width, int height) {
    const TestBitmap before = MakeNoise(width, height, static_cast<uint32_t>(width));
    TestBitmap bitmap = before;
    const Picture mapped =
        reference::MappedPicture(before.pixels, width, height, KOWEN_FORMAT_YCC422);
    PictureEnv env(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_PROGRESSIVE, 90,
                   static_cast<uint32_t>(width), static_cast<uint32_t>(height));
    const int32_t count =
        MapAndCompressProgressive({bitmap.Pixel(0, height - 1), -bitmap.Stride(),
                                   static_cast<uint32_t>(height), static_cast<uint32_t>(width)},
                                  env.Get());
    ASSERT_GT(count, 0);
    ASSERT_EQ(env.Bytes(static_cast<uint32_t>(count)), CodePlainly(mapped, 90))
        << width << " x " << height;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const uint8_t *p = bitmap.Pixel(x, height - 1 - y);
            ASSERT_EQ((reference::Pixel{p[0], p[1], p[2]}), mapped.At(x, y));
        }
        for (int i = width * 3; i < bitmap.Stride(); ++i)
            ASSERT_EQ(*(bitmap.Pixel(0, y) + i), *(before.Pixel(0, y) + i));
    }
}

TEST(MapAndCompressProgressive, MapsInPlacePadsAndCodes) {
    WithEachVariant([] {
        for (int width = 1; width <= 40; ++width)
            for (const int height : {1, 7, 8, 19})
                ExpectMappedAndCoded(width, height);
        for (const int width : {511, 512, 513, 1100}) // chunks of columns end here
            ExpectMappedAndCoded(width, 9);
    });
}

TEST(MapAndCompressProgressive, OtherColorFormatsFail) {
    TestBitmap bitmap = MakeNoise(8, 8);
    PictureEnv env(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_PROGRESSIVE, 90, 8, 8);
    env->colorFormat = 213;
    EXPECT_EQ(MapAndCompressProgressive({bitmap.Pixel(0, 0), bitmap.Stride(), 8, 8}, env.Get()),
              -1);
}

} // namespace
} // namespace kowen
