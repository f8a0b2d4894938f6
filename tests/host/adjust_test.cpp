#include "picture/adjust.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <random>
#include <utility>
#include <vector>

namespace kowen::host {
namespace {

using Row = std::vector<uint8_t>;

std::vector<const AdjustVariant *> Variants() {
    std::vector<const AdjustVariant *> variants;
    for (const AdjustVariant *const *variant = AdjustVariants(); *variant != nullptr; ++variant)
        variants.push_back(*variant);
    return variants;
}

// What the filter makes of a pixel; divisions truncate.
struct Samples {
    int y, cb, cr;
};

Samples ThroughFilter(const uint8_t *pixel) {
    const int y = (3 * pixel[0] + 6 * pixel[1] + pixel[2]) / 10;
    return {y, (pixel[2] - y) / 2 + 128, (pixel[0] - y) * 10 / 16 + 128};
}

// JFIF 1.02, not rounded.
struct Exact {
    double y, cb, cr;
};

Exact Jfif(double r, double g, double b) {
    const double y = 0.299 * r + 0.587 * g + 0.114 * b;
    return {y, (b - y) / 1.772 + 128, (r - y) / 1.402 + 128};
}

Row RandomRow(size_t width, int low, int high) {
    std::mt19937 random(static_cast<unsigned>(width));
    std::uniform_int_distribution<int> value(low, high);
    Row row(width * 3);
    for (uint8_t &byte : row)
        byte = static_cast<uint8_t>(value(random));
    return row;
}

TEST(AdjustRow, SolvesAPixelByHand) {
    // Y 114.45, Cb 128 + 20.06, Cr 128 - 17.44: b = 114 + 40, r = 114 - 28, g = (1140 - 258 - 154)
    // / 6
    for (const AdjustVariant *variant : Variants()) {
        Row row = {90, 120, 150};
        EXPECT_EQ(variant->single(row.data(), 1), 0U);
        EXPECT_EQ(row, (Row{86, 122, 154})) << variant->name;
    }
}

TEST(AdjustRow, SharesChromaInAPairAndLeavesItToTheFirst) {
    // Y 129.9 and 111.4; the mean (150, 100, 150) has Cb 128 + 16.56, Cr 128 + 20.93:
    // r = 130 + 34, b = 130 + 34, g = (1300 - 492 - 164) / 6 = 107.3, up
    for (const AdjustVariant *variant : Variants()) {
        Row row = {200, 100, 100, 100, 100, 200, 7, 7, 7};
        EXPECT_EQ(variant->pairs(row.data(), 3), 0U);
        EXPECT_EQ(row, (Row{164, 108, 164, 111, 111, 111, 7, 7, 7})) << variant->name;
    }
}

// The filter repeats the last pixel of a row up to a whole number of blocks, chroma included.
// r = 111 + 34, b = 111 + 34, g = (1110 - 435 - 145) / 6 = 88.3, up
TEST(AdjustRow, GivesTheLastOfARowItsChromaToo) {
    for (const AdjustVariant *variant : Variants()) {
        Row row = {200, 100, 100, 100, 100, 200};
        EXPECT_EQ(variant->pairs(row.data(), 2), 0U);
        EXPECT_EQ(row, (Row{164, 108, 164, 145, 89, 145})) << variant->name;
    }
}

TEST(AdjustRow, GivesAnOddLastColumnItsOwnChroma) {
    for (const AdjustVariant *variant : Variants()) {
        Row row = {200, 100, 100, 100, 100, 200, 90, 120, 150};
        variant->pairs(row.data(), 3);
        EXPECT_EQ(row, (Row{164, 108, 164, 111, 111, 111, 86, 122, 154})) << variant->name;
    }
}

TEST(AdjustRow, ClipsWhatTheFilterCannotBeGivenAndCountsIt) {
    // Red wants r = 76 + 205 and b = 76 - 86.
    for (const AdjustVariant *variant : Variants()) {
        Row row = {255, 0, 0};
        EXPECT_EQ(variant->single(row.data(), 1), 1U);
        EXPECT_EQ(row, (Row{255, 0, 0})) << variant->name;
        Row pair = {255, 0, 0, 255, 0, 0, 128, 128, 128};
        EXPECT_EQ(variant->pairs(pair.data(), 3), 2U) << variant->name;
        Row white = {255, 255, 255, 0, 0, 0};
        EXPECT_EQ(variant->pairs(white.data(), 2), 0U) << variant->name;
    }
}

// Y and Cr - 128 of (190, 20, 60) are 75 and 82, which want a red of 207; of (255, 90, 80) 138 and
// 83, which want 271, 16 too much; of (255, 80, 80) 132 and 88, which want 273.
TEST(AdjustRow, CountsWhatIsSeenMissingOnly) {
    for (const AdjustVariant *variant : Variants()) {
        Row row = {190, 20, 60, 255, 90, 80, 255, 80, 80};
        EXPECT_EQ(variant->single(row.data(), 3), 1U) << variant->name;
    }
}

TEST(AdjustRow, MakesGreysOfTheLuminance) {
    for (const AdjustVariant *variant : Variants()) {
        Row row = {255, 0, 0, 0, 255, 0, 0, 0, 255, 255, 255, 255};
        EXPECT_EQ(variant->grey(row.data(), 4), 0U);
        EXPECT_EQ(row, (Row{76, 76, 76, 150, 150, 150, 29, 29, 29, 255, 255, 255}))
            << variant->name;
    }
}

TEST(AdjustRow, LeavesGreysAsTheyAre) {
    for (const AdjustVariant *variant : Variants()) {
        for (int grey = 0; grey < 256; ++grey) {
            const auto value = static_cast<uint8_t>(grey);
            Row row = {value, value, value};
            EXPECT_EQ(variant->single(row.data(), 1), 0U);
            EXPECT_EQ(row, (Row{value, value, value})) << variant->name;
        }
    }
}

// Every colour of a grid: what is not clipped has its samples rounded right, and luminance is
// right for nearly all that is.
TEST(AdjustRow, MakesTheFilterGiveWhatJfifAsksFor) {
    for (const AdjustVariant *variant : Variants()) {
        for (int r = 0; r < 256; r += 5)
            for (int g = 0; g < 256; g += 5)
                for (int b = 0; b < 256; b += 5) {
                    Row row = {static_cast<uint8_t>(r), static_cast<uint8_t>(g),
                               static_cast<uint8_t>(b)};
                    const Exact exact = Jfif(r, g, b);
                    const Exact solved = {std::round(exact.y), std::round(exact.cb),
                                          std::round(exact.cr)};
                    const double red = solved.y + 1.6 * (solved.cr - 128);
                    const double blue = solved.y + 2 * (solved.cb - 128);
                    const double green = (10 * solved.y - 3 * red - blue) / 6;
                    const bool inside =
                        red > 2 && red < 253 && blue > 2 && blue < 253 && green > 2 && green < 253;
                    variant->single(row.data(), 1);
                    if (!inside)
                        continue;
                    const Samples samples = ThroughFilter(row.data());
                    ASSERT_NEAR(samples.y, exact.y, 0.51) << r << ' ' << g << ' ' << b;
                    ASSERT_NEAR(samples.cb, exact.cb, 0.51) << r << ' ' << g << ' ' << b;
                    ASSERT_NEAR(samples.cr, exact.cr, 0.51) << r << ' ' << g << ' ' << b;
                }
    }
}

TEST(AdjustRow, GivesPairsTheMeanChroma) {
    for (const AdjustVariant *variant : Variants()) {
        const Row before = RandomRow(200, 90, 165);
        Row row = before;
        variant->pairs(row.data(), 200);
        for (size_t x = 0; x < 200; x += 2) {
            const uint8_t *p = &before[x * 3];
            const Exact first = Jfif(p[0], p[1], p[2]);
            const Exact second = Jfif(p[3], p[4], p[5]);
            const Samples even = ThroughFilter(&row[x * 3]);
            const Samples odd = ThroughFilter(&row[x * 3 + 3]);
            EXPECT_NEAR(even.y, first.y, 0.51);
            EXPECT_NEAR(odd.y, second.y, 0.51);
            EXPECT_NEAR(even.cb, (first.cb + second.cb) / 2, 0.51);
            EXPECT_NEAR(even.cr, (first.cr + second.cr) / 2, 0.51);
        }
    }
}

// What adjust.h says, a pixel at a time, with divisions that round down.
int RoundedDown(int64_t numerator, int64_t denominator) {
    const int64_t quotient = numerator / denominator;
    return static_cast<int>(numerator % denominator < 0 ? quotient - 1 : quotient);
}

int PlainLuminance(const uint8_t *p) {
    return RoundedDown(9798 * p[0] + 19235 * p[1] + 3735 * p[2] + 16384, 32768);
}

// Writes the pixel for a luminance and the mean chroma of `pixels` pixels. Returns 1 when it is
// clipped.
uint32_t PlainPixel(int y, const int (&sum)[3], int pixels, uint8_t *out) {
    const int whole = 32768 * pixels;
    const int cb = RoundedDown(-5529 * sum[0] - 10855 * sum[1] + 16384 * sum[2] + whole / 2, whole);
    const int cr = RoundedDown(16384 * sum[0] - 13720 * sum[1] - 2664 * sum[2] + whole / 2, whole);
    const int away = (8 * std::abs(cr) + 4) / 5;
    const int red = y + (cr < 0 ? -away : away);
    const int blue = y + 2 * cb;
    const int redByte = std::clamp(red, 0, 255);
    const int blueByte = std::clamp(blue, 0, 255);
    const int green = -RoundedDown(-(10 * y - 3 * redByte - blueByte), 6);
    out[0] = static_cast<uint8_t>(redByte);
    out[1] = static_cast<uint8_t>(std::clamp(green, 0, 255));
    out[2] = static_cast<uint8_t>(blueByte);
    const auto outside = [](int value) { return value < -16 || value > 271; };
    return outside(red) || outside(green) || outside(blue) ? 1 : 0;
}

uint32_t PlainSingle(uint8_t *p) {
    const int own[3] = {p[0], p[1], p[2]};
    return PlainPixel(PlainLuminance(p), own, 1, p);
}

uint32_t PlainPairs(uint8_t *row, uint32_t width) {
    uint32_t clipped = 0;
    for (uint32_t x = 0; x < width; x += 2) {
        uint8_t *p = row + size_t{x} * 3;
        if (x + 1 == width)
            return clipped + PlainSingle(p);
        const int sum[3] = {p[0] + p[3], p[1] + p[4], p[2] + p[5]};
        const int second = PlainLuminance(p + 3);
        clipped += 2 * PlainPixel(PlainLuminance(p), sum, 2, p);
        if (x + 2 == width)
            PlainPixel(second, sum, 2, p + 3);
        else
            std::fill(p + 3, p + 6, static_cast<uint8_t>(second));
    }
    return clipped;
}

uint32_t PlainSingles(uint8_t *row, uint32_t width) {
    uint32_t clipped = 0;
    for (uint32_t x = 0; x < width; ++x)
        clipped += PlainSingle(row + size_t{x} * 3);
    return clipped;
}

uint32_t PlainGreys(uint8_t *row, uint32_t width) {
    for (uint32_t x = 0; x < width; ++x, row += 3)
        std::fill(row, row + 3, static_cast<uint8_t>(PlainLuminance(row)));
    return 0;
}

// Whole rows, bytes behind the row included, which must stay.
void ExpectPlain(const Row &before, size_t width) {
    const auto columns = static_cast<uint32_t>(width);
    for (const AdjustVariant *variant : Variants()) {
        const std::pair<AdjustRow, AdjustRow> forms[] = {{variant->pairs, PlainPairs},
                                                         {variant->single, PlainSingles},
                                                         {variant->grey, PlainGreys}};
        for (const auto &[form, plainForm] : forms) {
            Row plain = before;
            Row row = before;
            EXPECT_EQ(form(row.data(), columns), plainForm(plain.data(), columns))
                << variant->name << ' ' << width;
            ASSERT_EQ(row, plain) << variant->name << ' ' << width;
        }
    }
}

TEST(AdjustRow, IsThePlainCalculationInEveryFormAndWidth) {
    for (size_t width = 1; width <= 200; ++width)
        ExpectPlain(RandomRow(width + 30, 0, 255), width);
}

// Beside pixels of every kind, those at the cube's corners, where everything is clipped.
TEST(AdjustRow, IsThePlainCalculationForTheMostVividColours) {
    std::mt19937 random(7);
    Row row(3 * 4096);
    for (uint8_t &byte : row)
        byte = random() % 4 != 0 ? static_cast<uint8_t>(random() % 2 * 255)
                                 : static_cast<uint8_t>(random() % 256);
    ExpectPlain(row, 4096);
}

// Each luminance with each chroma that a pair can have, or nearly.
TEST(AdjustRow, IsThePlainCalculationForAGridOfColours) {
    Row row;
    for (int r = 0; r < 256; r += 3)
        for (int g = 0; g < 256; g += 3)
            for (int b = 0; b < 256; b += 3)
                for (const int value : {r, g, b, r, g, b})
                    row.push_back(static_cast<uint8_t>(value));
    ExpectPlain(row, row.size() / 3);
}

} // namespace
} // namespace kowen::host
