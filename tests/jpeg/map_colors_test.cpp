#include "jpeg/map_colors.h"

#include "reference/jpeg/colors.h"
#include "support/bitmaps.h"

#include <vector>

#include <gtest/gtest.h>

namespace kowen {
namespace {

using reference::Pixel;

Pixel MapOne(Pixel pixel, int32_t colorFormat, int32_t byteOrder = kByteOrderRgb) {
    EXPECT_EQ(MapColors(pixel.data(), 1, 4, 1, colorFormat, byteOrder), 0);
    return pixel;
}

TEST(MapColors, ColorsBecomeLuminanceAndChroma) {
    EXPECT_EQ(MapOne({255, 255, 255}, KOWEN_FORMAT_YCC422), (Pixel{255, 128, 128}));
    EXPECT_EQ(MapOne({0, 0, 0}, KOWEN_FORMAT_YCC422), (Pixel{0, 128, 128}));
    EXPECT_EQ(MapOne({255, 0, 0}, KOWEN_FORMAT_YCC422), (Pixel{76, 90, 239}));
    EXPECT_EQ(MapOne({0, 255, 0}, KOWEN_FORMAT_YCC422),
              (Pixel{153, 52, 33})); // (0 - 153) / 2, -1530 / 16
    EXPECT_EQ(MapOne({0, 0, 255}, KOWEN_FORMAT_YCC422),
              (Pixel{25, 243, 113})); // 230 / 2, -250 / 16
}

// y = (300 + 606 + 102) / 10 = 100; (102 - 100) / 2 = 1; and -1 / 2, -10 / 16 are 0, not -1.
TEST(MapColors, DivisionsTruncateTowardZero) {
    EXPECT_EQ(MapOne({100, 101, 102}, KOWEN_FORMAT_YCC422), (Pixel{100, 129, 128}));
    EXPECT_EQ(MapOne({99, 101, 99}, KOWEN_FORMAT_YCC422), (Pixel{100, 128, 128}));
}

TEST(MapColors, ByteOrderOneTakesBlueFirst) {
    EXPECT_EQ(MapOne({0, 0, 255}, KOWEN_FORMAT_YCC422, kByteOrderBgr), (Pixel{76, 90, 239}));
    EXPECT_EQ(MapOne({255, 0, 0}, KOWEN_FORMAT_YCC422, kByteOrderBgr), (Pixel{25, 243, 113}));
    EXPECT_EQ(MapOne({0, 255, 0}, KOWEN_FORMAT_YCC422, kByteOrderBgr), (Pixel{153, 52, 33}));
}

TEST(MapColors, AnyByteOrderButOneTakesRedFirst) {
    for (const int32_t byteOrder : {0, 2, 3, -1})
        EXPECT_EQ(MapOne({255, 0, 0}, KOWEN_FORMAT_YCC422, byteOrder), (Pixel{76, 90, 239}))
            << byteOrder;
}

TEST(MapColors, FullSizeFormatExchangesFirstAndThird) {
    EXPECT_EQ(MapOne({1, 2, 3}, KOWEN_FORMAT_RGB444), (Pixel{3, 2, 1}));
    EXPECT_EQ(MapOne({1, 2, 3}, KOWEN_FORMAT_RGB444, kByteOrderBgr), (Pixel{3, 2, 1}));
}

TEST(MapColors, GreyWeighsTheThirdByteMost) {
    EXPECT_EQ(MapOne({0, 0, 255}, KOWEN_FORMAT_GREY), (Pixel{76, 76, 76}));
    EXPECT_EQ(MapOne({255, 0, 0}, KOWEN_FORMAT_GREY), (Pixel{25, 25, 25}));
    EXPECT_EQ(MapOne({0, 255, 0}, KOWEN_FORMAT_GREY), (Pixel{153, 153, 153}));
    EXPECT_EQ(MapOne({0, 0, 255}, KOWEN_FORMAT_GREY, kByteOrderBgr), (Pixel{76, 76, 76}));
    EXPECT_EQ(MapOne({255, 255, 255}, KOWEN_FORMAT_GREY), (Pixel{255, 255, 255}));
}

TEST(MapColors, OtherFormatsAreTakenAsColor) {
    for (const int32_t colorFormat : {0, 3, 213, 216})
        EXPECT_EQ(MapOne({255, 0, 0}, colorFormat), (Pixel{76, 90, 239})) << colorFormat;
}

TEST(MapColors, BytesBetweenTheRowsStay) {
    std::vector<uint8_t> pixels = {1, 2, 3, 77, 4, 5, 6, 78};
    EXPECT_EQ(MapColors(pixels.data(), 1, 4, 2, KOWEN_FORMAT_RGB444, kByteOrderRgb), 0);
    EXPECT_EQ(pixels, (std::vector<uint8_t>{3, 2, 1, 77, 6, 5, 4, 78}));
}

TEST(MapColors, NoPixelsChangeNothing) {
    uint8_t byte = 9;
    EXPECT_EQ(MapColors(&byte, 0, 0, 1, KOWEN_FORMAT_YCC422, kByteOrderRgb), 0);
    EXPECT_EQ(MapColors(&byte, 1, 4, 0, KOWEN_FORMAT_YCC422, kByteOrderRgb), 0);
    EXPECT_EQ(byte, 9);
}

// One row of all greens and blues for a given red.
void ExpectPlainMapping(int red, int step, int32_t colorFormat, int32_t byteOrder) {
    std::vector<uint8_t> row;
    for (int green = 0; green < 256; green += step)
        for (int blue = 0; blue < 256; blue += step)
            for (const int byte : {red, green, blue})
                row.push_back(static_cast<uint8_t>(byte));
    std::vector<uint8_t> mapped = row;
    MapColors(mapped.data(), static_cast<uint32_t>(row.size() / 3),
              static_cast<uint32_t>(row.size()), 1, colorFormat, byteOrder);
    for (size_t i = 0; i < row.size(); i += 3) {
        const Pixel plain = reference::Mapped({row[i], row[i + 1], row[i + 2]}, colorFormat,
                                              byteOrder == kByteOrderBgr);
        if (plain != Pixel{mapped[i], mapped[i + 1], mapped[i + 2]})
            FAIL() << colorFormat << ": " << red << ", " << +row[i + 1] << ", " << +row[i + 2];
    }
}

TEST(MapColors, EveryColorFollowsTheFormula) {
    constexpr size_t kGreensAndBlues = 256 * 256;
    std::vector<uint8_t> row(kGreensAndBlues * 3);
    for (int r = 0; r < 256; ++r) {
        uint8_t *p = row.data();
        for (int g = 0; g < 256; ++g)
            for (int b = 0; b < 256; ++b)
                for (const int byte : {r, g, b})
                    *p++ = static_cast<uint8_t>(byte);
        MapColors(row.data(), kGreensAndBlues, kGreensAndBlues * 3, 1, KOWEN_FORMAT_YCC422,
                  kByteOrderRgb);
        p = row.data();
        for (int g = 0; g < 256; ++g)
            for (int b = 0; b < 256; ++b, p += 3) {
                const int y = (3 * r + 6 * g + b) / 10;
                if (p[0] != y || p[1] != (b - y) / 2 + 128 || p[2] != (r - y) * 10 / 16 + 128)
                    FAIL() << r << ", " << g << ", " << b;
            }
    }
}

TEST(MapColors, EveryThirdColorEqualsTheReferenceInTheOtherFormats) {
    for (int red = 0; red < 256; red += 3) {
        ExpectPlainMapping(red, 3, KOWEN_FORMAT_YCC422, kByteOrderBgr);
        ExpectPlainMapping(red, 3, KOWEN_FORMAT_GREY, kByteOrderRgb);
        ExpectPlainMapping(red, 5, KOWEN_FORMAT_RGB444, kByteOrderRgb);
    }
}

TEST(MapColors, EveryWidthEqualsTheReferenceAndStaysInItsRows) {
    for (const int32_t colorFormat : {KOWEN_FORMAT_YCC422, KOWEN_FORMAT_GREY, KOWEN_FORMAT_RGB444})
        for (int width = 1; width <= 140; ++width) {
            const TestBitmap before = MakeNoise(width, 3, static_cast<uint32_t>(width));
            TestBitmap after = before;
            MapColors(after.pixels.data(), static_cast<uint32_t>(width),
                      static_cast<uint32_t>(after.Stride()), 3, colorFormat, kByteOrderRgb);
            for (int row = 0; row < 3; ++row) {
                for (int x = 0; x < width; ++x) {
                    const uint8_t *b = before.Pixel(x, row);
                    const uint8_t *a = after.Pixel(x, row);
                    ASSERT_EQ((Pixel{a[0], a[1], a[2]}),
                              reference::Mapped({b[0], b[1], b[2]}, colorFormat))
                        << width << ": " << x << ", " << row;
                }
                for (int i = width * 3; i < before.Stride(); ++i)
                    ASSERT_EQ(*(after.Pixel(0, row) + i), *(before.Pixel(0, row) + i)) << width;
            }
        }
}

} // namespace
} // namespace kowen
