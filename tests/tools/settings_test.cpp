#include "host/settings.h"

#include "host/error.h"

#include <gtest/gtest.h>

namespace kowen::host {
namespace {

TEST(ParseQuality, TakesOneToAHundredAndFixed) {
    EXPECT_EQ(ParseQuality("1").quality, 1);
    EXPECT_EQ(ParseQuality("1").mode, 242);
    EXPECT_EQ(ParseQuality("100").quality, 100);
    EXPECT_EQ(ParseQuality("fixed").mode, 241);
    EXPECT_EQ(ParseQuality("fixed").quality, 100);
    for (const char *text : {"0", "101", "", "75%", "-1", "7 5", "99999999999"})
        EXPECT_THROW(ParseQuality(text), UsageError) << text;
}

TEST(ParseColourFormat, KnowsThreeNamesAndOneOtherSpelling) {
    EXPECT_EQ(ParseColourFormat("ycc422"), 212);
    EXPECT_EQ(ParseColourFormat("rgb444"), 222);
    EXPECT_EQ(ParseColourFormat("grey"), 215);
    EXPECT_EQ(ParseColourFormat("gray"), 215);
    EXPECT_THROW(ParseColourFormat("212"), UsageError);
    EXPECT_EQ(ColourFormatNames(), "ycc422, rgb444 or grey");
}

TEST(ParseColourMode, KnowsFiveNames) {
    EXPECT_EQ(ParseColourMode("unchanged"), 103);
    EXPECT_EQ(ParseColourMode("inverted"), 104);
    EXPECT_EQ(ParseColourMode("greys-inverted"), 105);
    EXPECT_EQ(ParseColourMode("grey"), 106);
    EXPECT_EQ(ParseColourMode("grey-inverted"), 107);
    EXPECT_THROW(ParseColourMode("negative"), UsageError);
}

TEST(ParseResolution, TakesOneNumberTwoNumbersAndModes) {
    EXPECT_EQ(ParseResolution("300").mode, 310);
    EXPECT_EQ(ParseResolution("300").x, 300);
    EXPECT_EQ(ParseResolution("300").y, 300);
    EXPECT_EQ(ParseResolution("200x100").x, 200);
    EXPECT_EQ(ParseResolution("200x100").y, 100);
    EXPECT_EQ(ParseResolution("picture").mode, 309);
    EXPECT_EQ(ParseResolution("from-page").mode, 307);
}

TEST(ParseResolution, KeepsToTheLimits) {
    EXPECT_EQ(ParseResolution("32x400").x, 32);
    for (const char *text : {"31", "401", "300x401", "x", "300x", "300dpi", "30.5"})
        EXPECT_THROW(ParseResolution(text), UsageError) << text;
}

TEST(ParseSize, ConvertsUnitsToInches) {
    EXPECT_DOUBLE_EQ(ParseSize("6x4in").box.width, 6);
    EXPECT_DOUBLE_EQ(ParseSize("12.7x5.08cm").box.width, 5);
    EXPECT_DOUBLE_EQ(ParseSize("12.7x5.08cm").box.height, 2);
    EXPECT_DOUBLE_EQ(ParseSize("50.8x25.4mm").box.height, 1);
    EXPECT_EQ(ParseSize("6x4in").mode, 603);
    EXPECT_FALSE(ParseSize("6x4in").box.pixels);
}

TEST(ParseSize, TakesPixelsWithAndWithoutTheirUnit) {
    EXPECT_TRUE(ParseSize("640x480").box.pixels);
    EXPECT_TRUE(ParseSize("640x480px").box.pixels);
    EXPECT_EQ(ParseSize("640x480px").box.height, 480);
    for (const char *text : {"0x5", "1.5x2", "65536x1", "640", "640x", "x480", "640x480x3", "-1x1"})
        EXPECT_THROW(ParseSize(text), UsageError) << text;
}

TEST(ParseSize, KeepsToTheLimits) {
    EXPECT_EQ(ParseSize("22x0.03125in").box.width, 22);
    for (const char *text : {"22.01x5in", "5x0.03in", "56x1cm", "nanx1in", "1e1x1in"})
        EXPECT_THROW(ParseSize(text), UsageError) << text;
    EXPECT_EQ(ParseSize("picture").mode, 602);
    EXPECT_EQ(ParseSize("page").mode, 600);
}

TEST(ListSettings, NamesWhatSetChoiceTakesBack) {
    Settings settings;
    settings.colourMode = 107;
    settings.colourFormat = 215;
    settings.qualityMode = 242;
    settings.quality = 63;
    settings.operation = 245;
    settings.resolutionMode = 310;
    settings.xDpi = 200;
    settings.yDpi = 100;
    settings.sizeMode = 603;
    settings.widthInches = 6.125;
    settings.heightInches = 4;
    Choices choices;
    for (const NamedSetting &setting : ListSettings(settings))
        SetChoice(&choices, setting.key, setting.value);
    const Settings again = Apply(Settings(), choices);
    EXPECT_EQ(again.colourMode, 107);
    EXPECT_EQ(again.colourFormat, 215);
    EXPECT_EQ(again.qualityMode, 242);
    EXPECT_EQ(again.quality, 63);
    EXPECT_EQ(again.resolutionMode, 310);
    EXPECT_EQ(again.xDpi, 200);
    EXPECT_EQ(again.yDpi, 100);
    EXPECT_EQ(again.sizeMode, 603);
    EXPECT_DOUBLE_EQ(again.widthInches, 6.125);
    EXPECT_DOUBLE_EQ(again.heightInches, 4);
}

TEST(ListSettings, SpellsTheDefaults) {
    std::string text;
    for (const NamedSetting &setting : ListSettings(Settings()))
        text += setting.key + "=" + setting.value + "\n";
    EXPECT_EQ(text, "colour=ycc422\ncolour-mode=unchanged\nquality=fixed\noperation=sequential\n"
                    "size=from-picture\ndpi=from-picture\nline-mode=default\n");
}

TEST(SetChoice, RefusesUnknownKeys) {
    Choices choices;
    EXPECT_THROW(SetChoice(&choices, "Quality", "75"), UsageError);
    EXPECT_THROW(SetChoice(&choices, "", "75"), UsageError);
    EXPECT_TRUE(choices.Empty());
}

TEST(CheckUsable, RefusesWhatGivesNoPicture) {
    Settings settings;
    CheckUsable(settings);
    settings.operation = 246;
    CheckUsable(settings);
    settings.colourFormat = 222;
    EXPECT_THROW(CheckUsable(settings), UsageError);
    settings.operation = 245;
    settings.colourFormat = 213;
    EXPECT_THROW(CheckUsable(settings), HostError);
    settings = Settings();
    settings.operation = 0;
    EXPECT_THROW(CheckUsable(settings), HostError);
    settings = Settings();
    settings.quality = 0;
    EXPECT_THROW(CheckUsable(settings), HostError);
}

TEST(Notes, SpeakOfFilesThatFewProgramsShowRight) {
    Settings settings;
    settings.quality = 45;
    EXPECT_TRUE(Notes(settings).empty());
    settings.quality = 44;
    EXPECT_EQ(Notes(settings).size(), 1U);
    settings.colourFormat = 215;
    EXPECT_EQ(Notes(settings).size(), 2U);
}

} // namespace
} // namespace kowen::host
