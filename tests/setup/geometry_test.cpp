#include "setup/geometry.h"

#include "setup/raster_query.h"
#include "setup/setup.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace kowen {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
const double kNan = std::numeric_limits<double>::quiet_NaN();

// A current setup of 6.67 x 5.0 inches at 96 dots per inch: 640 x 480 pixels.
class GeometryTest : public testing::Test {
protected:
    void SetUp() override {
        setup.width = 6.67;
        setup.height = 5.0;
        setup.header.xResolution = 96;
        setup.header.yResolution = 96;
        setup.sizeMode = KOWEN_SIZE_USER;
        setup.resolutionMode = KOWEN_RESOLUTION_USER;
        lpRaster = &setup;
    }
    void TearDown() override { lpRaster = nullptr; }

    SizeInches Adjust(int32_t width, int32_t height) {
        SizeInches size = {-1, -1};
        AdjustAspect(&size, width, height);
        return size;
    }

    SizeInches RasterAdjust(double width, double height) {
        SizeInches size = {-1, -1};
        EXPECT_EQ(RasterAdjustAspect(&size, width, height), 0);
        return size;
    }

    RasterAnswer Ask(const RasterQuery &query) {
        RasterAnswer answer = {-7, -7, -7};
        GetRasterInfo(0, &query, &answer);
        return answer;
    }

    SetupRecord setup = {};
};

void ExpectInches(const SizeInches &size, double width, double height) {
    EXPECT_EQ(size.width, width);
    EXPECT_EQ(size.height, height);
}

void ExpectAnswer(const RasterAnswer &answer, int32_t width, int32_t height) {
    EXPECT_EQ(answer.width, width);
    EXPECT_EQ(answer.height, height);
    EXPECT_EQ(answer.bitsPerPixel, 24);
}

using AdjustAspectTest = GeometryTest;
using RasterAdjustAspectTest = GeometryTest;
using GetRasterInfoTest = GeometryTest;

TEST_F(AdjustAspectTest, SquarePictureShrinksTheWidth) {
    ExpectInches(Adjust(100, 100), 480 / 96.0, 480 / 96.0);
}

// 200/100: p = 201/101, 640 / p = 321.59, 480 - trunc(158.41) = 322. The plain ratio would give
// 320.
TEST_F(AdjustAspectTest, SidesCountAsInclusiveExtents) {
    const SizeInches size = Adjust(200, 100);
    ExpectInches(size, 640 / 96.0, 322 / 96.0);
    EXPECT_NEAR(size.height, 3.354, 0.001);
}

// 1 x 3: p = 2/4; 640 - trunc(640 - 240) = 240.
TEST_F(AdjustAspectTest, TallPictureShrinksTheWidth) {
    ExpectInches(Adjust(1, 3), 240 / 96.0, 480 / 96.0);
}

// 3 x 2: p = 4/3 is exactly 640/480.
TEST_F(AdjustAspectTest, EqualRatiosChangeNothing) {
    ExpectInches(Adjust(3, 2), 640 / 96.0, 480 / 96.0);
}

TEST_F(AdjustAspectTest, SignsAreIgnored) {
    ExpectInches(Adjust(-200, 100), 640 / 96.0, 322 / 96.0);
    ExpectInches(Adjust(200, -100), 640 / 96.0, 322 / 96.0);
    ExpectInches(Adjust(-200, -100), 640 / 96.0, 322 / 96.0);
}

TEST_F(AdjustAspectTest, EmptyPictureCountsAsOnePixel) {
    ExpectInches(Adjust(0, 0), 480 / 96.0, 480 / 96.0);
}

// 6.669 x 96 = 640.224 and 5.009 x 96 = 480.864 pixels count as 640 and 480.
TEST_F(AdjustAspectTest, PagePixelsAreTruncated) {
    setup.height = 5.009;
    ExpectInches(Adjust(9, 9), 480 / 96.0, 480 / 96.0);
    setup.width = 5.009;
    setup.height = 6.669;
    ExpectInches(Adjust(9, 9), 480 / 96.0, 480 / 96.0);
}

TEST_F(AdjustAspectTest, ResolutionsCountSeparately) {
    setup.width = 2.0;
    setup.height = 2.0;
    setup.header.xResolution = 100;
    setup.header.yResolution = 50;
    // A page of 200 x 100 pixels; p = 1: 200 - trunc(200 - 100) = 100 pixels = 1 inch.
    ExpectInches(Adjust(9, 9), 1.0, 2.0);
}

TEST_F(AdjustAspectTest, TheLargestSizesDoNotOverflow) {
    ExpectInches(Adjust(INT32_MIN, INT32_MIN), 480 / 96.0, 480 / 96.0);
    // p = 2^31: 640 / p = 0.0000003, 480 - trunc(479.9999997) = 1.
    ExpectInches(Adjust(INT32_MAX, 0), 640 / 96.0, 1 / 96.0);
    // p = 1 / 2^31: 640 - trunc(639.99999...) = 1.
    ExpectInches(Adjust(0, INT32_MAX), 1 / 96.0, 480 / 96.0);
}

TEST_F(AdjustAspectTest, PageSidesSaturate) {
    setup.width = 1e300;
    setup.height = 1e300;
    ExpectInches(Adjust(9, 9), INT32_MAX / 96.0, INT32_MAX / 96.0);
    setup.width = kInfinity;
    ExpectInches(Adjust(9, 9), INT32_MAX / 96.0, INT32_MAX / 96.0);
}

TEST_F(AdjustAspectTest, AResolutionOfZeroGivesASizeOfZero) {
    setup.header.xResolution = 0;
    setup.header.yResolution = 0;
    ExpectInches(Adjust(100, 100), 0.0, 0.0);
    setup.header.yResolution = 96;
    ExpectInches(Adjust(100, 100), 0.0, 0.0);
    setup.header.xResolution = 96;
    setup.header.yResolution = 0;
    ExpectInches(Adjust(100, 100), 0.0, 0.0);
}

TEST_F(AdjustAspectTest, AnEmptyPageStaysEmpty) {
    setup.width = 0.0;
    ExpectInches(Adjust(100, 100), 0.0, 0.0);
    setup.width = kNan;
    setup.height = kNan;
    ExpectInches(Adjust(100, 100), 0.0, 0.0);
}

TEST_F(AdjustAspectTest, WithoutCurrentSetupNothingIsWritten) {
    lpRaster = nullptr;
    ExpectInches(Adjust(100, 100), -1, -1);
}

TEST_F(RasterAdjustAspectTest, TakesThePlainRatio) {
    // p = 2: 480 - trunc(480 - 320) = 320.
    ExpectInches(RasterAdjust(200, 100), 640 / 96.0, 320 / 96.0);
    ExpectInches(RasterAdjust(2.5, 2.5), 480 / 96.0, 480 / 96.0);
    ExpectInches(RasterAdjust(4, 3), 640 / 96.0, 480 / 96.0);
}

// p = 1.7: 640 / p = 376.47; 480 - trunc(103.53) = 377, not 376.
TEST_F(RasterAdjustAspectTest, TheCutIsTruncatedSoTheSideRoundsUp) {
    ExpectInches(RasterAdjust(17, 10), 640 / 96.0, 377 / 96.0);
}

TEST_F(RasterAdjustAspectTest, AFlatPictureGivesAFlatSize) {
    ExpectInches(RasterAdjust(5, 0), 640 / 96.0, 0.0);
    ExpectInches(RasterAdjust(0, 5), 0.0, 480 / 96.0);
}

TEST_F(RasterAdjustAspectTest, APictureWithoutRatioLeavesThePage) {
    ExpectInches(RasterAdjust(0, 0), 640 / 96.0, 480 / 96.0);
    ExpectInches(RasterAdjust(kNan, 1), 640 / 96.0, 480 / 96.0);
    ExpectInches(RasterAdjust(kInfinity, kInfinity), 640 / 96.0, 480 / 96.0);
}

// p = -1 is below the page's ratio: 640 - trunc(640 + 480) = -480.
TEST_F(RasterAdjustAspectTest, ANegativeRatioIsFollowed) {
    ExpectInches(RasterAdjust(-1, 1), -480 / 96.0, 480 / 96.0);
}

TEST_F(RasterAdjustAspectTest, ExtremeRatiosSaturate) {
    // 640 - trunc(640 + 4.8e302), where the cut saturates: 640 - 2147483647.
    ExpectInches(RasterAdjust(-1e300, 1), -2147483007 / 96.0, 480 / 96.0);
    setup.header.xResolution = -96;
    setup.width = 1e300;
    // A page of -2147483648 x 480 and p = 1: the height shrinks to the width.
    ExpectInches(RasterAdjust(1, 1), INT32_MIN / -96.0, -2147483167 / 96.0);
}

TEST_F(RasterAdjustAspectTest, WithoutCurrentSetupNothingIsWritten) {
    lpRaster = nullptr;
    ExpectInches(RasterAdjust(100, 100), -1, -1);
}

TEST_F(GetRasterInfoTest, SizeFromThePicture) {
    setup.sizeMode = KOWEN_SIZE_FROM_PICTURE;
    // 200 / 100 x 100 / 100 inches at 96 dots per inch.
    ExpectAnswer(Ask(kQuery), 192, 96);
    EXPECT_EQ(setup.width, 2.0);
    EXPECT_EQ(setup.height, 1.0);
    EXPECT_EQ(setup.header.xResolution, 96);
}

TEST_F(GetRasterInfoTest, SizeAndResolutionFromThePicture) {
    setup.sizeMode = KOWEN_SIZE_FROM_PICTURE;
    setup.resolutionMode = KOWEN_RESOLUTION_FROM_PICTURE;
    ExpectAnswer(Ask(kQuery), 200, 100);
    EXPECT_EQ(setup.header.xResolution, 100);
    EXPECT_EQ(setup.header.yResolution, 100);
}

TEST_F(GetRasterInfoTest, WithoutPictureResolutionThePictureIsFitIntoThePage) {
    setup.sizeMode = KOWEN_SIZE_FROM_PICTURE;
    setup.resolutionMode = KOWEN_RESOLUTION_FROM_PICTURE;
    RasterQuery query = kQuery;
    query.pictureResolution = 0;
    // As SidesCountAsInclusiveExtents.
    ExpectAnswer(Ask(query), 640, 322);
    EXPECT_EQ(setup.width, 6.67);
    EXPECT_EQ(setup.height, 5.0);
    EXPECT_EQ(setup.header.xResolution, 96);
}

TEST_F(GetRasterInfoTest, SizeFromTheDisplay) {
    setup.sizeMode = KOWEN_SIZE_FROM_DISPLAY;
    // A page of 10 x 5 inches, 960 x 480 pixels; p = 201/101: 960 - trunc(960 - 955.25) = 956.
    ExpectAnswer(Ask(kQuery), 956, 480);
    EXPECT_EQ(setup.width, 10.0);
    EXPECT_EQ(setup.height, 5.0);
}

TEST_F(GetRasterInfoTest, SizeFromAnUnknownDisplayStays) {
    setup.sizeMode = KOWEN_SIZE_FROM_DISPLAY;
    RasterQuery query = kQuery;
    query.displayResolution = 0;
    ExpectAnswer(Ask(query), 640, 322);
    EXPECT_EQ(setup.width, 6.67);
}

TEST_F(GetRasterInfoTest, TheUsersSizeIsFitted) {
    ExpectAnswer(Ask(kQuery), 640, 322);
    EXPECT_EQ(setup.width, 6.67);
}

TEST_F(GetRasterInfoTest, ResolutionFromTheDisplay) {
    setup.resolutionMode = KOWEN_RESOLUTION_FROM_DISPLAY;
    RasterQuery query = kQuery;
    query.displayResolution = 48;
    // A page of 320.16 x 240 pixels: 320 x 240; 240 - trunc(240 - 160.796) = 161.
    ExpectAnswer(Ask(query), 320, 161);
    EXPECT_EQ(setup.header.xResolution, 48);
    EXPECT_EQ(setup.header.yResolution, 48);
}

TEST_F(GetRasterInfoTest, ResolutionFromAnUnknownDisplayStays) {
    setup.resolutionMode = KOWEN_RESOLUTION_FROM_DISPLAY;
    RasterQuery query = kQuery;
    query.displayResolution = 0;
    Ask(query);
    EXPECT_EQ(setup.header.xResolution, 96);
}

TEST_F(GetRasterInfoTest, PictureModesDoNotTakeTheDisplay) {
    setup.sizeMode = KOWEN_SIZE_FROM_PICTURE;
    setup.resolutionMode = KOWEN_RESOLUTION_FROM_PICTURE;
    RasterQuery query = kQuery;
    query.pictureResolution = 0;
    query.displayResolution = 48;
    Ask(query);
    EXPECT_EQ(setup.width, 6.67);
    EXPECT_EQ(setup.header.xResolution, 96);
}

TEST_F(GetRasterInfoTest, OnlyTheLow16BitsOfAResolutionCount) {
    setup.sizeMode = KOWEN_SIZE_FROM_PICTURE;
    setup.resolutionMode = KOWEN_RESOLUTION_FROM_PICTURE;
    RasterQuery query = kQuery;
    query.pictureResolution = 0x70000 + 100;
    ExpectAnswer(Ask(query), 200, 100);
}

TEST_F(GetRasterInfoTest, AResolutionWithoutLow16BitsIsNotKnown) {
    setup.sizeMode = KOWEN_SIZE_FROM_PICTURE;
    setup.resolutionMode = KOWEN_RESOLUTION_FROM_PICTURE;
    RasterQuery query = kQuery;
    query.pictureResolution = 0x70000;
    // As WithoutPictureResolutionThePictureIsFitIntoThePage.
    ExpectAnswer(Ask(query), 640, 322);
    EXPECT_EQ(setup.header.xResolution, 96);
    EXPECT_EQ(setup.width, 6.67);
}

TEST_F(GetRasterInfoTest, OfTheDisplayTooOnlyTheLow16BitsCount) {
    setup.sizeMode = KOWEN_SIZE_FROM_DISPLAY;
    setup.resolutionMode = KOWEN_RESOLUTION_FROM_DISPLAY;
    RasterQuery query = kQuery;
    query.displayResolution = 0x70000;
    ExpectAnswer(Ask(query), 640, 322);
    EXPECT_EQ(setup.header.xResolution, 96);
    EXPECT_EQ(setup.width, 6.67);
    query.displayResolution = 0x70000 + 48;
    Ask(query);
    EXPECT_EQ(setup.header.xResolution, 48);
    EXPECT_EQ(setup.header.yResolution, 48);
    EXPECT_EQ(setup.width, 20.0);
    EXPECT_EQ(setup.height, 10.0);
}

// 65436 is -100 in 16 bits: 200 / -100 x 100 / -100 inches at 96 dots per inch.
TEST_F(GetRasterInfoTest, ResolutionsAreSigned) {
    setup.sizeMode = KOWEN_SIZE_FROM_PICTURE;
    RasterQuery query = kQuery;
    query.pictureResolution = 65436;
    ExpectAnswer(Ask(query), -192, -96);
    EXPECT_EQ(setup.width, -2.0);
}

// 1.5 inches at 75 and at 33 dots per inch: 112.5 and 49.5 pixels.
TEST_F(GetRasterInfoTest, PixelsAreRoundedUp) {
    setup.sizeMode = KOWEN_SIZE_FROM_PICTURE;
    setup.header.xResolution = 75;
    setup.header.yResolution = 33;
    RasterQuery query = kQuery;
    query.pictureWidth = 150;
    query.pictureHeight = 150;
    ExpectAnswer(Ask(query), 113, 50);
}

// Kept deliberately: 7 / 100 * 100 is a little above 7 in double, and is rounded up.
TEST_F(GetRasterInfoTest, SevenPixelsAtHundredDpiBecomeEight) {
    setup.sizeMode = KOWEN_SIZE_FROM_PICTURE;
    setup.resolutionMode = KOWEN_RESOLUTION_FROM_PICTURE;
    RasterQuery query = kQuery;
    query.pictureWidth = 7;
    query.pictureHeight = 8;
    ExpectAnswer(Ask(query), 8, 8);
}

TEST_F(GetRasterInfoTest, PixelsSaturate) {
    setup.sizeMode = KOWEN_SIZE_FROM_PICTURE;
    RasterQuery query = kQuery;
    query.pictureResolution = 1;
    query.pictureWidth = INT32_MAX;
    query.pictureHeight = INT32_MIN;
    ExpectAnswer(Ask(query), INT32_MAX, INT32_MIN);
}

TEST_F(GetRasterInfoTest, AResolutionOfZeroGivesNoPixels) {
    setup.header.xResolution = 0;
    setup.header.yResolution = 0;
    ExpectAnswer(Ask(kQuery), 0, 0);
}

TEST_F(GetRasterInfoTest, WithoutCurrentSetupNothingIsWritten) {
    lpRaster = nullptr;
    const RasterAnswer answer = Ask(kQuery);
    EXPECT_EQ(answer.width, -7);
    EXPECT_EQ(answer.height, -7);
    EXPECT_EQ(answer.bitsPerPixel, -7);
}

void ExpectScaled(double width, double height, double scaledWidth, double scaledHeight) {
    EXPECT_EQ(ScaleImageSize(&width, &height), 0);
    EXPECT_EQ(width, scaledWidth);
    EXPECT_EQ(height, scaledHeight);
}

TEST(ScaleImageSize, CapsAWideSize) {
    ExpectScaled(30, 15, 22.0, 11.0);
}
TEST(ScaleImageSize, CapsATallSize) {
    ExpectScaled(11, 44, 5.5, 22.0);
}
TEST(ScaleImageSize, CapsASquare) {
    ExpectScaled(44, 44, 22.0, 22.0);
}
TEST(ScaleImageSize, LeavesASmallSize) {
    ExpectScaled(10, 15, 10.0, 15.0);
}
TEST(ScaleImageSize, LeavesTheLimitItself) {
    ExpectScaled(22, 22, 22.0, 22.0);
}
// 6.959248368791741 x 22 / 22 would be the number below it.
TEST(ScaleImageSize, LeavesTheOtherSideOfTheLimitAlone) {
    ExpectScaled(22.0, 6.959248368791741, 22.0, 6.959248368791741);
    ExpectScaled(6.959248368791741, 22.0, 6.959248368791741, 22.0);
}
TEST(ScaleImageSize, LeavesNegativeSizes) {
    ExpectScaled(-30, -40, -30.0, -40.0);
}

TEST(ScaleImageSize, WithoutBothSidesNothingHappens) {
    double side = 30.0;
    EXPECT_EQ(ScaleImageSize(&side, nullptr), 0);
    EXPECT_EQ(ScaleImageSize(nullptr, &side), 0);
    EXPECT_EQ(side, 30.0);
}

TEST(ScaleImageSize, LeavesWhatIsNoNumber) {
    double width = kNan;
    double height = 30.0;
    ScaleImageSize(&width, &height);
    EXPECT_TRUE(std::isnan(width));
    EXPECT_EQ(height, 30.0);
}

} // namespace
} // namespace kowen
