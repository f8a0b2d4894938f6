#include "raster/attributes.h"

#include "raster/device.h"

#include <cmath>
#include <limits>

namespace kowen {
namespace {

using namespace test;

/// In the state that allows setting the picture's description.
class AttributesTest : public RasterDeviceTest {
protected:
    AttributesTest() {
        Initialise();
        Run(kOpenDevice);
        Run(kBeginPicture);
    }

    void SetColorMode(int32_t colorMode) {
        setup->colorMode = colorMode;
        Initialise();
        Run(kOpenDevice);
        Run(kBeginPicture);
    }

    /// Runs the request and returns the request's own colours as they are afterwards.
    std::vector<uint8_t> RunColors(Request &request, size_t count) {
        EXPECT_EQ(Door(KOWEN_DD_DISPATCH, request.Data()), 0);
        return {request.At(20), request.At(20) + count};
    }
    std::vector<uint8_t> TableEntry(size_t index) {
        const uint8_t *entry = lpEMData->colorTable + index * 3;
        return {entry, entry + 3};
    }
    int32_t ResolutionAfter(int16_t mode, double scale) {
        EXPECT_EQ(Run(Request(kSetViewportMode).Put(16, mode).Put(24, scale)), 0);
        return lpEMData->resolution;
    }
};

using Window = AttributesTest;
using Viewport = AttributesTest;
using Background = AttributesTest;
using ViewportMode = AttributesTest;
using ColorTable = AttributesTest;

TEST_F(Window, IsSetAndAnsweredWhole) {
    Request request(kSetWindow);
    request.PutDoubles(16, {1, 2, 3, 4, 5, 6});
    Run(request);
    EXPECT_EQ(lpEMData->window.z2, 6.0);
    Run(kQueryWindow);
    EXPECT_EQ(Answers(), BytesOf(1.0, 2.0, 3.0, 4.0, 5.0, 6.0));
}

TEST_F(Viewport, IsAnsweredInAnotherOrderThanItWasSet) {
    Request request(kSetViewport);
    request.PutDoubles(16, {1, 2, 3, 4, 5, 6});
    Run(request);
    EXPECT_EQ(lpEMData->viewport.x1, 1.0);
    EXPECT_EQ(lpEMData->viewport.y1, 2.0);
    EXPECT_EQ(lpEMData->viewport.z1, 0.0);
    EXPECT_EQ(lpEMData->viewport.x2, 4.0);
    EXPECT_EQ(lpEMData->viewport.y2, 5.0);
    EXPECT_EQ(lpEMData->viewport.z2, 0.0);
    Run(kQueryViewport);
    EXPECT_EQ(Answers(), BytesOf(1.0, 5.0, 0.0, 2.0, 4.0, 0.0));
}

TEST_F(AttributesTest, AnswersAppendAndAreCutAtTheEndOfTheArea) {
    record.returnAreaSize = 16;
    Initialise();
    Run(kOpenDevice);
    Run(kBeginPicture);
    Run(WindowRequest(1, 2, 4, 5));
    Run(kQueryWindow);
    EXPECT_EQ(Answers(), BytesOf(1.0, 2.0));
    Run(kQueryViewport);
    EXPECT_EQ(Answers(), BytesOf(1.0, 2.0));
}

TEST_F(Background, TakesThreeBytes) {
    Request request(kSetBackground);
    request.Put(16, uint8_t{1}).Put(17, uint8_t{2}).Put(18, uint8_t{3});
    Run(request);
    EXPECT_EQ(lpEMData->background[0], 1);
    EXPECT_EQ(lpEMData->background[1], 2);
    EXPECT_EQ(lpEMData->background[2], 3);
    EXPECT_EQ(lpEMData->errorStack.lastOpcode, 0u);
}

TEST_F(ViewportMode, MetricScaleGivesDotsPerInch) {
    EXPECT_EQ(ResolutionAfter(1, 0.254), 100);
    EXPECT_EQ(ResolutionAfter(1, 25.4 / 72), 72);
    EXPECT_EQ(ResolutionAfter(1, 0.26), 98);    // 97.69 + 0.5
    EXPECT_EQ(ResolutionAfter(1, -0.254), -99); // -100 + 0.5, truncated toward zero
}

TEST_F(ViewportMode, OtherModesClearTheResolution) {
    for (int16_t mode : {0, 2}) {
        EXPECT_EQ(ResolutionAfter(1, 0.254), 100);
        EXPECT_EQ(ResolutionAfter(mode, 0.254), 0) << mode;
    }
    EXPECT_EQ(ResolutionAfter(1, 0.254), 100);
    EXPECT_EQ(ResolutionAfter(1, 0.0), 0);
}

TEST_F(ViewportMode, UnknownModesChangeNothing) {
    EXPECT_EQ(ResolutionAfter(1, 0.254), 100);
    for (int16_t mode : {3, -1, 32767, -32768})
        EXPECT_EQ(ResolutionAfter(mode, 0.5), 100) << mode;
}

TEST_F(ViewportMode, ChangesNothingInALockedState) {
    EXPECT_EQ(ResolutionAfter(1, 0.254), 100);
    lpEMData->stateWord = 0x84;
    EXPECT_EQ(ResolutionAfter(1, 0.5), 100);
    lpEMData->stateWord = kStatePictureBegun;
}

TEST_F(ViewportMode, ResolutionsBeyondThirtyTwoBitsSaturate) {
    EXPECT_EQ(ResolutionAfter(1, 1e-300), INT32_MAX);
    EXPECT_EQ(ResolutionAfter(1, -1e-300), INT32_MIN);
    EXPECT_EQ(ResolutionAfter(1, std::numeric_limits<double>::infinity()), 0);
    EXPECT_EQ(ResolutionAfter(1, std::nan("")), 0);
}

TEST_F(ColorTable, TakesColorsFromAnEntryOn) {
    Run(kBeginBody);
    Request request = ColorsRequest(2, {1, 2, 3, 4, 5, 6});
    EXPECT_EQ(RunColors(request, 6), (std::vector<uint8_t>{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(TableEntry(1), (std::vector<uint8_t>{0, 0, 0}));
    EXPECT_EQ(TableEntry(2), (std::vector<uint8_t>{1, 2, 3}));
    EXPECT_EQ(TableEntry(3), (std::vector<uint8_t>{4, 5, 6}));
    EXPECT_EQ(TableEntry(4), (std::vector<uint8_t>{0, 0, 0}));
}

TEST_F(ColorTable, TransformsColorsThatFindNoEntry) {
    SetColorMode(KOWEN_COLOR_INVERTED);
    Run(kBeginBody);
    std::vector<uint8_t> colors(30);
    for (size_t i = 0; i < 30; ++i)
        colors[i] = static_cast<uint8_t>(i);
    Request request = ColorsRequest(250, colors);
    const std::vector<uint8_t> after = RunColors(request, 30);
    for (size_t i = 0; i < 30; ++i)
        EXPECT_EQ(after[i], 255 - i);
    EXPECT_EQ(TableEntry(249), (std::vector<uint8_t>{0, 0, 0}));
    EXPECT_EQ(TableEntry(250), (std::vector<uint8_t>{255, 254, 253}));
    EXPECT_EQ(TableEntry(255), (std::vector<uint8_t>{240, 239, 238}));
    EXPECT_EQ(lpEMData->background[0], 0);
}

TEST_F(ColorTable, AStartBeyondTheTableTransformsAndCopiesNothing) {
    SetColorMode(KOWEN_COLOR_INVERTED);
    Run(kBeginBody);
    const EMData before = *lpEMData;
    for (uint32_t start : {256u, 257u, 0x80000000u, 0xFFFFFFFFu}) {
        Request request = ColorsRequest(start, {1, 2, 3});
        EXPECT_EQ(RunColors(request, 3), (std::vector<uint8_t>{254, 253, 252})) << start;
        EXPECT_EQ(std::memcmp(&before, lpEMData, sizeof before), 0) << start;
    }
}

TEST_F(ColorTable, TheLastEntryCanBeSet) {
    Run(kBeginBody);
    Request request = ColorsRequest(255, {1, 2, 3, 4, 5, 6});
    RunColors(request, 6);
    EXPECT_EQ(TableEntry(255), (std::vector<uint8_t>{1, 2, 3}));
    EXPECT_EQ(lpEMData->background[0], 0);
}

TEST_F(ColorTable, ArgumentCountsBelowFiveSetNothing) {
    SetColorMode(KOWEN_COLOR_INVERTED);
    Run(kBeginBody);
    for (uint32_t arguments : {0u, 1u, 2u, 3u, 4u}) {
        Request request(kSetColors, arguments);
        request.Put(16, uint32_t{0}).PutBytes(20, "\1\2\3", 3);
        EXPECT_EQ(RunColors(request, 3), (std::vector<uint8_t>{1, 2, 3})) << arguments;
        EXPECT_EQ(TableEntry(0), (std::vector<uint8_t>{0, 0, 0})) << arguments;
    }
}

// 3 * 30 + 6 * 20 ... by the setup's codes: unchanged, inverted, greys inverted, grey, grey
// inverted.
TEST_F(ColorTable, FollowsTheColorMode) {
    const struct {
        int32_t colorMode;
        std::vector<uint8_t> result; ///< of (100, 105, 110), (100, 111, 100), (10, 20, 30)
    } cases[] = {
        {103, {100, 105, 110, 100, 111, 100, 10, 20, 30}},
        {104, {155, 150, 145, 155, 144, 155, 245, 235, 225}},
        {105, {155, 150, 145, 100, 111, 100, 10, 20, 30}},
        {106, {104, 104, 104, 106, 106, 106, 18, 18, 18}},
        {107, {151, 151, 151, 149, 149, 149, 237, 237, 237}},
        {102, {100, 105, 110, 100, 111, 100, 10, 20, 30}},
        {108, {100, 105, 110, 100, 111, 100, 10, 20, 30}},
        {0, {100, 105, 110, 100, 111, 100, 10, 20, 30}},
    };
    for (const auto &[colorMode, result] : cases) {
        SetColorMode(colorMode);
        Run(kBeginBody);
        Request request = ColorsRequest(0, {100, 105, 110, 100, 111, 100, 10, 20, 30});
        EXPECT_EQ(RunColors(request, 9), result) << colorMode;
        const uint8_t *table = lpEMData->colorTable;
        EXPECT_EQ(std::vector<uint8_t>(table, table + 9), result) << colorMode;
    }
}

TEST_F(AttributesTest, IgnoredSettersChangeNothing) {
    const EMData before = *lpEMData;
    Request request(0);
    for (auto setter : {ds_axc, ds_tran, ds_clpr, ds_clip, ds_dm, ds_fl})
        EXPECT_EQ(setter(request.Data()), request.Data());
    EXPECT_EQ(std::memcmp(&before, lpEMData, sizeof before), 0);
}

} // namespace
} // namespace kowen
