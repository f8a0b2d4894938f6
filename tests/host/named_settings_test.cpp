#include "settings/named_settings.h"

#include "base/failure.h"
#include "support/comma_locale.h"

#include <gtest/gtest.h>

#include <string>

namespace kowen::host {
namespace {

std::string GetAfter(const char *name, const char *value) {
    NamedSettings settings;
    settings.Set(name, value);
    return settings.Get(FindSetting(name));
}

std::string Refusal(const char *name, const char *value) {
    NamedSettings settings;
    try {
        settings.Set(name, value);
    } catch (const BadArgument &failure) {
        return failure.what();
    }
    return "";
}

TEST(NamedSettings, HaveTheirDefaults) {
    const NamedSettings settings;
    const std::pair<SettingId, const char *> kDefaults[] = {
        {SettingId::kQuality, "100"},   {SettingId::kProgressive, "no"},
        {SettingId::kColour, "ycc422"}, {SettingId::kColourMode, "unchanged"},
        {SettingId::kSize, "picture"},  {SettingId::kDpi, "picture"},
        {SettingId::kPage, ""},         {SettingId::kBackground, "#ffffff"},
        {SettingId::kExif, "keep"},     {SettingId::kIcc, "keep"},
        {SettingId::kComment, "drop"},  {SettingId::kMaxBytes, "0"},
        {SettingId::kAsFilter, "no"}};
    static_assert(std::size(kDefaults) == kSettingCount);
    for (const auto &[id, value] : kDefaults) {
        EXPECT_EQ(settings.Get(id), value) << SettingName(id);
        EXPECT_EQ(settings.OriginOf(id), Origin::kDefault) << SettingName(id);
    }
}

TEST(NamedSettings, HaveADecimalPointWhateverTheLocale) {
    const TempDirectory directory;
    const CommaLocale locale(directory);
    if (!locale.IsThere())
        GTEST_SKIP() << "no locale with a decimal comma can be made here";
    EXPECT_EQ(GetAfter("size", "letter"), "8.5x11in");
    EXPECT_EQ(GetAfter("size", "8.5x11in"), "8.5x11in");
}

TEST(NamedSettings, TakeValuesAndGiveThemBack) {
    EXPECT_EQ(GetAfter("quality", "45"), "45");
    EXPECT_EQ(GetAfter("progressive", "on"), "yes");
    EXPECT_EQ(GetAfter("color", "gray"), "grey");
    EXPECT_EQ(GetAfter("color-mode", "greys-inverted"), "greys-inverted");
    EXPECT_EQ(GetAfter("size", "15.24x10.16cm"), "6x4in");
    EXPECT_EQ(GetAfter("size", "640x480"), "640x480px");
    EXPECT_EQ(GetAfter("size", "letter"), "8.5x11in");
    EXPECT_EQ(GetAfter("size", "640X480"), "640x480px");
    EXPECT_EQ(GetAfter("size", "6X4IN"), "6x4in");
    EXPECT_EQ(GetAfter("dpi", "300"), "300");
    EXPECT_EQ(GetAfter("dpi", "300x150"), "300x150");
    EXPECT_EQ(GetAfter("dpi", "1"), "1");
    EXPECT_EQ(GetAfter("dpi", "65535"), "65535");
    EXPECT_EQ(GetAfter("page", "10x5in@100"), "1000x500px@100");
    EXPECT_EQ(GetAfter("page", "10x5px"), "10x5px@96");
    EXPECT_EQ(GetAfter("page", "10x5px@1"), "10x5px@1");
    EXPECT_EQ(GetAfter("page", "10x5px@32767"), "10x5px@32767");
    EXPECT_EQ(GetAfter("background", "#0aBf00"), "#0abf00");
    EXPECT_EQ(GetAfter("background", "#0bF"), "#00bbff");
    EXPECT_EQ(GetAfter("background", "White"), "#ffffff");
    EXPECT_EQ(GetAfter("background", "navy"), "#000080");
    EXPECT_EQ(GetAfter("background", "gray"), "#808080");
    EXPECT_EQ(GetAfter("comment", "keep"), "keep");
    EXPECT_EQ(GetAfter("max-bytes", "300k"), "300000");
    EXPECT_EQ(GetAfter("max-bytes", "2M"), "2000000");
    EXPECT_EQ(GetAfter("max-bytes", "300kb"), "300000");
    EXPECT_EQ(GetAfter("max-bytes", "300KB"), "300000");
    EXPECT_EQ(GetAfter("max-bytes", "0.1M"), "100000");
    EXPECT_EQ(GetAfter("max-bytes", "2.01M"), "2010000"); // 2.01 x 10^6 is less, in doubles
    EXPECT_EQ(GetAfter("max-bytes", "1.001k"), "1001");
    EXPECT_EQ(GetAfter("max-bytes", "1234b"), "1234");
    NamedSettings limited;
    limited.Set("max-bytes", "1234");
    limited.Set("max-bytes", "0");
    EXPECT_EQ(limited.Values().maxBytes, 0u); // none
    EXPECT_EQ(GetAfter("as-filter", "yes"), "yes");
}

TEST(NamedSettings, RefuseWhatTheyCannotBe) {
    const std::pair<const char *, const char *> kWrong[] = {{"quality", "0"},
                                                            {"quality", "101"},
                                                            {"quality", "85x"},
                                                            {"quality", ""},
                                                            {"progressive", "y"},
                                                            {"colour", "red"},
                                                            {"size", "0x4in"},
                                                            {"size", "B4"},
                                                            {"size", "70000x4px"},
                                                            {"dpi", "0"},
                                                            {"dpi", "65536"},
                                                            {"dpi", "300x"},
                                                            {"page", "10x5in@0"},
                                                            {"page", "5"},
                                                            {"page", "10x5px@32768"},
                                                            {"background", "whitish"},
                                                            {"exif", "yes"},
                                                            {"background", "#12345"},
                                                            {"max-bytes", "300q"},
                                                            {"max-bytes", "0.5"},
                                                            {"max-bytes", "1.0005k"},
                                                            {"max-bytes", "300.0001k"},
                                                            {"max-bytes", "-1"},
                                                            {"max-bytes", "0.5"},
                                                            {"max-bytes", "k"},
                                                            {"max-bytes", "1e3"},
                                                            {"background", "#1234"},
                                                            {"background", "#12 456"},
                                                            {"max-bytes", "99999999999999999999"}};
    for (const auto &[name, value] : kWrong)
        EXPECT_NE(Refusal(name, value), "") << name << '=' << value;
}

TEST(NamedSettings, SayWhatWouldDo) {
    EXPECT_EQ(Refusal("colour", "red"), "the colour format is ycc422, grey or rgb444, not 'red'");
    EXPECT_EQ(Refusal("tempo", "1"),
              "there is no setting 'tempo'; the settings are quality, progressive, colour, "
              "colour-mode, size, dpi, page, background, exif, icc, comment, max-bytes and "
              "as-filter");
}

TEST(NamedSettings, ChangeNothingWhenTheyRefuse) {
    NamedSettings settings;
    settings.Set("dpi", "200x100");
    EXPECT_THROW(settings.Set("dpi", "300xx"), BadArgument);
    EXPECT_EQ(settings.Get(SettingId::kDpi), "200x100");
    EXPECT_THROW(settings.Set("size", "1x"), BadArgument);
    EXPECT_EQ(settings.OriginOf(SettingId::kSize), Origin::kDefault);
}

FilterSettings ProfileOf75() {
    FilterSettings profile;
    profile.quality = 75;
    profile.operation = KOWEN_OPERATION_PROGRESSIVE;
    return profile;
}

TEST(TakeProfile, LeavesWhatWasSet) {
    NamedSettings settings;
    settings.Set("quality", "90");
    settings.TakeProfile(ProfileOf75(), "my.ini", "Web");
    EXPECT_EQ(settings.Get(SettingId::kQuality), "90");
    EXPECT_EQ(settings.Get(SettingId::kProgressive), "yes");
    EXPECT_EQ(settings.OriginOf(SettingId::kProgressive), Origin::kProfile);
    EXPECT_EQ(settings.OriginOf(SettingId::kQuality), Origin::kSet);
    EXPECT_EQ(settings.ProfilePath(), "my.ini");
    EXPECT_EQ(settings.ProfileSection(), "Web");
}

TEST(TakeProfile, MeansCommonFilesWhenItNamesNoColourFormat) {
    FilterSettings profile;
    profile.colourFormat = KOWEN_FORMAT_RGB444;
    profile.namesColourFormat = false;
    NamedSettings settings;
    settings.TakeProfile(profile, "my.ini", "Web");
    EXPECT_EQ(settings.Values().filter.colourFormat, KOWEN_FORMAT_YCC422);
    settings.Set("as-filter", "yes");
    EXPECT_EQ(settings.Values().filter.colourFormat, KOWEN_FORMAT_RGB444);
}

void ExpectTogether(bool together,
                    std::initializer_list<std::pair<const char *, const char *>> list) {
    NamedSettings settings;
    for (const auto &[name, value] : list)
        settings.Set(name, value);
    if (together)
        EXPECT_NO_THROW(CheckTogether(settings.Values())) << list.begin()->second;
    else
        EXPECT_THROW(CheckTogether(settings.Values()), BadArgument) << list.begin()->second;
}

TEST(CheckTogether, RefusesFilesThatNobodyReads) {
    ExpectTogether(true, {{"quality", "45"}});
    ExpectTogether(false, {{"quality", "44"}});
    ExpectTogether(true, {{"quality", "1"}, {"as-filter", "yes"}});
    ExpectTogether(false, {{"colour", "rgb444"}});
    ExpectTogether(true, {{"colour", "rgb444"}, {"as-filter", "yes"}});
    ExpectTogether(false, {{"colour", "grey"}, {"progressive", "yes"}});
    ExpectTogether(true, {{"dpi", "600"}});
    ExpectTogether(false, {{"dpi", "600"}, {"as-filter", "yes"}});
    ExpectTogether(true, {{"size", "9x9px"}, {"dpi", "page"}});
    ExpectTogether(false, {{"size", "9x9px"}, {"dpi", "page"}, {"as-filter", "yes"}});
    ExpectTogether(true, {{"size", "A0"}});
    ExpectTogether(false, {{"size", "A0"}, {"as-filter", "yes"}});
}

} // namespace
} // namespace kowen::host
