// The size, depth and resolution that the cell writer asks its producers for.
#include "export/cell_writer.h"

#include "platform/text.h"
#include "setup/display_info.h"
#include "support/current_setup.h"
#include "support/scoped_environment.h"

#include <gtest/gtest.h>

namespace kowen {
namespace {

/// A question to QueryCellFormat and its answers.
struct Query {
    double width = 1;
    double height = 1;
    uint16_t depth = 77;
    int32_t resolution = 0;

    void Ask() {
        EXPECT_EQ(QueryCellFormat(&width, &height, &depth, &resolution, nullptr, nullptr), 0);
    }
};

/// A setup of 6.67 x 5 inches at 96 x 96, and a display of 10 x 5 inches at 100.
class QueryCellFormatTest : public testing::Test {
protected:
    QueryCellFormatTest() { SetDisplayInfo(1000, 500, 100, 100); }
    ~QueryCellFormatTest() override { SetDisplayInfo(0, 0, 0, 0); }

    CurrentSetup setup;
    ScopedEnvironment noDisplay{"DISPLAYINFO", nullptr};
};

TEST(QueryCellFormat, WithoutASetupTheQuestionStays) {
    ASSERT_EQ(lpRaster, nullptr);
    Query query = {640, 480, 8, 96};
    query.Ask();
    EXPECT_EQ(query.width, 640);
    EXPECT_EQ(query.height, 480);
    EXPECT_EQ(query.depth, 8);
    EXPECT_EQ(query.resolution, 96);
}

TEST_F(QueryCellFormatTest, PictureModesGiveThePicturesOwnPixels) {
    Query query{2.5, 1.25, 0, 200};
    query.Ask();
    EXPECT_EQ(query.width, 500.0);
    EXPECT_EQ(query.height, 250.0);
    EXPECT_EQ(query.depth, 24);
    EXPECT_EQ(query.resolution, 200);
    EXPECT_EQ(setup->width, 2.5);
    EXPECT_EQ(setup->height, 1.25);
    EXPECT_EQ(setup->header.xResolution, 200);
    EXPECT_EQ(setup->header.yResolution, 200);
}

// 55 / 75 x 75 is 54.999... in double precision; the picture then loses a column.
TEST_F(QueryCellFormatTest, FiftyFivePixelsAtSeventyFiveAreFiftyFour) {
    Query query{55.0 / 75, 150.0 / 75, 0, 75};
    query.Ask();
    EXPECT_LT(query.width, 55.0);
    EXPECT_EQ(TruncateToUInt32(query.width), 54u);
    EXPECT_EQ(TruncateToUInt32(query.height), 150u);
}

TEST_F(QueryCellFormatTest, UnknownPictureResolutionFitsThePictureIntoThePage) {
    Query query{100, 100, 0, 0};
    query.Ask(); // 640 x 480 pixels; a square takes 480 x 480
    EXPECT_EQ(query.width, 480.0);
    EXPECT_EQ(query.height, 480.0);
    EXPECT_EQ(query.resolution, 96);
    EXPECT_EQ(setup->width, 6.67);
    EXPECT_EQ(setup->height, 5.0);
}

TEST_F(QueryCellFormatTest, OnlyTheLowSixteenBitsOfTheResolutionCount) {
    Query unknown{100, 100, 0, 0x50000};
    unknown.Ask();
    EXPECT_EQ(unknown.width, 480.0);
    EXPECT_EQ(unknown.resolution, 96);
    Query known{2, 1, 0, 0x50000 + 150};
    known.Ask();
    EXPECT_EQ(known.width, 300.0);
    EXPECT_EQ(known.resolution, 150);
}

// 0.5 x 0.4 inches at 72: 36 x 28 pixels; a picture twice as wide as high takes 36 x 18.
TEST_F(QueryCellFormatTest, UserSizeIsAPageThatThePictureIsFittedInto) {
    setup->sizeMode = KOWEN_SIZE_USER;
    setup->resolutionMode = KOWEN_RESOLUTION_USER;
    setup->width = 0.5;
    setup->height = 0.4;
    setup->header.xResolution = 72;
    setup->header.yResolution = 72;
    Query query{16.0 / 96, 8.0 / 96, 0, 96};
    query.Ask();
    EXPECT_EQ(query.width, 36.0);
    EXPECT_EQ(query.height, 18.0);
    EXPECT_EQ(query.resolution, 72);
    EXPECT_EQ(setup->width, 0.5);
    EXPECT_EQ(setup->height, 0.4);
}

TEST_F(QueryCellFormatTest, UserResolutionsMayDiffer) {
    setup->resolutionMode = KOWEN_RESOLUTION_USER;
    setup->header.xResolution = 50;
    setup->header.yResolution = 80;
    Query query{2, 4, 0, 200};
    query.Ask();
    EXPECT_EQ(query.width, 100.0);
    EXPECT_EQ(query.height, 320.0);
    EXPECT_EQ(query.resolution, 50);
}

TEST_F(QueryCellFormatTest, DisplaySizeIsThePage) {
    setup->sizeMode = KOWEN_SIZE_FROM_DISPLAY;
    Query query{1, 1, 0, 72};
    query.Ask(); // 10 x 5 inches at 72: 720 x 360; a square takes 360 x 360
    EXPECT_EQ(query.width, 360.0);
    EXPECT_EQ(query.height, 360.0);
    EXPECT_EQ(query.resolution, 72);
    EXPECT_EQ(setup->width, 10.0);
    EXPECT_EQ(setup->height, 5.0);
}

TEST_F(QueryCellFormatTest, DisplayResolutionReplacesThePictures) {
    setup->resolutionMode = KOWEN_RESOLUTION_FROM_DISPLAY;
    Query query{2, 1, 0, 72};
    query.Ask();
    EXPECT_EQ(query.width, 200.0);
    EXPECT_EQ(query.height, 100.0);
    EXPECT_EQ(query.resolution, 100);
    EXPECT_EQ(setup->header.xResolution, 100);
    EXPECT_EQ(setup->header.yResolution, 100);
}

TEST_F(QueryCellFormatTest, DisplaySizeAndResolutionTogether) {
    setup->sizeMode = KOWEN_SIZE_FROM_DISPLAY;
    setup->resolutionMode = KOWEN_RESOLUTION_FROM_DISPLAY;
    Query query{400, 100, 0, 0}; // as wide as 4 : 1: 1000 x 250
    query.Ask();
    EXPECT_EQ(query.width, 1000.0);
    EXPECT_EQ(query.height, 250.0);
    EXPECT_EQ(query.resolution, 100);
}

TEST_F(QueryCellFormatTest, DisplayWithoutAResolutionIsNotTaken) {
    const ScopedEnvironment display("DISPLAYINFO", "100x100x65536x65536");
    setup->sizeMode = KOWEN_SIZE_FROM_DISPLAY;
    setup->resolutionMode = KOWEN_RESOLUTION_FROM_DISPLAY;
    Query query{100, 100, 0, 0};
    query.Ask();
    EXPECT_EQ(query.width, 480.0);
    EXPECT_EQ(setup->width, 6.67);
    EXPECT_EQ(setup->header.xResolution, 96);
}

TEST_F(QueryCellFormatTest, PrinterModesTakeTheSettingsAsTheyAre) {
    SetPrinterInfo(3, 4, 300, 300);
    setup->sizeMode = KOWEN_SIZE_FROM_PRINTER;
    setup->resolutionMode = KOWEN_RESOLUTION_FROM_PRINTER;
    Query query{100, 100, 0, 72};
    query.Ask();
    SetPrinterInfo(0, 0, 0, 0);
    EXPECT_EQ(query.width, 480.0);
    EXPECT_EQ(query.height, 480.0);
    EXPECT_EQ(query.resolution, 96);
}

TEST_F(QueryCellFormatTest, WithoutAResolutionTheSizeStays) {
    setup->sizeMode = KOWEN_SIZE_USER;
    setup->resolutionMode = KOWEN_RESOLUTION_USER;
    setup->header.xResolution = 0;
    setup->header.yResolution = 0;
    Query query{12.5, 7.25, 0, 72};
    query.Ask();
    EXPECT_EQ(query.width, 12.5);
    EXPECT_EQ(query.height, 7.25);
    EXPECT_EQ(query.resolution, 72);
}

TEST_F(QueryCellFormatTest, DepthFollowsTheColorFormat) {
    const struct {
        int32_t colorFormat;
        uint16_t depth;
    } cases[] = {{212, 24}, {215, 24}, {222, 24}, {216, 65532}, {217, 65528}, {218, 3},
                 {219, 4},  {221, 8},  {220, 77}, {0, 77},      {213, 77},    {223, 77}};
    for (const auto &c : cases) {
        setup->colorFormat = c.colorFormat;
        Query query{1, 1, 77, 72};
        query.Ask();
        EXPECT_EQ(query.depth, c.depth) << c.colorFormat;
    }
}

} // namespace
} // namespace kowen
