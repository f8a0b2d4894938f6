#include "filter/cell_plan.h"

#include "base/failure.h"
#include "settings/named_settings.h"

#include <gtest/gtest.h>

namespace kowen::host {
namespace {

struct Pixels {
    int width;
    int height;
    bool operator==(const Pixels &) const = default;
};

// The filter's arithmetic: cell pixels to inches to output pixels, truncated.
Pixels ThroughFilter(const CellPlan &plan, int xDpi, int yDpi) {
    const double inchesAcross = static_cast<double>(plan.width) / plan.resolution;
    const double inchesDown = static_cast<double>(plan.height) / plan.resolution;
    return {static_cast<int>(inchesAcross * xDpi), static_cast<int>(inchesDown * yDpi)};
}

ExportSettings With(std::initializer_list<std::pair<const char *, const char *>> list) {
    NamedSettings settings;
    for (const auto &[name, value] : list)
        settings.Set(name, value);
    return settings.Values();
}

Pixels ExactPixels(std::initializer_list<std::pair<const char *, const char *>> list,
                   const SourceSize &source) {
    const CellPlan plan = PlanExactCell(With(list), source);
    return {plan.outputWidth, plan.outputHeight};
}

TEST(PlanExactCell, KeepsThePicturesPixelsAndStatesItsResolution) {
    const CellPlan plan = PlanExactCell({}, {301, 201, 600.2, 299.7});
    EXPECT_EQ(plan.outputWidth, 301);
    EXPECT_EQ(plan.outputHeight, 201);
    EXPECT_EQ(plan.xDpi, 600);
    EXPECT_EQ(plan.yDpi, 300);
    EXPECT_FALSE(plan.dpiMoved);
    EXPECT_EQ(PlanExactCell({}, {301, 201, 0, 0}).xDpi, 96);
}

TEST(PlanExactCell, LosesNoPixelOfAnySide) {
    for (int side = 1; side <= 65535; ++side) {
        const CellPlan plan = PlanExactCell({}, {side, side, 75, 75});
        ASSERT_EQ(ThroughFilter(plan, plan.resolution, plan.resolution), (Pixels{side, side}));
    }
}

TEST(PlanExactCell, FitsThePictureIntoABox) {
    EXPECT_EQ(ExactPixels({{"size", "100x100px"}}, {300, 200, 0, 0}), (Pixels{100, 67}));
    EXPECT_EQ(ExactPixels({{"size", "100x50px"}}, {300, 200, 0, 0}), (Pixels{75, 50}));
    EXPECT_EQ(ExactPixels({{"size", "1x1px"}}, {65535, 2, 0, 0}), (Pixels{1, 1}));
    // 6 x 4 inches at 300 dpi; twice as wide as high.
    EXPECT_EQ(ExactPixels({{"size", "6x4in"}, {"dpi", "300"}}, {200, 100, 0, 0}),
              (Pixels{1800, 900}));
    // Pixels that are twice as high as wide: 100 x 100 of them show 1 x 2.
    EXPECT_EQ(ExactPixels({{"size", "100x100px"}, {"dpi", "100"}}, {100, 100, 200, 100}),
              (Pixels{50, 100}));
}

TEST(PlanExactCell, TurnsPaperWithThePicture) {
    // 210 x 297 mm at 100 dpi: 826.8 x 1169.3 pixels
    EXPECT_EQ(ExactPixels({{"size", "A4"}, {"dpi", "100"}}, {210, 297, 0, 0}), (Pixels{827, 1169}));
    EXPECT_EQ(ExactPixels({{"size", "a4"}, {"dpi", "100"}}, {297, 210, 0, 0}), (Pixels{1169, 827}));
}

TEST(PlanExactCell, TurnsBoxesOfLengthsButNotOfPixels) {
    EXPECT_EQ(ExactPixels({{"size", "210x297mm"}, {"dpi", "100"}}, {297, 210, 0, 0}),
              (Pixels{1169, 827}));
    EXPECT_EQ(ExactPixels({{"size", "6x4in"}, {"dpi", "100"}}, {20, 30, 0, 0}), (Pixels{400, 600}));
    EXPECT_EQ(ExactPixels({{"size", "6x4in"}, {"dpi", "100"}}, {30, 20, 0, 0}), (Pixels{600, 400}));
    EXPECT_EQ(ExactPixels({{"size", "4x6in"}, {"dpi", "100"}}, {30, 30, 0, 0}), (Pixels{400, 400}));
    // 200 x 300 pixels that show 4 x 3 inches lie.
    EXPECT_EQ(ExactPixels({{"size", "3x4in"}, {"dpi", "100"}}, {200, 300, 50, 100}),
              (Pixels{400, 300}));
    EXPECT_EQ(ExactPixels({{"size", "600x400px"}}, {20, 30, 0, 0}), (Pixels{267, 400}));
}

TEST(PlanExactCell, KeepsThePicturesInchesAtAnotherResolution) {
    EXPECT_EQ(ExactPixels({{"dpi", "150"}}, {600, 300, 300, 300}), (Pixels{300, 150}));
    EXPECT_EQ(ExactPixels({{"dpi", "150"}}, {600, 300, 0, 0}), (Pixels{600, 300}));
    const CellPlan plan = PlanExactCell(With({{"dpi", "150x75"}}), {600, 300, 300, 300});
    EXPECT_EQ(plan.outputHeight, 75);
    EXPECT_EQ(plan.yDpi, 75);
}

TEST(PlanExactCell, TakesThePage) {
    EXPECT_EQ(ExactPixels({{"size", "page"}, {"dpi", "page"}, {"page", "400x300px@100"}},
                          {1000, 500, 0, 0}),
              (Pixels{400, 200}));
    const CellPlan plan =
        PlanExactCell(With({{"dpi", "page"}, {"page", "400x300px@100"}}), {1000, 500, 200, 200});
    EXPECT_EQ(plan.outputWidth, 500);
    EXPECT_EQ(plan.xDpi, 100);
}

TEST(PlanExactCell, RefusesMoreThanAJpegHas) {
    EXPECT_THROW(PlanExactCell(With({{"dpi", "200"}}), {40000, 10, 100, 100}), Failure);
    EXPECT_NO_THROW(PlanExactCell({}, {65535, 65535, 0, 0}));
}

TEST(PlanExactCell, SaysWhenAResolutionCannotBeStated) {
    const CellPlan plan = PlanExactCell({}, {10, 10, 100000, 72});
    EXPECT_TRUE(plan.dpiMoved);
    EXPECT_EQ(plan.xDpi, 65535);
    EXPECT_TRUE(PlanExactCell({}, {10, 10, 65535.5, 72}).dpiMoved);
    EXPECT_FALSE(PlanExactCell({}, {10, 10, 65535.25, 72}).dpiMoved);
}

// 55 / 75 * 75 is 54.99...
TEST(PlanFilterCell, LosesNoPixelWhereThePlainCellWould) {
    ASSERT_EQ(static_cast<int>(55.0 / 75 * 75), 54);
    const CellPlan plan = PlanFilterCell({}, {55, 55, 75, 75});
    EXPECT_EQ(plan.settings.resolutionMode, KOWEN_RESOLUTION_USER);
    EXPECT_EQ(plan.settings.xDpi, 75);
    EXPECT_EQ(ThroughFilter(plan, 75, 75), (Pixels{55, 55}));
}

TEST(PlanFilterCell, KeepsEverySizeAtEveryResolutionWithinTheLimits) {
    for (int dpi = 32; dpi <= 400; ++dpi) {
        for (int side = 1; side <= 65534; side += side < 300 ? 1 : 977) {
            const CellPlan plan = PlanFilterCell({}, {side, side, double(dpi), double(dpi)});
            const int stated =
                plan.settings.UserResolution() ? plan.settings.xDpi : plan.resolution;
            ASSERT_EQ(stated, dpi) << side;
            ASSERT_EQ(ThroughFilter(plan, stated, stated), (Pixels{side, side})) << dpi;
        }
    }
}

TEST(PlanFilterCell, KeepsEverySizeAtTwoResolutions) {
    for (int side = 1; side <= 2000; ++side) {
        const CellPlan plan = PlanFilterCell({}, {side, side, 300, 75});
        ASSERT_EQ(ThroughFilter(plan, 300, 75), (Pixels{side, side}));
        const CellPlan other = PlanFilterCell({}, {side, side, 75, 300});
        ASSERT_EQ(ThroughFilter(other, 75, 300), (Pixels{side, side}));
    }
}

// At 30 and at 31 dots per inch 505 pixels become 504, at 29 they do not.
TEST(PlanFilterCell, TakesTheNearestResolutionBelowTheLimits) {
    const CellPlan plan = PlanFilterCell({}, {505, 505, 30, 30});
    EXPECT_EQ(plan.resolution, 29);
    EXPECT_TRUE(plan.dpiMoved);
    EXPECT_EQ(ThroughFilter(plan, 29, 29), (Pixels{505, 505}));
}

TEST(PlanFilterCell, LeavesFittingToTheFilter) {
    const CellPlan plan = PlanFilterCell(With({{"size", "6x4in"}}), {640, 480, 72, 72});
    EXPECT_EQ(plan.width, 640);
    EXPECT_EQ(plan.height, 480);
    EXPECT_EQ(plan.resolution, 72);
    EXPECT_EQ(plan.settings.sizeMode, KOWEN_SIZE_USER);
    EXPECT_EQ(plan.outputWidth, 0);
    // The box stays as it was given.
    const CellPlan upright =
        PlanFilterCell(With({{"size", "6x4in"}, {"as-filter", "yes"}}), {480, 640, 72, 72});
    EXPECT_EQ(upright.settings.widthInches, 6);
    EXPECT_EQ(upright.settings.heightInches, 4);
}

TEST(PlanFilterCell, MeetsABoxInPixelsByTheCell) {
    const CellPlan plan = PlanFilterCell(With({{"size", "100x100px"}}), {300, 200, 72, 72});
    const int stated = plan.settings.UserResolution() ? plan.settings.xDpi : plan.resolution;
    EXPECT_EQ(ThroughFilter(plan, stated, stated), (Pixels{100, 67}));
    EXPECT_EQ(plan.settings.sizeMode, KOWEN_SIZE_FROM_PICTURE);
}

TEST(PlanFilterCell, RefusesARowThatBecomesOneTooMany) {
    EXPECT_THROW(PlanFilterCell({}, {1, 65535, 0, 0}), Failure);
}

} // namespace
} // namespace kowen::host
