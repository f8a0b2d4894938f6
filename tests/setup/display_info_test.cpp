#include "setup/display_info.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>

namespace kowen {
namespace {

struct Info {
    double width, height;
    int16_t xResolution, yResolution;
};

Info Display() {
    Info info = {-1, -1, -1, -1};
    EXPECT_EQ(GetDisplayInfo(&info.width, &info.height, &info.xResolution, &info.yResolution), 0);
    return info;
}

Info DisplayFrom(const char *variable) {
    setenv("DISPLAYINFO", variable, 1);
    return Display();
}

// Every test starts without the variable and with nothing stored.
class DisplayInfoTest : public testing::Test {
protected:
    void SetUp() override { Clear(); }
    void TearDown() override { Clear(); }

private:
    static void Clear() {
        unsetenv("DISPLAYINFO");
        SetDisplayInfo(0, 0, 0, 0);
        SetPrinterInfo(0, 0, 0, 0);
    }
};

using GetDisplayInfoTest = DisplayInfoTest;
using GetPrinterInfoTest = DisplayInfoTest;

TEST_F(GetDisplayInfoTest, NothingKnownGivesTheDefaults) {
    const Info info = Display();
    EXPECT_EQ(info.width, 1280.0 / 96);
    EXPECT_NEAR(info.width, 13.333, 0.001);
    EXPECT_EQ(info.height, 1078.0 / 96);
    EXPECT_NEAR(info.height, 11.229, 0.001);
    EXPECT_EQ(info.xResolution, 96);
    EXPECT_EQ(info.yResolution, 96);
}

TEST_F(GetDisplayInfoTest, TheVariableGivesSizeAndResolution) {
    const Info info = DisplayFrom("1024x768x72x72");
    EXPECT_EQ(info.width, 1024.0 / 72);
    EXPECT_NEAR(info.width, 14.222, 0.001);
    EXPECT_EQ(info.height, 768.0 / 72);
    EXPECT_NEAR(info.height, 10.667, 0.001);
    EXPECT_EQ(info.xResolution, 72);
    EXPECT_EQ(info.yResolution, 72);
}

TEST_F(GetDisplayInfoTest, TheVariableComesBeforeWhatWasStored) {
    SetDisplayInfo(500, 400, 100, 50);
    const Info info = DisplayFrom("640,480;160 80");
    EXPECT_EQ(info.width, 4.0);
    EXPECT_EQ(info.height, 6.0);
    EXPECT_EQ(info.xResolution, 160);
    EXPECT_EQ(info.yResolution, 80);
}

TEST_F(GetDisplayInfoTest, AnEmptyVariableIsNone) {
    const Info info = DisplayFrom("");
    EXPECT_EQ(info.width, 1280.0 / 96);
    EXPECT_EQ(info.xResolution, 96);
}

TEST_F(GetDisplayInfoTest, StoredValuesComeBackInInches) {
    SetDisplayInfo(500, 400, 100, 50);
    const Info info = Display();
    EXPECT_EQ(info.width, 5.0);
    EXPECT_EQ(info.height, 8.0);
    EXPECT_EQ(info.xResolution, 100);
    EXPECT_EQ(info.yResolution, 50);
}

TEST_F(GetDisplayInfoTest, EachValueStoredAsZeroKeepsItsDefault) {
    SetDisplayInfo(480, 0, 0, 49);
    Info info = Display();
    EXPECT_EQ(info.width, 5.0);
    EXPECT_EQ(info.height, 22.0); // 1078 / 49
    EXPECT_EQ(info.xResolution, 96);
    EXPECT_EQ(info.yResolution, 49);
    SetDisplayInfo(0, 192, 128, 0);
    info = Display();
    EXPECT_EQ(info.width, 10.0); // 1280 / 128
    EXPECT_EQ(info.height, 2.0);
    EXPECT_EQ(info.xResolution, 128);
    EXPECT_EQ(info.yResolution, 96);
}

TEST_F(GetDisplayInfoTest, StoredNumbersAreNotJudged) {
    SetDisplayInfo(-50, std::numeric_limits<double>::quiet_NaN(), -10, 50);
    const Info info = Display();
    EXPECT_EQ(info.width, 5.0);
    EXPECT_TRUE(std::isnan(info.height));
    EXPECT_EQ(info.xResolution, -10);
}

TEST_F(GetDisplayInfoTest, AZeroResolutionInTheVariableCountsAs96) {
    const Info info = DisplayFrom("960x768x0x72");
    EXPECT_EQ(info.width, 10.0);
    EXPECT_EQ(info.height, 768.0 / 72);
    EXPECT_EQ(info.xResolution, 96);
    EXPECT_EQ(info.yResolution, 72);
    const Info other = DisplayFrom("960x768x60x0");
    EXPECT_EQ(other.width, 16.0);
    EXPECT_EQ(other.height, 8.0);
    EXPECT_EQ(other.xResolution, 60);
    EXPECT_EQ(other.yResolution, 96);
}

TEST_F(GetDisplayInfoTest, MissingIntegersOfTheVariableAreZero) {
    const Info info = DisplayFrom("960");
    EXPECT_EQ(info.width, 10.0);
    EXPECT_EQ(info.height, 0.0); // not the default: the variable is the only source
    EXPECT_EQ(info.xResolution, 96);
    EXPECT_EQ(info.yResolution, 96);
    const Info none = DisplayFrom("none");
    EXPECT_EQ(none.width, 0.0);
    EXPECT_EQ(none.xResolution, 96);
}

TEST_F(GetDisplayInfoTest, ASignIsSkippedAsASeparator) {
    // -4 is read at the sign, which moveptr then steps over: the next integer is 4.
    const Info info = DisplayFrom("-4x2x2");
    EXPECT_EQ(info.width, -2.0);
    EXPECT_EQ(info.height, 2.0);
    EXPECT_EQ(info.xResolution, 2);
    EXPECT_EQ(info.yResolution, 2);
}

TEST_F(GetDisplayInfoTest, TwoSeparatorsMakeAnEmptyInteger) {
    const Info info = DisplayFrom("96xx48x48");
    EXPECT_EQ(info.width, 2.0);
    EXPECT_EQ(info.height, 0.0);
    EXPECT_EQ(info.xResolution, 48);
    EXPECT_EQ(info.yResolution, 48);
}

TEST_F(GetDisplayInfoTest, ALargeResolutionIsCutTo16BitsAfterTheDivision) {
    const Info info = DisplayFrom("131272x65536x65636x65536");
    EXPECT_EQ(info.width, 2.0); // 131272 / 65636
    EXPECT_EQ(info.height, 1.0);
    EXPECT_EQ(info.xResolution, 100);
    EXPECT_EQ(info.yResolution, 0);
}

TEST_F(GetDisplayInfoTest, IntegersOfTheVariableSaturate) {
    const Info info = DisplayFrom("99999999999999999999x99999999999x1x1");
    EXPECT_EQ(info.width, 2147483647.0);
    EXPECT_EQ(info.height, 2147483647.0);
}

TEST_F(GetDisplayInfoTest, EachPointerMayBeNull) {
    SetDisplayInfo(500, 400, 100, 50);
    double size = 0;
    int16_t resolution = 0;
    EXPECT_EQ(GetDisplayInfo(nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(GetDisplayInfo(&size, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(size, 5.0);
    EXPECT_EQ(GetDisplayInfo(nullptr, &size, nullptr, nullptr), 0);
    EXPECT_EQ(size, 8.0);
    EXPECT_EQ(GetDisplayInfo(nullptr, nullptr, &resolution, nullptr), 0);
    EXPECT_EQ(resolution, 100);
    EXPECT_EQ(GetDisplayInfo(nullptr, nullptr, nullptr, &resolution), 0);
    EXPECT_EQ(resolution, 50);
}

TEST_F(GetPrinterInfoTest, ValuesComeBackUnchanged) {
    Info info = {-1, -1, -1, -1};
    EXPECT_EQ(GetPrinterInfo(&info.width, &info.height, &info.xResolution, &info.yResolution), 0);
    EXPECT_EQ(info.width, 0.0);
    EXPECT_EQ(info.height, 0.0);
    EXPECT_EQ(info.xResolution, 0);
    EXPECT_EQ(info.yResolution, 0);
    SetPrinterInfo(8.5, 11.25, 600, -300);
    EXPECT_EQ(GetPrinterInfo(&info.width, &info.height, &info.xResolution, &info.yResolution), 0);
    EXPECT_EQ(info.width, 8.5);
    EXPECT_EQ(info.height, 11.25);
    EXPECT_EQ(info.xResolution, 600);
    EXPECT_EQ(info.yResolution, -300);
    SetPrinterInfo(0, 3, 0, 1); // zeros are values here
    EXPECT_EQ(GetPrinterInfo(&info.width, &info.height, &info.xResolution, &info.yResolution), 0);
    EXPECT_EQ(info.width, 0.0);
    EXPECT_EQ(info.xResolution, 0);
}

TEST_F(GetPrinterInfoTest, DisplayAndVariableDoNotMatter) {
    setenv("DISPLAYINFO", "1x2x3x4", 1);
    SetDisplayInfo(5, 6, 7, 8);
    SetPrinterInfo(8.5, 11, 600, 300);
    double width = 0;
    int16_t resolution = 0;
    EXPECT_EQ(GetPrinterInfo(&width, nullptr, nullptr, &resolution), 0);
    EXPECT_EQ(width, 8.5);
    EXPECT_EQ(resolution, 300);
    EXPECT_EQ(GetPrinterInfo(nullptr, &width, &resolution, nullptr), 0);
    EXPECT_EQ(width, 11.0);
    EXPECT_EQ(resolution, 600);
    EXPECT_EQ(GetPrinterInfo(nullptr, nullptr, nullptr, nullptr), 0);
}

TEST(GetDisplayColorInfo, GivesZero) {
    int word = 5;
    EXPECT_EQ(GetDisplayColorInfo(nullptr), 0);
    EXPECT_EQ(GetDisplayColorInfo(&word), 0);
    EXPECT_EQ(word, 5);
}

TEST(Moveptr, SkipsDigitsAndOneCharacter) {
    const char *text = "1024x768";
    moveptr(&text);
    EXPECT_STREQ(text, "768");
    moveptr(&text);
    EXPECT_STREQ(text, "");
    moveptr(&text);
    EXPECT_STREQ(text, "");
    text = "x1";
    moveptr(&text);
    EXPECT_STREQ(text, "1");
    text = "12";
    moveptr(&text);
    EXPECT_STREQ(text, "");
    text = "9 :/";
    moveptr(&text);
    EXPECT_STREQ(text, ":/");
    moveptr(&text); // ':' and '/' stand beside the digits
    EXPECT_STREQ(text, "/");
}

} // namespace
} // namespace kowen
