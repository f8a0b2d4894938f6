#include "jpeg/row_feeding.h"

#include "jpeg/bands.h"
#include "jpeg/picture_env.h"
#include "jpeg/source_picture.h"
#include "reference/jpeg/encoder.h"
#include "support/bitmaps.h"
#include "support/failing_memory.h"
#include "support/heap_use.h"
#include "support/hex.h"
#include "support/memory_output.h"

#include <algorithm>
#include <vector>

#include <gtest/gtest.h>

namespace kowen {
namespace {

using Bytes = std::vector<uint8_t>;

TEST(JpgPadRow, RepeatsTheLastPixelUpToThePaddedWidth) {
    Bytes row = {1, 2, 3, 4, 5, 6, 0, 0, 0, 0, 0, 0, 99};
    EXPECT_EQ(JpgPadRow(row.data() + 3, 4, 2), 0);
    EXPECT_EQ(row, (Bytes{1, 2, 3, 4, 5, 6, 4, 5, 6, 4, 5, 6, 99}));
}

TEST(JpgPadRow, FullRowStays) {
    Bytes row = {1, 2, 3, 99};
    EXPECT_EQ(JpgPadRow(row.data(), 1, 1), 0);
    EXPECT_EQ(row, (Bytes{1, 2, 3, 99}));
}

TEST(JpgPadTo8Rows, RepeatsTheLastRow) {
    Bytes rows = {1, 2, 3, 4, 0, 0, 0, 0, 99};
    EXPECT_EQ(JpgPadTo8Rows(rows.data() + 2, 4, 2, 2), 0);
    EXPECT_EQ(rows, (Bytes{1, 2, 3, 4, 3, 4, 3, 4, 99}));
}

TEST(JpgPadTo8Rows, FullBandStays) {
    Bytes rows = {1, 2, 99};
    EXPECT_EQ(JpgPadTo8Rows(rows.data(), 8, 8, 2), 0);
    EXPECT_EQ(rows, (Bytes{1, 2, 99}));
}

TEST(HugeMemcpy, CopiesAnyCount) {
    Bytes source(100000);
    TestRandom random(3);
    for (uint8_t &byte : source)
        byte = random.Byte();
    for (const uint32_t count : {0u, 1u, 32766u, 32767u, 32768u, 65534u, 65535u, 99999u}) {
        Bytes target(source.size(), 0);
        EXPECT_EQ(HugeMemcpy(target.data(), source.data(), count), 0);
        Bytes expected(source.begin(), source.begin() + count);
        expected.resize(source.size(), 0);
        EXPECT_EQ(target, expected) << count;
    }
}

/// Mapped rows of a noisy picture, top row first.
Bytes NoiseRows(uint32_t width, uint32_t rows, uint32_t seed = 1) {
    Bytes bytes(width * rows * 3);
    TestRandom random(seed);
    for (uint8_t &byte : bytes)
        byte = random.Byte();
    return bytes;
}

reference::Picture AsPicture(const Bytes &bytes, int width, int height) {
    reference::Picture picture{width, height, {}};
    for (size_t i = 0; i < bytes.size(); i += 3)
        picture.pixels.push_back({bytes[i], bytes[i + 1], bytes[i + 2]});
    return picture;
}

/// The same rows as MapColors leaves them.
Bytes MappedBytes(const Bytes &bytes, int32_t colorFormat) {
    Bytes mapped;
    for (size_t i = 0; i < bytes.size(); i += 3) {
        const auto pixel = reference::Mapped({bytes[i], bytes[i + 1], bytes[i + 2]}, colorFormat);
        mapped.insert(mapped.end(), pixel.begin(), pixel.end());
    }
    return mapped;
}

/// The complete bytes of one band of noise, quality 100.
Bytes PlainBand(const Bytes &rows, int width, int height, int32_t colorFormat) {
    reference::Coder coder(KOWEN_OPERATION_SEQUENTIAL, 100);
    const auto picture = AsPicture(rows, width, height);
    if (colorFormat == KOWEN_FORMAT_YCC422)
        reference::CodeBand422(coder, picture);
    else
        reference::CodeBand444(coder, picture, colorFormat == KOWEN_FORMAT_GREY ? 1 : 3);
    return coder.bits.Bytes();
}

TEST(CompAndWriteNRows, SequentialFormatsWriteTheirBand) {
    for (const int32_t colorFormat :
         {KOWEN_FORMAT_YCC422, KOWEN_FORMAT_RGB444, KOWEN_FORMAT_GREY}) {
        const Bytes rows = NoiseRows(37, 5);
        PictureEnv env(colorFormat, KOWEN_OPERATION_SEQUENTIAL, 100, 37, 5, 0);
        const MemoryOutput output;
        EXPECT_EQ(CompAndWriteNRows(output.File(), rows.data(), 37, 5, env.Get()), 0);
        EXPECT_EQ(output.Bytes(), PlainBand(rows, 37, 5, colorFormat)) << colorFormat;
    }
}

TEST(CompAndWriteNRows, ProgressivePictureIsWrittenAtOnce) {
    const Bytes rows = NoiseRows(32, 16);
    PictureEnv env(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_PROGRESSIVE, 90, 32, 16, 0);
    const MemoryOutput output;
    EXPECT_EQ(CompAndWriteNRows(output.File(), rows.data(), 32, 16, env.Get()), 0);
    reference::Coder coder(KOWEN_OPERATION_PROGRESSIVE, 90);
    reference::CodeProgressive(coder, AsPicture(rows, 32, 16));
    EXPECT_EQ(output.Bytes(), coder.bits.Bytes());
}

TEST(CompAndWriteNRows, OtherProgressiveFormatsAndOperationsWriteNothing) {
    const Bytes rows = NoiseRows(32, 16);
    for (const int32_t colorFormat : {222, 215, 0}) {
        PictureEnv env(colorFormat, KOWEN_OPERATION_PROGRESSIVE, 90, 32, 16, 0);
        const MemoryOutput output;
        EXPECT_EQ(CompAndWriteNRows(output.File(), rows.data(), 32, 16, env.Get()), 0);
        EXPECT_TRUE(output.Bytes().empty()) << colorFormat;
    }
    PictureEnv env(KOWEN_FORMAT_YCC422, 0, 90, 32, 16, 0);
    const MemoryOutput output;
    EXPECT_EQ(CompAndWriteNRows(output.File(), rows.data(), 32, 16, env.Get()), 0);
    EXPECT_TRUE(output.Bytes().empty());
}

TEST(CompAndWriteNRows, BufferIsGoneAfterwards) {
    const Bytes rows = NoiseRows(500, 1); // outgrows its capacity of one row
    PictureEnv env(KOWEN_FORMAT_RGB444, KOWEN_OPERATION_SEQUENTIAL, 100, 500, 1, 0);
    const MemoryOutput output;
    EXPECT_EQ(CompAndWriteNRows(output.File(), rows.data(), 500, 1, env.Get()), 0);
    EXPECT_EQ(env->outputHandle, 0u);
    EXPECT_EQ(output.Bytes(), PlainBand(rows, 500, 1, KOWEN_FORMAT_RGB444));
}

/// A band of this many pixels of noise in colour format 222 and quality 100, and its bytes.
struct Band {
    uint32_t width;
    Bytes rows;
    Bytes coded;
};

Band NoiseBand(uint32_t width) {
    const Bytes rows = NoiseRows(width, 8);
    return {width, rows, PlainBand(rows, static_cast<int>(width), 8, KOWEN_FORMAT_RGB444)};
}

TEST(CompAndWriteNRows, SmallBandsAreOneWrite) {
    const Band band = NoiseBand(1000);
    ASSERT_LT(band.coded.size(), 32768u);
    PictureEnv env(KOWEN_FORMAT_RGB444, KOWEN_OPERATION_SEQUENTIAL, 100, band.width, 8, 0);
    const HostOutput output;
    EXPECT_EQ(CompAndWriteNRows(output.File(), band.rows.data(), band.width, 8, env.Get()), 0);
    EXPECT_EQ(output.WriteSizes(), std::vector<int32_t>{static_cast<int32_t>(band.coded.size())});
    EXPECT_EQ(output.Bytes(), band.coded);
}

TEST(CompAndWriteNRows, LargeBandsAreWrittenInPieces) {
    const Band band = NoiseBand(4000);
    ASSERT_GT(band.coded.size(), 2 * 32767u);
    PictureEnv env(KOWEN_FORMAT_RGB444, KOWEN_OPERATION_SEQUENTIAL, 100, band.width, 8, 0);
    const HostOutput output;
    EXPECT_EQ(CompAndWriteNRows(output.File(), band.rows.data(), band.width, 8, env.Get()), 0);
    std::vector<int32_t> sizes;
    for (size_t left = band.coded.size(); left > 0; left -= std::min<size_t>(left, 32767))
        sizes.push_back(static_cast<int32_t>(std::min<size_t>(left, 32767)));
    EXPECT_EQ(output.WriteSizes(), sizes);
    EXPECT_EQ(output.Bytes(), band.coded);
}

// Grey blocks that are brighter by two than those between them, at a quantiser of 16 for the mean.
// A block is eight bits: category 1 of the difference (010), its sign, the end of the block (1010).
TEST(CompAndWriteNRows, ABandOf40000BytesIsWrittenAs32767And7233) {
    constexpr uint32_t kWidth = 40000 * 8;
    Bytes rows;
    for (uint32_t row = 0; row < 8; ++row)
        for (uint32_t block = 0; block < 40000; ++block)
            rows.insert(rows.end(), 8 * 3, block % 2 == 0 ? 130 : 128);
    PictureEnv env(KOWEN_FORMAT_GREY, KOWEN_OPERATION_SEQUENTIAL, 75, kWidth, 8, 0);
    const HostOutput output;
    EXPECT_EQ(CompAndWriteNRows(output.File(), rows.data(), kWidth, 8, env.Get()), 0);
    EXPECT_EQ(output.WriteSizes(), (std::vector<int32_t>{32767, 7233}));
    Bytes coded;
    for (int pair = 0; pair < 20000; ++pair)
        coded.insert(coded.end(), {0b01011010, 0b01001010});
    EXPECT_EQ(output.Bytes(), coded);
}

// Six bits of a flat grey block fill no byte: the write is made all the same.
TEST(CompAndWriteNRows, BandWithoutAWholeByteIsAWriteOfNone) {
    const Bytes rows(8 * 8 * 3, 128);
    PictureEnv env(KOWEN_FORMAT_GREY, KOWEN_OPERATION_SEQUENTIAL, 75, 8, 8, 0);
    const HostOutput output;
    EXPECT_EQ(CompAndWriteNRows(output.File(), rows.data(), 8, 8, env.Get()), 0);
    EXPECT_EQ(output.WriteSizes(), std::vector<int32_t>{0});
    EXPECT_EQ(env->pendingByte, 0b00101000);
}

// A picture of one pixel has a buffer of 24 bytes, too few for its scans.
TEST(MapAndWriteBand, LostProgressiveGrowthIsReported) {
    Bytes rows = NoiseRows(1, 1);
    PictureEnv env(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_PROGRESSIVE, 75, 1, 1, 0);
    const HostOutput output;
    const FailingMemory memory(3); // after the band buffer and the coefficient store
    EXPECT_EQ(MapAndWriteBand(output.File(), {rows.data(), 3, 1, 1}, env.Get()), 300);
    EXPECT_TRUE(memory.Failed());
    EXPECT_TRUE(output.WriteSizes().empty());
}

// What codes nothing makes the write all the same, and maps the pixels.
TEST(MapAndWriteBand, FormatsAndOperationsWithoutAScanAreAWriteOfNone) {
    const struct {
        int32_t colorFormat;
        int32_t operation;
    } cases[] = {{222, 246}, {215, 246}, {212, 0}, {213, 0}, {213, 246}};
    for (const auto &[colorFormat, operation] : cases) {
        const Bytes before = NoiseRows(37, 11);
        Bytes rows = before;
        PictureEnv env(colorFormat, operation, 75, 37, 11, 0);
        const HostOutput output;
        EXPECT_EQ(MapAndWriteBand(output.File(), {rows.data(), 37 * 3, 11, 37}, env.Get()), 0);
        EXPECT_EQ(output.WriteSizes(), std::vector<int32_t>{0}) << colorFormat << ", " << operation;
        EXPECT_EQ(rows, MappedBytes(before, colorFormat)) << colorFormat << ", " << operation;
        EXPECT_EQ(env->outputHandle, 0u);
    }
}

// The format is not known, the components are those of an earlier picture: luminance and chroma,
// at full size.
TEST(MapAndWriteBand, UnknownFormatIsLuminanceAndChroma) {
    for (const int32_t componentCount : {0, 3}) {
        const Bytes before = NoiseRows(37, 8);
        Bytes rows = before;
        PictureEnv env(213, KOWEN_OPERATION_SEQUENTIAL, 100, 37, 8, 0);
        env->componentCount = static_cast<uint32_t>(componentCount);
        const MemoryOutput output;
        EXPECT_EQ(MapAndWriteBand(output.File(), {rows.data(), 37 * 3, 8, 37}, env.Get()), 0);
        EXPECT_EQ(rows, MappedBytes(before, 213)) << componentCount;
        EXPECT_EQ(output.Bytes(), componentCount == 0 ? Bytes{} : PlainBand(rows, 37, 8, 213));
    }
}

// Band buffer, growths and bounce buffer in turn. A lost band writes nothing; the environment
// stays usable.
TEST(CompAndWriteNRows, EveryFailedAllocationLosesTheWholeBand) {
    const Band band = NoiseBand(4000);
    std::vector<int32_t> results;
    for (int k = 1;; ++k) {
        PictureEnv env(KOWEN_FORMAT_RGB444, KOWEN_OPERATION_SEQUENTIAL, 100, band.width, 8, 0);
        const HostOutput output;
        const FailingMemory memory(k);
        const int32_t result =
            CompAndWriteNRows(output.File(), band.rows.data(), band.width, 8, env.Get());
        if (!memory.Failed())
            break;
        results.push_back(result);
        EXPECT_TRUE(output.Bytes().empty()) << "allocation " << k;
        EXPECT_EQ(env->outputHandle, 0u);
    }
    ASSERT_GE(results.size(), 2u);
    EXPECT_EQ(results.front(), -1); // the band buffer
    EXPECT_EQ(results.back(), 300); // the bounce buffer
}

TEST(CompAndWriteNRows, LostGrowthIsReported) {
    // One row of noise: the buffer holds one row, the eight that are coded need more.
    const Bytes rows = NoiseRows(500, 1);
    PictureEnv env(KOWEN_FORMAT_RGB444, KOWEN_OPERATION_SEQUENTIAL, 100, 500, 1, 0);
    const HostOutput output;
    const FailingMemory memory(2);
    EXPECT_EQ(CompAndWriteNRows(output.File(), rows.data(), 500, 1, env.Get()), 300);
    EXPECT_TRUE(memory.Failed());
    EXPECT_TRUE(output.Bytes().empty());
}

TEST(CompAndWriteNRows, MissingCoefficientStoreFails) {
    const Bytes rows = NoiseRows(32, 16);
    PictureEnv env(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_PROGRESSIVE, 90, 32, 16, 0);
    const HostOutput output;
    const FailingMemory memory(2);
    EXPECT_EQ(CompAndWriteNRows(output.File(), rows.data(), 32, 16, env.Get()), -1);
    EXPECT_TRUE(output.Bytes().empty());
}

TEST(CompAndWriteNRows, SizesThatNoBufferCanHoldFail) {
    const uint8_t pixel[3] = {};
    PictureEnv env(KOWEN_FORMAT_RGB444, KOWEN_OPERATION_SEQUENTIAL, 100, 8, 8, 0);
    const HostOutput output;
    // 8 rows of 2^28 pixels: 6 GB.
    EXPECT_EQ(CompAndWriteNRows(output.File(), pixel, 0x10000000, 8, env.Get()), -1);
    EXPECT_TRUE(output.Bytes().empty());
}

TEST(CompAndWriteNRows, LeaksNothing) {
    const Band band = NoiseBand(1800);
    ASSERT_GT(band.coded.size(), 32767u);
    for (const int failing : {0, 1, 2, 3, 4}) {
        PictureEnv env(KOWEN_FORMAT_RGB444, KOWEN_OPERATION_SEQUENTIAL, 100, band.width, 8, 0);
        ExpectNothingLeaks([&] {
            const FailingMemory memory(failing);
            CompAndWriteNRows(0, band.rows.data(), band.width, 8, env.Get());
        });
    }
}

/// The writes that a sequential band's MCU rows make, quality 100.
std::vector<int32_t> McuRowSizes(const TestBitmap &bitmap, int32_t colorFormat) {
    reference::Coder coder(KOWEN_OPERATION_SEQUENTIAL, 100);
    const auto picture =
        reference::MappedPicture(bitmap.pixels, bitmap.width, bitmap.height, colorFormat);
    std::vector<int32_t> sizes;
    size_t before = 0;
    for (int top = 0; top < picture.height; top += 8) {
        const auto mcuRow = picture.Rows(top, std::min(8, picture.height - top));
        if (colorFormat == KOWEN_FORMAT_YCC422)
            reference::CodeBand422(coder, mcuRow);
        else
            reference::CodeBand444(coder, mcuRow, colorFormat == KOWEN_FORMAT_GREY ? 1 : 3);
        sizes.push_back(static_cast<int32_t>(coder.bits.Bytes().size() - before));
        before = coder.bits.Bytes().size();
    }
    return sizes;
}

TEST(MapAndWriteBand, SequentialMcuRowsAreOneWriteEach) {
    for (const int32_t colorFormat :
         {KOWEN_FORMAT_YCC422, KOWEN_FORMAT_RGB444, KOWEN_FORMAT_GREY}) {
        TestBitmap bitmap = MakeNoise(33, 21);
        const std::vector<int32_t> sizes = McuRowSizes(bitmap, colorFormat);
        PictureEnv env(colorFormat, KOWEN_OPERATION_SEQUENTIAL, 100, 33, 21, 0);
        const HostOutput output;
        EXPECT_EQ(MapAndWriteBand(output.File(), BottomUp(bitmap), env.Get()), 0);
        EXPECT_EQ(output.WriteSizes(), sizes) << colorFormat;
        EXPECT_EQ(env->outputHandle, 0u);
    }
}

// Three grey MCU rows of six bits each: none, one byte, one byte.
TEST(MapAndWriteBand, McuRowsWithoutAWholeByteAreWritesOfNone) {
    TestBitmap bitmap = MakeFlat(8, 24, 128, 128, 128);
    PictureEnv env(KOWEN_FORMAT_GREY, KOWEN_OPERATION_SEQUENTIAL, 75, 8, 24, 0);
    const HostOutput output;
    EXPECT_EQ(MapAndWriteBand(output.File(), BottomUp(bitmap), env.Get()), 0);
    EXPECT_EQ(output.WriteSizes(), (std::vector<int32_t>{0, 1, 1}));
    EXPECT_EQ(output.Bytes(), FromHex("28 A2")); // 001010 001010 001010
}

TEST(MapAndWriteBand, ProgressiveIsPaddedAndCodedInOneGo) {
    TestBitmap bitmap = MakeNoise(33, 21);
    const auto mapped = reference::MappedPicture(bitmap.pixels, 33, 21, KOWEN_FORMAT_YCC422);
    reference::Coder coder(KOWEN_OPERATION_PROGRESSIVE, 90);
    reference::CodeProgressive(coder, mapped);
    PictureEnv env(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_PROGRESSIVE, 90, 33, 21, 0);
    const MemoryOutput output;
    EXPECT_EQ(MapAndWriteBand(output.File(), BottomUp(bitmap), env.Get()), 0);
    EXPECT_EQ(output.Bytes(), coder.bits.Bytes());
}

TEST(MapAndWriteBand, PixelsAreMappedAlsoWhereNothingIsCoded) {
    struct {
        int32_t colorFormat;
        int32_t operation;
    } const cases[] = {{222, 246}, {215, 246}, {212, 0}, {222, 0}};
    for (const auto &each : cases) {
        const TestBitmap before = MakeNoise(5, 9);
        TestBitmap bitmap = before;
        PictureEnv env(each.colorFormat, each.operation, 75, 5, 9, 0);
        const HostOutput output;
        EXPECT_EQ(MapAndWriteBand(output.File(), BottomUp(bitmap), env.Get()), 0);
        EXPECT_TRUE(output.Bytes().empty());
        for (int row = 0; row < 9; ++row)
            for (int x = 0; x < 5; ++x) {
                const uint8_t *b = before.Pixel(x, row);
                const uint8_t *a = bitmap.Pixel(x, row);
                EXPECT_EQ((reference::Pixel{a[0], a[1], a[2]}),
                          reference::Mapped({b[0], b[1], b[2]}, each.colorFormat));
            }
    }
}

TEST(MapAndWriteBand, WithoutABandBufferNothingIsMapped) {
    for (const int32_t operation : {245, 246, 0}) {
        const TestBitmap before = MakeNoise(16, 8);
        TestBitmap bitmap = before;
        PictureEnv env(KOWEN_FORMAT_YCC422, operation, 75, 16, 8, 0);
        const HostOutput output;
        const FailingMemory memory(1);
        EXPECT_EQ(MapAndWriteBand(output.File(), BottomUp(bitmap), env.Get()), 300);
        EXPECT_TRUE(memory.Failed());
        EXPECT_EQ(bitmap.pixels, before.pixels);
        EXPECT_TRUE(output.Bytes().empty());
    }
}

TEST(MapAndWriteBand, ALostMcuRowIsTheLast) {
    // One column of noise: the first MCU row needs more than the 192 bytes of its buffer.
    for (const int rows : {8, 16, 40}) {
        TestBitmap bitmap = MakeNoise(8, rows);
        PictureEnv env(KOWEN_FORMAT_RGB444, KOWEN_OPERATION_SEQUENTIAL, 100, 8,
                       static_cast<uint32_t>(rows), 0);
        const HostOutput output;
        const FailingMemory memory(2);
        EXPECT_EQ(MapAndWriteBand(output.File(), BottomUp(bitmap), env.Get()), 300) << rows;
        EXPECT_TRUE(memory.Failed());
        EXPECT_TRUE(output.WriteSizes().empty()) << rows;
        EXPECT_EQ(env->outputHandle, 0u);
    }
}

TEST(MapAndWriteBand, AnMcuRowWithoutABounceBufferIsLost) {
    const auto write = [](int32_t operation, int failing, std::vector<int32_t> *sizes) {
        TestBitmap bitmap = MakeNoise(2000, 16);
        const int32_t colorFormat =
            operation == KOWEN_OPERATION_SEQUENTIAL ? KOWEN_FORMAT_RGB444 : KOWEN_FORMAT_YCC422;
        PictureEnv env(colorFormat, operation, 100, 2000, 16, 0);
        const HostOutput output;
        const FailingMemory memory(failing);
        const int32_t result = MapAndWriteBand(output.File(), BottomUp(bitmap), env.Get());
        *sizes = output.WriteSizes();
        return failing == 0 ? memory.Calls() : result;
    };
    std::vector<int32_t> sizes;
    for (const int32_t operation : {KOWEN_OPERATION_SEQUENTIAL, KOWEN_OPERATION_PROGRESSIVE}) {
        const int bounce = write(operation, 0, &sizes); // the last allocation of all
        ASSERT_GT(sizes.size(), 1u);
        ASSERT_EQ(sizes.front(), 32767);
        EXPECT_EQ(write(operation, bounce, &sizes), 300) << operation;
        EXPECT_EQ(sizes.size(), operation == KOWEN_OPERATION_SEQUENTIAL ? 2u : 0u)
            << "the first MCU row's, or none";
    }
}

TEST(MapAndWriteBand, MissingCoefficientStoreFails) {
    TestBitmap bitmap = MakeNoise(16, 8);
    PictureEnv env(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_PROGRESSIVE, 75, 16, 8, 0);
    const HostOutput output;
    const FailingMemory memory(2);
    EXPECT_EQ(MapAndWriteBand(output.File(), BottomUp(bitmap), env.Get()), -1);
    EXPECT_TRUE(memory.Failed());
    EXPECT_TRUE(output.Bytes().empty());
}

TEST(MapAndWriteBand, LeaksNothing) {
    for (const int32_t operation : {KOWEN_OPERATION_SEQUENTIAL, KOWEN_OPERATION_PROGRESSIVE})
        for (const int failing : {0, 1, 2, 3, 4}) {
            TestBitmap bitmap = MakeNoise(60, 30);
            PictureEnv env(KOWEN_FORMAT_YCC422, operation, 100, 60, 30, 0);
            ExpectNothingLeaks([&] {
                const FailingMemory memory(failing);
                MapAndWriteBand(0, BottomUp(bitmap), env.Get());
            });
        }
}

} // namespace
} // namespace kowen
