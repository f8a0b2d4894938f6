// Profiles through the C interface.
#include "saving.h"

#include "support/scoped_environment.h"
#include "support/temp_directory.h"

namespace kowen::test {
namespace {

std::string Value(const KowenSettings *settings, const char *name) {
    char value[256] = "";
    EXPECT_EQ(KowenGet(settings, name, value, sizeof value), KOWEN_HOST_OK);
    return value;
}

struct ProfileCall {
    ProfileCall() { result.size = sizeof result; }
    KowenResult result = {};
};

TEST(KowenCheckSettings, SaysWhatDoesNotGoTogether) {
    ProfileCall call;
    const SomeSettings plain(SettingList{{"quality", "45"}});
    EXPECT_EQ(KowenCheckSettings(plain, &call.result), KOWEN_HOST_OK);
    EXPECT_EQ(KowenCheckSettings(nullptr, &call.result), KOWEN_HOST_OK);
    const SomeSettings low(SettingList{{"quality", "44"}});
    EXPECT_EQ(KowenCheckSettings(low, &call.result), KOWEN_HOST_ERR_ARGUMENT);
    EXPECT_TRUE(std::string(call.result.message).starts_with("the quality is from 45 to 100"));
    const SomeSettings filters(SettingList{{"quality", "44"}, {"as-filter", "yes"}});
    EXPECT_EQ(KowenCheckSettings(filters, &call.result), KOWEN_HOST_OK);
}

TEST(KowenSettings, HaveNamesAndOrigins) {
    const SomeSettings settings(SettingList{{"quality", "80"}});
    EXPECT_EQ(KowenIsSet(settings, "quality"), 1);
    EXPECT_EQ(KowenIsSet(settings, "dpi"), 0);
    EXPECT_STREQ(KowenSettingName(0), "quality");
    EXPECT_STREQ(KowenSettingName(12), "as-filter");
    EXPECT_EQ(KowenSettingName(13), nullptr);
    char small[3];
    EXPECT_EQ(KowenGet(settings, "quality", small, 2), KOWEN_HOST_ERR_ARGUMENT);
    EXPECT_EQ(KowenGet(settings, "quality", small, 3), KOWEN_HOST_OK);
    KowenSettings *copy = KowenCopySettings(settings);
    EXPECT_EQ(Value(copy, "quality"), "80");
    // Neither sees what the other one is given.
    EXPECT_EQ(KowenSet(copy, "quality", "70", nullptr), KOWEN_HOST_OK);
    EXPECT_EQ(KowenSet(settings, "dpi", "300", nullptr), KOWEN_HOST_OK);
    EXPECT_EQ(Value(settings, "quality"), "80");
    EXPECT_EQ(Value(copy, "dpi"), "picture");
    EXPECT_EQ(KowenIsSet(copy, "dpi"), 0);
    KowenFreeSettings(copy);
    EXPECT_EQ(Value(settings, "quality"), "80");
}

TEST(KowenSettings, TakeNullForNothing) {
    const SomeSettings settings;
    char value[16] = "before";
    EXPECT_EQ(KowenCopySettings(nullptr), nullptr);
    EXPECT_EQ(KowenIsSet(settings, "qualty"), 0);
    EXPECT_EQ(KowenIsSet(settings, nullptr), 0);
    EXPECT_EQ(KowenIsSet(nullptr, "quality"), 0);
    EXPECT_EQ(KowenGet(nullptr, "quality", value, sizeof value), KOWEN_HOST_ERR_ARGUMENT);
    EXPECT_EQ(KowenGet(settings, nullptr, value, sizeof value), KOWEN_HOST_ERR_ARGUMENT);
    EXPECT_EQ(KowenGet(settings, "quality", nullptr, 16), KOWEN_HOST_ERR_ARGUMENT);
    EXPECT_EQ(KowenGet(settings, "quality", value, 3), KOWEN_HOST_ERR_ARGUMENT); // "100" has 4
    EXPECT_STREQ(value, "before");
    EXPECT_STREQ(KowenModulePath(nullptr), "");
    EXPECT_EQ(KowenModuleVersion(nullptr), 0U);
}

TEST(KowenLoadProfile, TakesTheSectionThatTheProfileNames) {
    const ScopedEnvironment noFolder("INIDIR", nullptr);
    const TempDirectory directory;
    const std::string path = directory.Write(
        "my.ini", "[KOWEN]\n~Mode=Web\n[Web]\nDriver=KOWEN.1\nQuality Mode=242\nQuality=75\n"
                  "Operation=246\nColor Format=212\n[Print]\nDriver=KOWEN.1\nQuality=90\n");
    const SomeSettings settings(SettingList{{"progressive", "no"}});
    ProfileCall call;
    ASSERT_EQ(KowenLoadProfile(settings, path.c_str(), nullptr, &call.result), KOWEN_HOST_OK);
    EXPECT_STREQ(call.result.profilePath, path.c_str());
    EXPECT_STREQ(call.result.profileSection, "Web");
    EXPECT_EQ(Value(settings, "quality"), "75");
    EXPECT_EQ(Value(settings, "progressive"), "no");
    EXPECT_EQ(KowenIsSet(settings, "quality"), 1);
    EXPECT_EQ(KowenLoadProfile(settings, path.c_str(), "None", &call.result),
              KOWEN_HOST_ERR_PROFILE);
    EXPECT_NE(std::string(call.result.message).find("it has Web, Print"), std::string::npos);
    EXPECT_EQ(KowenLoadProfile(settings, directory.File("no.ini").c_str(), nullptr, &call.result),
              KOWEN_HOST_ERR_PROFILE);
    const std::string text = directory.Write("a.txt", "not a profile\n");
    EXPECT_EQ(KowenLoadProfile(settings, text.c_str(), nullptr, &call.result),
              KOWEN_HOST_ERR_PROFILE);
}

TEST(KowenLoadProfile, IsToldBySaves) {
    const ScopedEnvironment noFolder("INIDIR", nullptr);
    const OpenedModule module;
    const TempDirectory directory;
    const std::string path = directory.Write(
        "my.ini", "[Web]\nDriver=KOWEN.1\nQuality Mode=242\nQuality=75\nColor Format=212\n");
    const SomeSettings settings;
    ProfileCall call;
    ASSERT_EQ(KowenLoadProfile(settings, path.c_str(), "Web", &call.result), KOWEN_HOST_OK);
    const std::vector<uint8_t> pixels = Flat(8, 8, 1, 2, 3);
    const KowenPicture picture = RgbPicture(pixels, 8, 8);
    KowenOutput output = {};
    output.size = sizeof output;
    ASSERT_EQ(KowenSave(module, &picture, settings, &output, nullptr, &call.result), KOWEN_HOST_OK);
    EXPECT_EQ(call.result.quality, 75);
    EXPECT_TRUE(call.result.notes & KOWEN_NOTE_PROFILE_USED);
    EXPECT_STREQ(call.result.profilePath, path.c_str());
    EXPECT_STREQ(call.result.profileSection, "Web");
    KowenFree(output.memory);

    KowenPrepared *prepared = KowenPrepare(module, &picture, nullptr, nullptr, &call.result);
    EXPECT_STREQ(call.result.profilePath, "");
    ASSERT_EQ(KowenExportPrepared(prepared, settings, &output, nullptr, &call.result),
              KOWEN_HOST_OK);
    EXPECT_TRUE(call.result.notes & KOWEN_NOTE_PROFILE_USED);
    EXPECT_STREQ(call.result.profilePath, path.c_str());
    KowenFree(output.memory);
    KowenFreePrepared(prepared);
}

TEST(KowenSaveProfile, MakesAProfileAndKeepsWhatIsInOne) {
    const ScopedEnvironment noFolder("INIDIR", nullptr);
    const TempDirectory directory;
    const std::string path = directory.File("my.ini");
    const SomeSettings settings(SettingList{{"quality", "85"}, {"size", "6x4in"}, {"dpi", "300"}});
    ProfileCall call;
    ASSERT_EQ(KowenSaveProfile(settings, path.c_str(), nullptr, &call.result), KOWEN_HOST_OK)
        << call.result.message;
    EXPECT_STREQ(call.result.profileSection, "JPG Export");
    const SomeSettings loaded;
    ASSERT_EQ(KowenLoadProfile(loaded, path.c_str(), nullptr, &call.result), KOWEN_HOST_OK);
    EXPECT_EQ(Value(loaded, "quality"), "85");
    EXPECT_EQ(Value(loaded, "size"), "6x4in");
    EXPECT_EQ(Value(loaded, "dpi"), "300");
    EXPECT_EQ(Value(loaded, "colour"), "ycc422");

    directory.Write("mine.ini", "; mine\n[Web]\nDriver=KOWEN.1 ; yes\nQuality=5\nOther=1\n");
    const SomeSettings one(SettingList{{"quality", "70"}});
    ASSERT_EQ(KowenSaveProfile(one, directory.File("mine.ini").c_str(), "Web", &call.result),
              KOWEN_HOST_OK);
    EXPECT_EQ(directory.Read("mine.ini"),
              "; mine\n[Web]\nDriver=KOWEN.1 ; yes\nQuality=70\nOther=1\n"
              "Quality Mode=242\n");
}

TEST(KowenSaveProfile, RefusesWhatAProfileCannotSay) {
    const ScopedEnvironment noFolder("INIDIR", nullptr);
    const TempDirectory directory;
    const std::string path = directory.File("my.ini");
    ProfileCall call;
    for (const SettingList &list :
         {SettingList{{"as-filter", "yes"}}, SettingList{{"max-bytes", "9k"}},
          SettingList{{"size", "640x480px"}}, SettingList{{"dpi", "600"}},
          SettingList{{"size", "A0"}}, SettingList{{"quality", "44"}},
          SettingList{{"colour", "rgb444"}},
          SettingList{{"colour", "grey"}, {"progressive", "yes"}}}) {
        const SomeSettings settings(list);
        for (const auto save : {KowenSaveProfile, KowenCheckSaveProfile})
            EXPECT_EQ(save(settings, path.c_str(), nullptr, &call.result), KOWEN_HOST_ERR_ARGUMENT)
                << list[0].first;
    }
    const SomeSettings good(SettingList{{"quality", "45"}});
    EXPECT_EQ(KowenCheckSaveProfile(good, path.c_str(), nullptr, &call.result), KOWEN_HOST_OK);
    EXPECT_FALSE(directory.Has("my.ini"));
    const std::string text = directory.Write("a.txt", "not a profile\n");
    const SomeSettings settings(SettingList{{"quality", "70"}});
    EXPECT_EQ(KowenSaveProfile(settings, text.c_str(), "Web", &call.result),
              KOWEN_HOST_ERR_PROFILE);
    EXPECT_EQ(directory.Read("a.txt"), "not a profile\n");
    EXPECT_EQ(KowenSaveProfile(settings, "/proc/none/my.ini", nullptr, &call.result),
              KOWEN_HOST_ERR_PROFILE);
}

TEST(KowenSaveProfile, RefusesASectionOfTheProfilesThatNoHeaderCanName) {
    const ScopedEnvironment noFolder("INIDIR", nullptr);
    const TempDirectory directory;
    const SomeSettings settings(SettingList{{"quality", "70"}});
    for (const char *mode : {"a]b", " S", "\"S"}) {
        const std::string text =
            "[KOWEN]\n~Mode=\"" + std::string(mode) + "\"\n[S]\nDriver=KOWEN.1\n";
        const std::string path = directory.Write("my.ini", text);
        ProfileCall call;
        EXPECT_EQ(KowenSaveProfile(settings, path.c_str(), nullptr, &call.result),
                  KOWEN_HOST_ERR_PROFILE);
        EXPECT_EQ(std::string(call.result.message),
                  path + ": it names the section '" + mode +
                      "', but a section's name has 1 to 143 characters, no brackets, quotes or "
                      "semicolons and no spaces at its ends");
        EXPECT_EQ(directory.Read("my.ini"), text);
        EXPECT_EQ(KowenSaveProfile(settings, path.c_str(), "S", &call.result), KOWEN_HOST_OK);
    }
}

// The filter begins to read at the first line that has the section's name.
TEST(KowenSaveProfile, RefusesASectionThatALineWithoutBracketsHides) {
    const ScopedEnvironment noFolder("INIDIR", nullptr);
    const TempDirectory directory;
    const SomeSettings settings(SettingList{{"quality", "70"}});
    for (const char *text :
         {"S\nQuality=1\n[S]\nDriver=KOWEN.1\n", "[Other]\n s ; a note\nDriver=KOWEN.1\n"}) {
        const std::string path = directory.Write("my.ini", text);
        ProfileCall call;
        EXPECT_EQ(KowenSaveProfile(settings, path.c_str(), "S", &call.result),
                  KOWEN_HOST_ERR_PROFILE);
        EXPECT_EQ(std::string(call.result.message),
                  path + ": a line 'S' without brackets stands in front of the section, and the "
                         "filter would read there instead; remove that line, or put brackets "
                         "around it");
        EXPECT_EQ(directory.Read("my.ini"), text);
    }
    const std::string harmless = directory.Write("my.ini", "[S]\nDriver=KOWEN.1\nS\n");
    EXPECT_EQ(KowenSaveProfile(settings, harmless.c_str(), "S", nullptr), KOWEN_HOST_OK);
    const SomeSettings loaded;
    EXPECT_EQ(KowenLoadProfile(loaded, harmless.c_str(), "S", nullptr), KOWEN_HOST_OK);
    EXPECT_EQ(Value(loaded, "quality"), "70");
}

TEST(KowenSaveProfile, TurnsPixelsIntoInchesOfItsResolution) {
    const ScopedEnvironment noFolder("INIDIR", nullptr);
    const TempDirectory directory;
    const std::string path = directory.File("my.ini");
    const SomeSettings settings(SettingList{{"size", "600x450px"}, {"dpi", "300x150"}});
    ProfileCall call;
    ASSERT_EQ(KowenSaveProfile(settings, path.c_str(), "Web", &call.result), KOWEN_HOST_OK);
    const SomeSettings loaded;
    ASSERT_EQ(KowenLoadProfile(loaded, path.c_str(), nullptr, &call.result), KOWEN_HOST_OK);
    EXPECT_EQ(Value(loaded, "size"), "2x3in");
}

TEST(KowenProfileSection, ListsThem) {
    const ScopedEnvironment noFolder("INIDIR", nullptr);
    const TempDirectory directory;
    const std::string path = directory.Write("my.ini", "[KOWEN]\n~Mode=Web\n[Web]\n[Print]\n");
    char name[6];
    ProfileCall call;
    EXPECT_EQ(KowenProfileSection(path.c_str(), 0, name, sizeof name, &call.result), KOWEN_HOST_OK);
    EXPECT_STREQ(name, "Web");
    EXPECT_EQ(KowenProfileSection(path.c_str(), 1, name, sizeof name, &call.result), KOWEN_HOST_OK);
    EXPECT_STREQ(name, "Print");
    EXPECT_EQ(KowenProfileSection(path.c_str(), 1, name, 5, &call.result), KOWEN_HOST_ERR_ARGUMENT);
    EXPECT_EQ(KowenProfileSection(path.c_str(), 2, name, sizeof name, &call.result),
              KOWEN_HOST_ERR_ARGUMENT);
    EXPECT_EQ(call.result.message, path + ": there is no such section");
}

} // namespace
} // namespace kowen::test
