// What the system's decoder makes of the exported files: readable without a remark, and the
// picture that went in. Files of colour format 222 are left out: their second and third component
// are coded with the first one's Huffman tables, which no decoder can know.
#include "module/export_host.h"
#include "support/hex.h"
#include "support/jpeg_decode.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

using kowen::test::DecodeAs;
using kowen::test::DecodedJpeg;
using kowen::test::DecodeJpeg;
using kowen::test::WithEightBitPrecision;

/// Peak signal-to-noise ratio of a component against the mapped pixels that were coded, in dB.
double Psnr(const DecodedJpeg &decoded, const TestBitmap &bitmap, int colorFormat, int component) {
    const auto picture =
        kowen::reference::MappedPicture(bitmap.pixels, bitmap.width, bitmap.height, colorFormat);
    double sum = 0;
    for (int y = 0; y < bitmap.height; ++y)
        for (int x = 0; x < bitmap.width; ++x) {
            const double error =
                decoded.At(x, y)[component] - picture.At(x, y)[static_cast<size_t>(component)];
            sum += error * error;
        }
    const double mean = sum / (bitmap.width * bitmap.height);
    return mean == 0 ? 99.0 : 10 * std::log10(255.0 * 255.0 / mean);
}

class Decoded : public testing::Test {
protected:
    DecodedJpeg Decode(const TestBitmap &bitmap, const ExportSettings &settings, DecodeAs as) {
        const ExportRun run = host.ExportToMemory(bitmap, settings);
        return DecodeJpeg(
            settings.colorFormat == KOWEN_FORMAT_GREY ? WithEightBitPrecision(run.jpeg) : run.jpeg,
            as);
    }

    ExportHost host;
};

TEST_F(Decoded, EverySizeIsReadWithoutARemark) {
    const int sizes[][2] = {{1, 1},   {1, 2},    {2, 1},   {7, 7},    {8, 8},   {9, 9},
                            {15, 8},  {16, 8},   {17, 9},  {17, 10},  {24, 16}, {31, 17},
                            {33, 64}, {101, 37}, {200, 3}, {320, 200}};
    for (const auto &size : sizes)
        for (const int colorFormat : {KOWEN_FORMAT_YCC422, KOWEN_FORMAT_GREY})
            for (const int operation : {KOWEN_OPERATION_SEQUENTIAL, KOWEN_OPERATION_PROGRESSIVE}) {
                if (colorFormat == KOWEN_FORMAT_GREY && operation == KOWEN_OPERATION_PROGRESSIVE)
                    continue; // has no scan
                const TestBitmap bitmap = MakeNoise(size[0], size[1]);
                const DecodedJpeg decoded =
                    Decode(bitmap, MakeSettings(colorFormat, operation, 90), DecodeAs::kColours);
                EXPECT_TRUE(decoded.Clean())
                    << size[0] << " x " << size[1] << ": " << decoded.error
                    << (decoded.warnings.empty() ? "" : decoded.warnings.front());
                EXPECT_EQ(decoded.width, size[0]);
                EXPECT_EQ(decoded.height, (size[1] + 1) / 2 * 2); // an odd height gains a row
                EXPECT_EQ(decoded.components, colorFormat == KOWEN_FORMAT_YCC422 ? 3 : 1);
                EXPECT_EQ(decoded.progressive, operation == KOWEN_OPERATION_PROGRESSIVE);
            }
}

TEST_F(Decoded, EveryQualityIsReadWithoutARemark) {
    const TestBitmap bitmap = MakeChecks(67, 22);
    for (int quality = 1; quality <= 100; ++quality)
        for (const int operation : {KOWEN_OPERATION_SEQUENTIAL, KOWEN_OPERATION_PROGRESSIVE}) {
            const DecodedJpeg decoded = Decode(
                bitmap, MakeSettings(KOWEN_FORMAT_YCC422, operation, quality), DecodeAs::kColours);
            EXPECT_TRUE(decoded.Clean()) << quality << ": " << decoded.error;
        }
}

TEST_F(Decoded, HeaderSaysTheResolution) {
    const TestBitmap bitmap = MakeNoise(16, 8);
    ExportSettings settings = MakeSettings(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 75);
    settings.resolutionMode = 310;
    settings.xResolution = 72;
    settings.yResolution = 300;
    const DecodedJpeg decoded = Decode(bitmap, settings, DecodeAs::kColours);
    EXPECT_TRUE(decoded.jfif);
    EXPECT_EQ(decoded.densityUnit, 1);
    EXPECT_EQ(decoded.xDensity, 72);
    EXPECT_EQ(decoded.yDensity, 300);
}

/// The least luminance and chroma ratios of a quality, in dB: 2 below what the soft picture has.
struct Fidelity {
    int quality;
    double luminance;
    double chroma;
};
constexpr Fidelity kFidelities[] = {
    {45, 34.8, 35.1}, {60, 35.3, 35.9}, {75, 35.9, 36.3}, {90, 36.7, 36.7}, {100, 40.4, 35.9}};

TEST_F(Decoded, PictureIsAsGoodAsItsQuality) {
    const TestBitmap bitmap = MakeSoft(96, 64);
    for (const int operation : {KOWEN_OPERATION_SEQUENTIAL, KOWEN_OPERATION_PROGRESSIVE})
        for (const Fidelity &fidelity : kFidelities) {
            const DecodedJpeg decoded =
                Decode(bitmap, MakeSettings(KOWEN_FORMAT_YCC422, operation, fidelity.quality),
                       DecodeAs::kComponents);
            ASSERT_TRUE(decoded.Clean());
            ASSERT_EQ(decoded.channels, 3);
            EXPECT_GT(Psnr(decoded, bitmap, KOWEN_FORMAT_YCC422, 0), fidelity.luminance)
                << fidelity.quality;
            EXPECT_GT(Psnr(decoded, bitmap, KOWEN_FORMAT_YCC422, 1), fidelity.chroma)
                << fidelity.quality;
            EXPECT_GT(Psnr(decoded, bitmap, KOWEN_FORMAT_YCC422, 2), fidelity.chroma)
                << fidelity.quality;
        }
}

TEST_F(Decoded, GreyPictureIsAsGoodAsItsQuality) {
    const TestBitmap bitmap = MakeSoft(96, 64);
    for (const Fidelity &fidelity : kFidelities) {
        const DecodedJpeg decoded = Decode(
            bitmap, MakeSettings(KOWEN_FORMAT_GREY, KOWEN_OPERATION_SEQUENTIAL, fidelity.quality),
            DecodeAs::kComponents);
        ASSERT_TRUE(decoded.Clean());
        ASSERT_EQ(decoded.channels, 1);
        EXPECT_GT(Psnr(decoded, bitmap, KOWEN_FORMAT_GREY, 0), fidelity.luminance)
            << fidelity.quality;
    }
}

// The transform keeps the energy: the mean square error of a whole block is at most that of its
// coefficients, each of which is off by half its quantiser and by what integers round.
double GreatestMeanSquare(const kowen::reference::QuantTable &quantisers) {
    double sum = 0;
    for (const int quantiser : quantisers)
        sum += (quantiser / 2.0 + 1) * (quantiser / 2.0 + 1);
    const double samples = std::sqrt(sum / 64) + 1; // and the samples are rounded once more
    return samples * samples;
}

TEST_F(Decoded, NoBlockIsWorseThanHalfItsQuantisers) {
    namespace reference = kowen::reference;
    const TestBitmap bitmap = MakeNoise(64, 32);
    const auto picture = reference::MappedPicture(bitmap.pixels, 64, 32, KOWEN_FORMAT_YCC422);
    for (int quality = 45; quality <= 100; quality += 5) { // below, the file's tables are cut
        const DecodedJpeg decoded =
            Decode(bitmap, MakeSettings(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, quality),
                   DecodeAs::kComponents);
        for (int component = 0; component < 3; ++component) {
            const int step = component == 0 ? 1 : 2; // chroma is that of the even columns
            const double greatest = GreatestMeanSquare(reference::Quantisers(
                component == 0 ? reference::kLuminanceBase : reference::kChrominanceBase, quality));
            for (int top = 0; top < 32; top += 8)
                for (int left = 0; left < 64; left += 8 * step) {
                    double sum = 0;
                    for (int y = top; y < top + 8; ++y)
                        for (int x = left; x < left + 8 * step; x += step) {
                            const double error = decoded.At(x, y)[component] -
                                                 picture.At(x, y)[static_cast<size_t>(component)];
                            sum += error * error;
                        }
                    EXPECT_LE(sum / 64, greatest) << quality << ", " << component;
                }
        }
    }
}

TEST_F(Decoded, PictureGetsBetterWithItsQuality) {
    const TestBitmap bitmap = MakeSoft(96, 64);
    double before = 0;
    for (const int quality : {45, 55, 65, 75, 85, 95, 100}) {
        const DecodedJpeg decoded =
            Decode(bitmap, MakeSettings(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, quality),
                   DecodeAs::kComponents);
        const double now = Psnr(decoded, bitmap, KOWEN_FORMAT_YCC422, 0);
        EXPECT_GT(now, before) << quality;
        before = now;
    }
}

// The progressive file holds what the sequential one holds, coded in another order.
TEST_F(Decoded, ProgressiveAndSequentialPicturesAreTheSame) {
    const TestBitmap bitmap = MakeSoft(96, 64); // whole MCUs: no edge is padded differently
    for (const int quality : {30, 75, 100}) {
        const DecodedJpeg sequential =
            Decode(bitmap, MakeSettings(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, quality),
                   DecodeAs::kComponents);
        const DecodedJpeg progressive =
            Decode(bitmap, MakeSettings(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_PROGRESSIVE, quality),
                   DecodeAs::kComponents);
        EXPECT_EQ(sequential.pixels, progressive.pixels) << quality;
    }
}

// The encoder's colour formulas are rougher than the decoder's, but not by more than this.
constexpr int kColorTolerance = 30;

void ExpectColor(const DecodedJpeg &decoded, int x, int y, int red, int green, int blue) {
    const uint8_t *p = decoded.At(x, y);
    EXPECT_NEAR(p[0], red, kColorTolerance) << x << ", " << y;
    EXPECT_NEAR(p[1], green, kColorTolerance) << x << ", " << y;
    EXPECT_NEAR(p[2], blue, kColorTolerance) << x << ", " << y;
}

TEST_F(Decoded, PictureStandsUprightInItsColors) {
    // In memory the bottom rows come first: white over black on the left, red over blue right.
    TestBitmap bitmap = MakeFlat(32, 32, 0, 0, 0);
    for (int row = 0; row < 32; ++row)
        for (int x = 0; x < 32; ++x) {
            uint8_t *p = bitmap.Pixel(x, row);
            const bool upper = row >= 16;
            const bool left = x < 16;
            p[0] = upper ? 255 : 0;
            p[1] = upper && left ? 255 : 0;
            p[2] = upper == left ? 255 : 0;
            if (!upper && left)
                p[2] = 0;
        }
    for (const int operation : {KOWEN_OPERATION_SEQUENTIAL, KOWEN_OPERATION_PROGRESSIVE}) {
        const DecodedJpeg decoded =
            Decode(bitmap, MakeSettings(KOWEN_FORMAT_YCC422, operation, 95), DecodeAs::kColours);
        ASSERT_TRUE(decoded.Clean());
        ExpectColor(decoded, 4, 4, 255, 255, 255);
        ExpectColor(decoded, 28, 4, 255, 0, 0);
        ExpectColor(decoded, 4, 28, 0, 0, 0);
        ExpectColor(decoded, 28, 28, 0, 0, 255);
    }
}

// Of a flat picture at quality 100: what docs/settings.md tells.
TEST_F(Decoded, PureColoursComeOutPaler) {
    constexpr int kColours[][2][3] = {
        {{255, 0, 0}, {232, 10, 9}},      {{0, 255, 0}, {20, 247, 18}},
        {{0, 0, 255}, {4, 0, 229}},       {{255, 255, 0}, {251, 255, 27}},
        {{200, 100, 50}, {189, 105, 59}}, {{128, 128, 128}, {128, 128, 128}},
    };
    for (const auto &[given, shown] : kColours) {
        const TestBitmap bitmap =
            MakeFlat(16, 16, static_cast<uint8_t>(given[0]), static_cast<uint8_t>(given[1]),
                     static_cast<uint8_t>(given[2]));
        const DecodedJpeg decoded =
            Decode(bitmap, MakeSettings(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 100),
                   DecodeAs::kColours);
        const uint8_t *p = decoded.At(7, 7);
        EXPECT_EQ((std::vector<int>{p[0], p[1], p[2]}),
                  (std::vector<int>{shown[0], shown[1], shown[2]}));
    }
}

// Columns of red and black, or of red and white, have the chroma of red all over.
TEST_F(Decoded, ChromaIsThatOfTheEvenColumns) {
    const DecodedJpeg red = Decode(
        MakeFlat(32, 16, 255, 0, 0),
        MakeSettings(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 100), DecodeAs::kComponents);
    for (const uint8_t odd : {uint8_t{0}, uint8_t{255}}) {
        TestBitmap bitmap = MakeFlat(32, 16, 255, 0, 0);
        for (int row = 0; row < 16; ++row)
            for (int x = 1; x < 32; x += 2)
                std::fill_n(bitmap.Pixel(x, row), 3, odd);
        const DecodedJpeg striped =
            Decode(bitmap, MakeSettings(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 100),
                   DecodeAs::kComponents);
        EXPECT_NE(striped.At(1, 0)[0], red.At(1, 0)[0]);
        for (int y = 0; y < 16; ++y)
            for (int x = 0; x < 32; ++x)
                for (const int component : {1, 2})
                    ASSERT_EQ(striped.At(x, y)[component], red.At(x, y)[component]) << x;
    }
}

TEST_F(Decoded, CancelledFileIsCutShort) {
    StatusRecorder status;
    status.answers = {1, 1};
    const TestBitmap bitmap = MakeNoise(64, 64);
    const ExportRun run = host.ExportToMemory(
        bitmap, MakeSettings(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 75), CellFor(bitmap),
        &status);
    const DecodedJpeg decoded = DecodeJpeg(run.jpeg);
    EXPECT_FALSE(decoded.Clean());
    EXPECT_EQ(decoded.width, 64);
}

} // namespace
