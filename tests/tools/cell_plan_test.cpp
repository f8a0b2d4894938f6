#include "host/cell_plan.h"

#include "host/error.h"

#include <gtest/gtest.h>

namespace kowen::host {
namespace {

// The filter's arithmetic: cell pixels to inches to output pixels, truncated, heights made even.
struct Output {
    int width;
    int height;
};

Output ThroughFilter(const CellPlan &plan, int xDpi, int yDpi) {
    const double inchesAcross = static_cast<double>(plan.width) / plan.resolution;
    const double inchesDown = static_cast<double>(plan.height) / plan.resolution;
    const int height = static_cast<int>(inchesDown * yDpi);
    return {static_cast<int>(inchesAcross * xDpi), height + height % 2};
}

TEST(PlanCell, HandsOverThePictureAsItIs) {
    const CellPlan plan = PlanCell(Settings(), {640, 480, 72, 72}, nullptr);
    EXPECT_EQ(plan.width, 640);
    EXPECT_EQ(plan.height, 480);
    EXPECT_EQ(plan.resolution, 72);
    EXPECT_FALSE(plan.resolutionChoice);
    EXPECT_FALSE(plan.sizeFromCell);
}

TEST(PlanCell, TakesNinetySixDpiWhenThePictureSaysNone) {
    EXPECT_EQ(PlanCell(Settings(), {640, 480, 0, 0}, nullptr).resolution, 96);
    EXPECT_EQ(PlanCell(Settings(), {640, 480, 72, 0}, nullptr).resolution, 96);
}

TEST(PlanCell, RoundsResolutionsToWholeDots) {
    EXPECT_EQ(PlanCell(Settings(), {640, 480, 71.9836, 71.9836}, nullptr).resolution, 72);
}

TEST(PlanCell, LosesNoPixelWhereThePlainCellWould) {
    // 55 / 75 * 75 is 54.99...
    ASSERT_EQ(static_cast<int>(55.0 / 75 * 75), 54);
    const CellPlan plan = PlanCell(Settings(), {55, 55, 75, 75}, nullptr);
    ASSERT_TRUE(plan.resolutionChoice);
    EXPECT_EQ(plan.resolutionChoice->x, 75);
    EXPECT_EQ(plan.resolutionChoice->y, 75);
    const Output output = ThroughFilter(plan, 75, 75);
    EXPECT_EQ(output.width, 55);
    EXPECT_EQ(output.height, 56);
}

TEST(PlanCell, KeepsEverySizeAtEveryResolutionWithinTheLimits) {
    for (int dpi = 32; dpi <= 400; ++dpi) {
        for (int side = 1; side <= 65534; side += side < 300 ? 1 : 977) {
            const CellPlan plan =
                PlanCell(Settings(), {side, side, double(dpi), double(dpi)}, nullptr);
            const Output output =
                plan.resolutionChoice
                    ? ThroughFilter(plan, plan.resolutionChoice->x, plan.resolutionChoice->y)
                    : ThroughFilter(plan, plan.resolution, plan.resolution);
            ASSERT_EQ(output.width, side) << dpi;
            ASSERT_EQ(output.height, side + side % 2) << dpi;
        }
    }
}

TEST(PlanCell, KeepsDifferentResolutionsAcrossAndDown) {
    const CellPlan plan = PlanCell(Settings(), {1728, 1145, 204, 98}, nullptr);
    ASSERT_TRUE(plan.resolutionChoice);
    EXPECT_EQ(plan.resolutionChoice->x, 204);
    EXPECT_EQ(plan.resolutionChoice->y, 98);
    const Output output = ThroughFilter(plan, 204, 98);
    EXPECT_EQ(output.width, 1728);
    EXPECT_EQ(output.height, 1146);
}

TEST(PlanCell, MovesToANearbyResolutionBeyondTheLimits) {
    for (int side = 1; side < 3000; ++side) {
        const CellPlan plan = PlanCell(Settings(), {side, side, 600, 600}, nullptr);
        EXPECT_FALSE(plan.resolutionChoice);
        EXPECT_NEAR(plan.resolution, 600, 2);
        ASSERT_EQ(ThroughFilter(plan, plan.resolution, plan.resolution).width, side);
    }
}

TEST(PlanCell, KeepsTheInchesAtAResolutionOfTheUsers) {
    Settings settings;
    settings.resolutionMode = KOWEN_RESOLUTION_USER;
    settings.xDpi = 300;
    settings.yDpi = 150;
    const Output output = ThroughFilter(PlanCell(settings, {960, 480, 96, 96}, nullptr), 300, 150);
    EXPECT_EQ(output.width, 3000);
    EXPECT_EQ(output.height, 750);
}

TEST(PlanCell, KeepsThePixelsOfAPictureWithoutInches) {
    Settings settings;
    settings.resolutionMode = KOWEN_RESOLUTION_USER;
    settings.xDpi = settings.yDpi = 300;
    const Output output = ThroughFilter(PlanCell(settings, {961, 480, 0, 0}, nullptr), 300, 300);
    EXPECT_EQ(output.width, 961);
    EXPECT_EQ(output.height, 480);
}

TEST(PlanCell, FitsABoxInPixels) {
    const Extent box = {100, 100, true};
    const CellPlan wide = PlanCell(Settings(), {400, 200, 96, 96}, &box);
    EXPECT_TRUE(wide.sizeFromCell);
    EXPECT_EQ(ThroughFilter(wide, 96, 96).width, 100);
    EXPECT_EQ(ThroughFilter(wide, 96, 96).height, 50);
    const CellPlan tall = PlanCell(Settings(), {20, 80, 96, 96}, &box);
    EXPECT_EQ(ThroughFilter(tall, 96, 96).width, 25);
    EXPECT_EQ(ThroughFilter(tall, 96, 96).height, 100);
}

TEST(PlanCell, NeverFitsToNothing) {
    const Extent box = {10, 10, true};
    EXPECT_GE(PlanCell(Settings(), {60000, 1, 96, 96}, &box).height, 1);
}

TEST(PlanCell, LeavesTheFittingToTheFilterForSizesInInches) {
    Settings settings;
    settings.sizeMode = KOWEN_SIZE_USER;
    const CellPlan plan = PlanCell(settings, {204, 98, 204, 98}, nullptr);
    EXPECT_EQ(plan.width, 204); // one inch by one inch at the cell's one resolution
    EXPECT_EQ(plan.height, 204);
    EXPECT_EQ(plan.resolution, 204);
}

TEST(PlanCell, RefusesMorePixelsThanAJpegHas) {
    Settings settings;
    EXPECT_NO_THROW(PlanCell(settings, {65535, 65534, 96, 96}, nullptr));
    EXPECT_THROW(PlanCell(settings, {100, 65535, 96, 96}, nullptr), HostError);
    settings.resolutionMode = KOWEN_RESOLUTION_USER;
    settings.xDpi = settings.yDpi = 400;
    EXPECT_THROW(PlanCell(settings, {20000, 100, 96, 96}, nullptr), HostError);
}

TEST(PlanCell, WantsAResolutionForPixelsOnAPage) {
    Settings settings;
    settings.resolutionMode = KOWEN_RESOLUTION_FROM_DISPLAY;
    const Extent box = {10, 10, true};
    EXPECT_THROW(PlanCell(settings, {100, 100, 96, 96}, &box), UsageError);
}

TEST(MakePage, ConvertsInches) {
    const Page page = MakePage({8.5, 11, false}, 100);
    EXPECT_EQ(page.width, 850);
    EXPECT_EQ(page.height, 1100);
    EXPECT_EQ(page.dpi, 100);
    EXPECT_EQ(MakePage({640, 480, true}, 72).width, 640);
}

TEST(PlanDevicePicture, IsThePictureItselfAtTheResolutionAcross) {
    const CellPlan plan = PlanDevicePicture(Settings(), {8, 4, 204, 98}, nullptr);
    EXPECT_EQ(plan.width, 8);
    EXPECT_EQ(plan.height, 4);
    EXPECT_EQ(plan.resolution, 204);
    EXPECT_FALSE(plan.resolutionChoice);
    EXPECT_FALSE(plan.sizeChoice);
}

TEST(PlanDevicePicture, TakesTheUsersResolutionForAPictureWithoutOne) {
    Settings settings;
    settings.resolutionMode = KOWEN_RESOLUTION_USER;
    settings.xDpi = settings.yDpi = 120;
    EXPECT_EQ(PlanDevicePicture(settings, {64, 64, 0, 0}, nullptr).resolution, 120);
    EXPECT_EQ(PlanDevicePicture(settings, {64, 64, 72, 72}, nullptr).resolution, 72);
}

TEST(PlanDevicePicture, LosesNoPixelAtTheResolutionNearby) {
    const int dpi = PlanDevicePicture(Settings(), {55, 55, 75, 75}, nullptr).resolution;
    EXPECT_EQ(static_cast<int>(55.0 / dpi * dpi), 55);
    EXPECT_NEAR(dpi, 75, 3);
}

TEST(PlanDevicePicture, MakesInchesOfABoxInPixels) {
    const Extent box = {100, 50, true};
    const CellPlan plan = PlanDevicePicture(Settings(), {640, 480, 50, 50}, &box);
    ASSERT_TRUE(plan.sizeChoice);
    EXPECT_EQ(plan.sizeChoice->mode, KOWEN_SIZE_USER);
    EXPECT_DOUBLE_EQ(plan.sizeChoice->box.width, 2.01);
    EXPECT_DOUBLE_EQ(plan.sizeChoice->box.height, 1.01);
    EXPECT_FALSE(plan.sizeChoice->box.pixels);
}

TEST(PlanDevicePicture, RefusesBoxesBeyondTheInchesAndWhatPlanCellRefuses) {
    const Extent large = {1100, 50, true};
    EXPECT_THROW(PlanDevicePicture(Settings(), {640, 480, 50, 50}, &large), UsageError);
    const Extent small = {100, 1, true};
    EXPECT_THROW(PlanDevicePicture(Settings(), {640, 480, 50, 50}, &small), UsageError);
    EXPECT_THROW(PlanDevicePicture(Settings(), {64, 65535, 50, 50}, nullptr), HostError);
    Settings page;
    page.resolutionMode = KOWEN_RESOLUTION_FROM_DISPLAY;
    const Extent box = {100, 50, true};
    EXPECT_THROW(PlanDevicePicture(page, {640, 480, 50, 50}, &box), UsageError);
}

} // namespace
} // namespace kowen::host
