#include "setup/setting_store.h"

#include "setup/setup_fixture.h"
#include "support/comma_locale.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace kowen {
namespace {

using SettingStoreTest = SetupFixture;

TEST_F(SettingStoreTest, ReadsTextFromTheSetupsSection) {
    const SetupRecord *setup =
        Create(directory.Write("p.ini", "[R]\nWidth=1\n[S]\nDriver=d\nWidth=2.5 \n"), "S");
    char text[8] = "#######";
    EXPECT_EQ(ReadSettingText(*setup, kStringWidth, "9", text, sizeof text), 3);
    EXPECT_STREQ(text, "2.5");
    EXPECT_EQ(ReadSettingText(*setup, kStringHeight, "9", text, sizeof text), 1);
    EXPECT_STREQ(text, "9");
}

TEST_F(SettingStoreTest, WritesIntoTheSetupsSection) {
    const SetupRecord *setup = Create(
        directory.Write("p.ini", "[R]\nQuality=1\n[S]\nDriver=d\nQuality=2\n[T]\nA=1\n"), "S");
    WriteSetting(*setup, kStringQuality, "%d", 77);
    EXPECT_EQ(directory.Read("p.ini"), "[R]\nQuality=1\n[S]\nDriver=d\nQuality=77\n[T]\nA=1\n");
    WriteSetting(*setup, kStringHeight, "%.3g", 2.0 / 3);
    EXPECT_EQ(directory.Read("p.ini"),
              "[R]\nQuality=1\n[S]\nDriver=d\nQuality=77\nHeight=0.667\n[T]\nA=1\n");
}

TEST_F(SettingStoreTest, ASetupWithoutProfilePersistsNothing) {
    const ScopedEnvironment profileDirectory("INIDIR", directory.Path().c_str());
    SetupRecord setup = {};
    std::memcpy(setup.section, "S", 2);
    WriteSetting(setup, kStringQuality, "%d", 77);
    EXPECT_TRUE(std::filesystem::is_empty(directory.Path()));
}

TEST_F(SettingStoreTest, AProfileThatHasGoneIsMadeAnew) {
    const SetupRecord *setup = Load("");
    std::filesystem::remove(directory.File("p.ini"));
    WriteSetting(*setup, kStringQuality, "%d", 77);
    EXPECT_EQ(directory.Read("p.ini"), "\n[S]\nQuality=77\n");
}

TEST_F(SettingStoreTest, NumbersHaveADecimalPointInEveryLocale) {
    const CommaLocale locale(directory);
    if (!locale.IsThere())
        GTEST_SKIP() << "no locale with a decimal comma can be made here";
    const SetupRecord *setup = Load("Width=2.5\n");
    EXPECT_EQ(setup->width, 2.5);
    WriteSetting(*setup, kStringHeight, "%.3g", 3.25);
    EXPECT_EQ(directory.Read("p.ini"), "[S]\nDriver=d\nWidth=2.5\nHeight=3.25\n");
    char text[8];
    std::snprintf(text, sizeof text, "%.1f", 1.5);
    EXPECT_STREQ(text, "1,5") << "the host's locale is back";
}

} // namespace
} // namespace kowen
