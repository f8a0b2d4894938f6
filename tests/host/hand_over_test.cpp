// The caller's pixels in the filter's bitmap, seen without an export.
#include "picture/hand_over.h"

#include "base/failure.h"

#include <gtest/gtest.h>

#include <cstring>

namespace kowen::host {
namespace {

using Bytes = std::vector<uint8_t>;

const FilterModule &Module() {
    static const FilterModule module(KOWEN_MODULE);
    return module;
}

KowenPicture PictureOf(KowenPixelFormat format, uint32_t width, uint32_t height,
                       const void *pixels) {
    KowenPicture picture = {};
    picture.size = sizeof picture;
    picture.format = format;
    picture.width = width;
    picture.height = height;
    picture.pixels = pixels;
    return picture;
}

// Pixels as they come: nothing is adjusted.
PixelPlan AsTheyAre() {
    PixelPlan plan;
    plan.adjust = false;
    return plan;
}

HandedOver Take(const KowenPicture &picture, const PixelPlan &plan) {
    Progress progress(nullptr);
    return HandOver(Module(), GivenPicture(&picture), plan, &progress);
}

// The rows from the top, without padding, `bytes` of each.
Bytes Rows(const Bitmap &bitmap, size_t bytes) {
    Bytes rows;
    for (uint32_t y = 0; y < bitmap.Height(); ++y)
        rows.insert(rows.end(), bitmap.Row(y), bitmap.Row(y) + bytes);
    return rows;
}

// Two columns of three rows; each pixel is its number three times.
//   1 2
//   3 4
//   5 6
Bytes Numbered() {
    Bytes pixels;
    for (uint8_t i = 1; i <= 6; ++i)
        pixels.insert(pixels.end(), 3, i);
    return pixels;
}

Bytes Each(std::initializer_list<int> numbers, size_t times) {
    Bytes bytes;
    for (const int number : numbers)
        bytes.insert(bytes.end(), times, static_cast<uint8_t>(number));
    return bytes;
}

TEST(HandOver, StoresTheBottomRowFirst) {
    const Bytes pixels = Numbered();
    const HandedOver handed = Take(PictureOf(KOWEN_PIXEL_RGB, 2, 3, pixels.data()), AsTheyAre());
    EXPECT_EQ(handed.bitmap.Depth(), 24);
    EXPECT_EQ(Rows(handed.bitmap, 6), pixels);
    // Rows of 6 bytes are 8 apart, and the first in memory is the bottom one.
    EXPECT_EQ(handed.bitmap.Row(1) - handed.bitmap.Row(2), 8);
}

TEST(HandOver, TurnsEachOrientationUpright) {
    struct Case {
        uint32_t orientation;
        uint32_t width;
        std::initializer_list<int> upright;
    };
    // EXIF 2.3, tag 274: where the stored row 0 and column 0 are in the picture that is seen.
    const Case kCases[] = {
        {1, 2, {1, 2, 3, 4, 5, 6}}, // top, left
        {2, 2, {2, 1, 4, 3, 6, 5}}, // top, right
        {3, 2, {6, 5, 4, 3, 2, 1}}, // bottom, right
        {4, 2, {5, 6, 3, 4, 1, 2}}, // bottom, left
        {5, 3, {1, 3, 5, 2, 4, 6}}, // left, top
        {6, 3, {5, 3, 1, 6, 4, 2}}, // right, top
        {7, 3, {6, 4, 2, 5, 3, 1}}, // right, bottom
        {8, 3, {2, 4, 6, 1, 3, 5}}, // left, bottom
    };
    for (const Case &one : kCases) {
        const Bytes pixels = Numbered();
        KowenPicture colours = PictureOf(KOWEN_PIXEL_RGB, 2, 3, pixels.data());
        colours.orientation = one.orientation;
        const HandedOver handed = Take(colours, AsTheyAre());
        EXPECT_EQ(handed.bitmap.Width(), one.width);
        EXPECT_EQ(Rows(handed.bitmap, size_t{one.width} * 3), Each(one.upright, 3))
            << one.orientation;
        const Bytes numbers = {1, 2, 3, 4, 5, 6};
        KowenPicture greys = PictureOf(KOWEN_PIXEL_GREY, 2, 3, numbers.data());
        greys.orientation = one.orientation;
        EXPECT_EQ(Rows(Take(greys, AsTheyAre()).bitmap, one.width), Each(one.upright, 1))
            << one.orientation;
    }
}

// More rows than are gathered at a time.
TEST(HandOver, TurnsTallPictures) {
    Bytes pixels;
    for (int i = 0; i < 100; ++i)
        pixels.push_back(static_cast<uint8_t>(i));
    KowenPicture picture = PictureOf(KOWEN_PIXEL_GREY, 1, 100, pixels.data());
    picture.orientation = 5;
    EXPECT_EQ(Rows(Take(picture, AsTheyAre()).bitmap, 100), pixels);
    picture.orientation = 6;
    EXPECT_EQ(Rows(Take(picture, AsTheyAre()).bitmap, 100), Bytes(pixels.rbegin(), pixels.rend()));
}

TEST(HandOver, FollowsStridesOfEveryKind) {
    // Bottom row first: the address is the top row's, the stride negative.
    const Bytes pixels = Numbered();
    KowenPicture picture = PictureOf(KOWEN_PIXEL_RGB, 2, 3, pixels.data() + 12);
    picture.stride = -6;
    EXPECT_EQ(Rows(Take(picture, AsTheyAre()).bitmap, 6), Each({5, 6, 3, 4, 1, 2}, 3));

    // Planes: 2 x 1 pixels, all reds, all greens, all blues.
    const Bytes planes = {10, 11, 20, 21, 30, 31};
    picture = PictureOf(KOWEN_PIXEL_RGB, 2, 1, planes.data());
    picture.stride = 2;
    picture.pixelStride = 1;
    picture.channelStride = 2;
    EXPECT_EQ(Rows(Take(picture, AsTheyAre()).bitmap, 6), (Bytes{10, 20, 30, 11, 21, 31}));

    // From the right, in 4-byte steps.
    const Bytes padded = {1, 2, 3, 0, 4, 5, 6, 0};
    picture = PictureOf(KOWEN_PIXEL_RGB, 2, 1, padded.data() + 4);
    picture.pixelStride = -4;
    EXPECT_EQ(Rows(Take(picture, AsTheyAre()).bitmap, 6), (Bytes{4, 5, 6, 1, 2, 3}));
}

TEST(HandOver, LaysTransparencyOnTheBackground) {
    PixelPlan plan = AsTheyAre();
    plan.background = {100, 0, 255};
    const Bytes rgba = {200, 200, 200, 255, 200, 200, 200, 0, 200, 200, 200, 51};
    const HandedOver handed = Take(PictureOf(KOWEN_PIXEL_RGBA, 3, 1, rgba.data()), plan);
    // A fifth of 200 and four fifths of the background.
    EXPECT_EQ(Rows(handed.bitmap, 9), (Bytes{200, 200, 200, 100, 0, 255, 120, 40, 244}));
    EXPECT_TRUE(handed.flattened);
    const Bytes bgra = {1, 2, 3, 255};
    const HandedOver opaque = Take(PictureOf(KOWEN_PIXEL_BGRA, 1, 1, bgra.data()), plan);
    EXPECT_EQ(Rows(opaque.bitmap, 3), (Bytes{3, 2, 1}));
    EXPECT_FALSE(opaque.flattened);
    const Bytes greyAlpha = {50, 255, 50, 0};
    EXPECT_EQ(Rows(Take(PictureOf(KOWEN_PIXEL_GREY_ALPHA, 2, 1, greyAlpha.data()), plan).bitmap, 6),
              (Bytes{50, 50, 50, 100, 0, 255}));
}

TEST(HandOver, PacksPalettesAsTheFilterHasThem) {
    const Bytes palette = {0, 0, 0, 255, 0, 0, 0, 255, 0};
    const Bytes indexes = {0, 1, 2, 1, 9};
    KowenPicture picture = PictureOf(KOWEN_PIXEL_INDEXED, 5, 1, indexes.data());
    picture.palette = palette.data();
    picture.paletteSize = 3;
    const HandedOver handed = Take(picture, AsTheyAre());
    EXPECT_EQ(handed.bitmap.Depth(), 4);
    // An index without a colour is the first one.
    EXPECT_EQ(Rows(handed.bitmap, 3), (Bytes{0x01, 0x21, 0x00}));
    picture.paletteSize = 2;
    EXPECT_EQ(Take(picture, AsTheyAre()).bitmap.Depth(), 1);
    EXPECT_EQ(Rows(Take(picture, AsTheyAre()).bitmap, 1), (Bytes{0x50}));
}

TEST(HandOver, GivesColoursOfAPaletteAsPixelsWhenTheyAreAdjusted) {
    const Bytes palette = {90, 120, 150, 7, 7, 7};
    const Bytes indexes = {0, 1, 1};
    KowenPicture picture = PictureOf(KOWEN_PIXEL_INDEXED, 3, 1, indexes.data());
    picture.palette = palette.data();
    picture.paletteSize = 2;
    PixelPlan plan;
    plan.resized = true; // each pixel by itself
    const HandedOver handed = Take(picture, plan);
    EXPECT_EQ(handed.bitmap.Depth(), 24);
    EXPECT_EQ(Rows(handed.bitmap, 9), (Bytes{86, 122, 154, 7, 7, 7, 7, 7, 7}));
    plan.greyFile = true; // luminance 114.45
    const HandedOver grey = Take(picture, plan);
    EXPECT_EQ(grey.bitmap.Depth(), 1);
    EXPECT_EQ(Rows(grey.bitmap, 1), (Bytes{0x60}));
}

TEST(HandOver, KeepsGreysAndTwoColoursSmall) {
    const Bytes greys = {1, 2, 3};
    EXPECT_EQ(Take(PictureOf(KOWEN_PIXEL_GREY, 3, 1, greys.data()), {}).bitmap.Depth(), 8);
    const Bytes bits = {0xA0, 0x40}; // 10 pixels: 1010 0000 01
    const HandedOver handed = Take(PictureOf(KOWEN_PIXEL_BILEVEL, 10, 1, bits.data()), {});
    EXPECT_EQ(handed.bitmap.Depth(), 1);
    EXPECT_EQ(Rows(handed.bitmap, 2), bits);
}

TEST(HandOver, AppliesTheColourMode) {
    PixelPlan plan = AsTheyAre();
    plan.colourMode = KOWEN_COLOR_INVERTED;
    const Bytes rgb = {1, 2, 3};
    EXPECT_EQ(Rows(Take(PictureOf(KOWEN_PIXEL_RGB, 1, 1, rgb.data()), plan).bitmap, 3),
              (Bytes{254, 253, 252}));
}

TEST(HandOver, CountsWhatIsClippedInPercent) {
    const Bytes rgb = {255, 0, 0, 255, 0, 0, 128, 128, 128, 128, 128, 128};
    EXPECT_DOUBLE_EQ(Take(PictureOf(KOWEN_PIXEL_RGB, 4, 1, rgb.data()), {}).clippedPercent, 50);
}

TEST(HandOver, ReadsRowsOnceInOrder) {
    struct Reader {
        std::vector<uint32_t> rows;
        static int32_t Read(void *context, uint32_t row, void *pixels) {
            static_cast<Reader *>(context)->rows.push_back(row);
            std::memset(pixels, static_cast<int>(row), 6);
            return row == 7 ? 1 : 0;
        }
    } reader;
    KowenPicture picture = PictureOf(KOWEN_PIXEL_RGB, 2, 3, nullptr);
    picture.readRow = Reader::Read;
    picture.rowContext = &reader;
    EXPECT_EQ(Rows(Take(picture, AsTheyAre()).bitmap, 6), Each({0, 1, 2}, 6));
    EXPECT_EQ(reader.rows, (std::vector<uint32_t>{0, 1, 2}));
    picture.height = 9;
    try {
        Take(picture, AsTheyAre());
        FAIL();
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.Code(), KOWEN_HOST_ERR_PICTURE);
        EXPECT_STREQ(failure.what(), "row 7 of the picture cannot be read");
    }
}

TEST(HandOver, RefusesMoreThanFourGigabytesOnEveryMachine) {
    // Rows of 120000 bytes: 2^32 + 72704 in all.
    KowenPicture picture = PictureOf(KOWEN_PIXEL_RGB, 40000, 35792, nullptr);
    picture.readRow = [](void *, uint32_t, void *) -> int32_t { return 1; };
    try {
        Take(picture, AsTheyAre());
        FAIL() << "it was taken";
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.Code(), KOWEN_HOST_ERR_MEMORY) << failure.what();
    }
}

TEST(GivenPicture, RefusesSenselessRecords) {
    const Bytes pixels(64);
    const auto refused = [&](auto change) {
        KowenPicture picture = PictureOf(KOWEN_PIXEL_RGB, 2, 2, pixels.data());
        change(picture);
        try {
            GivenPicture given(&picture);
            return 0;
        } catch (const Failure &failure) {
            return failure.Code();
        }
    };
    EXPECT_EQ(refused([](KowenPicture &) {}), KOWEN_HOST_OK);
    EXPECT_EQ(refused([](KowenPicture &p) { p.width = 0; }), KOWEN_HOST_ERR_SIZE);
    EXPECT_EQ(refused([](KowenPicture &p) { p.height = 65536; }), KOWEN_HOST_ERR_SIZE);
    EXPECT_EQ(refused([](KowenPicture &p) { p.pixels = nullptr; }), KOWEN_HOST_ERR_ARGUMENT);
    EXPECT_EQ(refused([](KowenPicture &p) { p.orientation = 9; }), KOWEN_HOST_ERR_ARGUMENT);
    EXPECT_EQ(refused([](KowenPicture &p) { p.format = static_cast<KowenPixelFormat>(0); }),
              KOWEN_HOST_ERR_ARGUMENT);
    EXPECT_EQ(refused([](KowenPicture &p) { p.format = KOWEN_PIXEL_INDEXED; }),
              KOWEN_HOST_ERR_ARGUMENT);
    EXPECT_EQ(refused([](KowenPicture &p) { p.exifSize = 4; }), KOWEN_HOST_ERR_ARGUMENT);
    // A record of an earlier version is shorter: what it lacks is zero.
    EXPECT_EQ(refused([](KowenPicture &p) {
                  p.orientation = 99;
                  p.size = offsetof(KowenPicture, orientation);
              }),
              KOWEN_HOST_OK);
    EXPECT_THROW(GivenPicture(nullptr), BadArgument);
}

} // namespace
} // namespace kowen::host
