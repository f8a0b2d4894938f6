#include "settings/profile_text.h"

#include "base/failure.h"
#include "support/comma_locale.h"

#include <gtest/gtest.h>

namespace kowen::host {
namespace {

std::string ValueIn(const std::string &text, const char *section, const char *name) {
    return ProfileText(text).Value(section, name).value_or("(none)");
}

TEST(ProfileTextValue, ReadsAsTheModuleDoes) {
    EXPECT_EQ(ValueIn("[JPG Export]\nQuality=75\n", "jpg export", "QUALITY"), "75");
    EXPECT_EQ(ValueIn("[A]\nQuality=75 ; good\n", "A", "Quality"), "75");
    EXPECT_EQ(ValueIn("[A]\nQuality=\"75\"\n", "A", "Quality"), "75");
    EXPECT_EQ(ValueIn("[A]\n  Quality=75  \n", "A", "Quality"), "75");
    EXPECT_EQ(ValueIn("[A]\nQuality = 75\n", "A", "Quality"), "(none)");
    EXPECT_EQ(ValueIn("[A]\n[B]\nQuality=75\n", "A", "Quality"), "(none)");
    EXPECT_EQ(ValueIn("[A]\nX=1\nX=2\n", "A", "x"), "1");
    EXPECT_EQ(ValueIn("; [A]\nX=1\n", "A", "X"), "(none)");
    EXPECT_EQ(ValueIn("[A]\r\nX=1\r\n", "A", "X"), "1");
    EXPECT_EQ(ValueIn("[A]\rX=1", "A", "X"), "1");
    EXPECT_EQ(ValueIn("", "A", "X"), "(none)");
    EXPECT_EQ(ValueIn("[A]\nX=1\n[B]\n[A]\nY=2\n", "A", "Y"), "2");
    EXPECT_EQ(ValueIn("[A]\nX=1\n[A]\nY=2\n", "A", "Y"), "(none)"); // the second one ends it
    EXPECT_EQ(ValueIn("A\nX=1\n", "A", "X"), "1");
    EXPECT_EQ(ValueIn("[A]\nX=1\n", " [A] ", "X"), "1");
    EXPECT_EQ(ValueIn("\nX=1\n", "", "X"), "(none)");
}

TEST(ProfileTextNumber, ReadsAsTheModuleDoes) {
    const ProfileText text("[A]\nH=0xff\nT=12abc\nM=-5\nW=abc\nE=\nL=99999999999\nB=0x100000055\n");
    EXPECT_EQ(text.Number("A", "L", 7), 2147483647);
    EXPECT_EQ(text.Number("A", "B", 7), 0x55);
    EXPECT_EQ(text.Number("A", "H", 7), 255);
    EXPECT_EQ(text.Number("A", "T", 7), 12);
    EXPECT_EQ(text.Number("A", "M", 7), 0);
    EXPECT_EQ(text.Number("A", "W", 7), 0);
    EXPECT_EQ(text.Number("A", "E", 7), 7);
    EXPECT_EQ(text.Number("A", "Absent", 7), 7);
}

TEST(ProfileTextSet, ReplacesTheValueAndNothingElse) {
    ProfileText text("; mine\r\n[A]\r\nX=1   ; why\r\nY = 2\r\n\r\n[B]\r\nX=5\r\n");
    text.Set("a", "x", "9");
    EXPECT_EQ(text.Text(), "; mine\r\n[A]\r\nx=9   ; why\r\nY = 2\r\n\r\n[B]\r\nX=5\r\n");
    text.Set("A", "Y", "3");
    EXPECT_EQ(text.Text(), "; mine\r\n[A]\r\nx=9   ; why\r\nY=3\r\n\r\n[B]\r\nX=5\r\n");
}

TEST(ProfileTextSet, AddsToTheEndOfTheSection) {
    ProfileText text("[A]\nX=1\n\n[B]\nX=5\n");
    text.Set("A", "Z", "2");
    EXPECT_EQ(text.Text(), "[A]\nX=1\nZ=2\n\n[B]\nX=5\n");
    text.Set("B", "Z", "3");
    EXPECT_EQ(text.Text(), "[A]\nX=1\nZ=2\n\n[B]\nX=5\nZ=3\n");
}

TEST(ProfileTextSet, ClosesALastLineWithoutAnEnd) {
    ProfileText text("[A]\nX=1");
    text.Set("A", "Y", "2");
    EXPECT_EQ(text.Text(), "[A]\nX=1\nY=2\n");
    ProfileText other("[A]\nX=1");
    other.Set("B", "Y", "2");
    EXPECT_EQ(other.Text(), "[A]\nX=1\n\n[B]\nY=2\n");
}

TEST(ProfileTextSet, MakesAFileAndASection) {
    ProfileText text;
    text.Set("A", "X", "1");
    EXPECT_EQ(text.Text(), "[A]\nX=1\n");
}

TEST(ProfileTextSet, LeavesLongLinesAlone) {
    const std::string line = "Note=" + std::string(1000, 'n') + "\n";
    ProfileText text("[A]\n" + line);
    text.Set("A", "X", "1");
    EXPECT_EQ(text.Text(), "[A]\n" + line + "X=1\n");
}

TEST(ProfileTextSections, ListsEachOnce) {
    const ProfileText text("[B]\n[A] ; c\nX=[no]\n[b]\n");
    const std::vector<std::string> expected = {"B", "A"};
    EXPECT_EQ(text.Sections(), expected);
}

TEST(ReadSettings, FillsInTheModulesDefaultsForMissingKeys) {
    const FilterSettings settings = ReadSettings(ProfileText("[A]\nDriver=KOWEN.1\n"), "A");
    EXPECT_EQ(settings.colourFormat, 222);
    EXPECT_EQ(settings.colourMode, 103);
    EXPECT_EQ(settings.qualityMode, 241);
    EXPECT_EQ(settings.quality, 100);
    EXPECT_EQ(settings.sizeMode, 602);
    EXPECT_EQ(settings.resolutionMode, 309);
    EXPECT_EQ(settings.xDpi, 96);
    EXPECT_DOUBLE_EQ(settings.widthInches, 6.67);
    EXPECT_DOUBLE_EQ(settings.heightInches, 5.0);
}

TEST(ReadSettings, ChecksRangesAsTheModuleDoes) {
    const FilterSettings settings =
        ReadSettings(ProfileText("[A]\nQuality Mode=242\nQuality=101\nX Resolution=31\n"
                                 "Y Resolution=400\nWidth=22.01\nHeight=0.03125\n"
                                 "Resolution Mode=308\nSize Mode=603\n"),
                     "A");
    EXPECT_EQ(settings.quality, 100);
    EXPECT_EQ(settings.xDpi, 96);
    EXPECT_EQ(settings.yDpi, 400);
    EXPECT_DOUBLE_EQ(settings.widthInches, 6.67);
    EXPECT_DOUBLE_EQ(settings.heightInches, 0.03125);
    EXPECT_EQ(settings.resolutionMode, 307);
}

TEST(ReadSettings, KeepsQualityAndResolutionsIn16BitsAsTheModuleDoes) {
    const FilterSettings settings =
        ReadSettings(ProfileText("[A]\nQuality Mode=242\nQuality=65621\nX Resolution=65686\n"
                                 "Y Resolution=131372\n"),
                     "A");
    EXPECT_EQ(settings.quality, 85);
    EXPECT_EQ(settings.xDpi, 150);
    EXPECT_EQ(settings.yDpi, 300);
}

TEST(ReadSettings, LeavesResolutionsUncheckedWithTheSizeFromThePage) {
    const FilterSettings settings =
        ReadSettings(ProfileText("[A]\nX Resolution=600\nSize Mode=601\n"), "A");
    EXPECT_EQ(settings.sizeMode, 600);
    EXPECT_EQ(settings.xDpi, 600);
}

TEST(WriteSettings, RoundTrips) {
    FilterSettings settings;
    settings.colourFormat = 215;
    settings.qualityMode = 242;
    settings.quality = 33;
    settings.sizeMode = 603;
    settings.widthInches = 4.724409449;
    ProfileText text;
    WriteSettings(settings, "A", &text);
    const FilterSettings again = ReadSettings(text, "A");
    EXPECT_EQ(again.colourFormat, 215);
    EXPECT_EQ(again.quality, 33);
    EXPECT_DOUBLE_EQ(again.widthInches, 4.724409449);
    EXPECT_EQ(text.Value("A", "Driver"), "KOWEN.1");
}

TEST(WriteSettings, HasADecimalPointWhateverTheLocale) {
    const TempDirectory directory;
    const CommaLocale locale(directory);
    if (!locale.IsThere())
        GTEST_SKIP() << "no locale with a decimal comma can be made here";
    FilterSettings settings;
    settings.widthInches = 8.5;
    settings.heightInches = 11.25;
    ProfileText profile;
    WriteSettings(settings, "A", &profile);
    EXPECT_EQ(profile.Value("A", "Width"), "8.5");
    EXPECT_EQ(profile.Value("A", "Height"), "11.25");
    EXPECT_EQ(ReadSettings(profile, "A").widthInches, 8.5);
    EXPECT_EQ(ReadSettings(profile, "A").heightInches, 11.25);
}

TEST(CheckSectionName, RefusesWhatAHeaderCannotSay) {
    CheckSectionName("JPG Export");
    CheckSectionName(std::string(143, 's'));
    for (const std::string &name : {std::string(), std::string(144, 's'), std::string("a]b"),
                                    std::string("a;b"), std::string(" a"), std::string("a\nb")})
        EXPECT_THROW(CheckSectionName(name), BadArgument) << name;
}

} // namespace
} // namespace kowen::host
