#include "host/profile_file.h"

#include "host/error.h"
#include "support/scoped_environment.h"
#include "support/temp_directory.h"
#include "tools/file_mode.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace kowen::host {
namespace {

TEST(PrivateProfile, IsThereForItsOwnerOnlyAndGoesAgain) {
    const TempDirectory directory;
    const ScopedEnvironment place("TMPDIR", directory.Path().c_str());
    std::string path;
    {
        const PrivateProfile profile(ProfileText("[host]\nX=1\n"));
        path = profile.Path();
        EXPECT_TRUE(path.starts_with(directory.Path()));
        EXPECT_EQ(ModeOf(path), 0600);
        EXPECT_EQ(ModeOf(std::filesystem::path(path).parent_path()), 0700);
        EXPECT_EQ(profile.Read().Value("host", "X"), "1");
    }
    EXPECT_TRUE(std::filesystem::is_empty(directory.Path()));
}

TEST(PrivateProfile, HasAPathThatFitsTheModulesField) {
    const TempDirectory directory;
    const std::string deep = directory.File(std::string(150, 'd'));
    std::filesystem::create_directory(deep);
    const ScopedEnvironment place("TMPDIR", deep.c_str());
    const PrivateProfile profile(ProfileText("[host]\n"));
    EXPECT_LT(profile.Path().size(), 144U);
    EXPECT_TRUE(profile.Path().starts_with("/tmp/"));
}

TEST(LoadProfile, LooksInTheDirectoryOfProfilesFirst) {
    const TempDirectory directory;
    const TempDirectory other;
    directory.Write("a.ini", "[A]\nX=1\n");
    const ScopedEnvironment place("INIDIR", directory.Path().c_str());
    EXPECT_EQ(LoadProfile("a.ini").path, directory.File("a.ini"));
    EXPECT_TRUE(LoadProfile("a.ini").exists);
    EXPECT_FALSE(LoadProfile("no-such.ini").exists);
    EXPECT_EQ(LoadProfile("no-such.ini").path, "no-such.ini");
    other.Write("b.ini", "[B]\n");
    EXPECT_EQ(LoadProfile(other.File("b.ini")).text.Sections().at(0), "B");
}

TEST(LoadProfile, TellsWhyAFileCannotBeRead) {
    const ScopedEnvironment place("INIDIR", nullptr);
    const TempDirectory directory;
    directory.Write("file", "");
    EXPECT_THROW(LoadProfile(directory.File("file/a.ini")), HostError);
    EXPECT_THROW(LoadProfile(directory.Path()), HostError);
}

TEST(DefaultProfileName, IsTheModulesOwn) {
    EXPECT_EQ(DefaultProfileName("/usr/lib/kowen.so"), "kowen.ini");
    EXPECT_EQ(DefaultProfileName("other.so.2"), "other.ini");
}

TEST(ChooseSection, TakesTheOneAskedForThenTheMode) {
    ProfileFile profile;
    profile.path = "my.ini";
    profile.text = ProfileText("[KOWEN]\n~Mode=Web\n[Web]\nDriver=KOWEN.1\n");
    EXPECT_EQ(ChooseSection(profile, ""), "Web");
    EXPECT_EQ(ChooseSection(profile, "Print"), "Print");
    EXPECT_THROW(ChooseSection(profile, "a]b"), UsageError);
    profile.text = ProfileText("[Web]\n");
    EXPECT_THROW(ChooseSection(profile, ""), HostError);
}

TEST(SettingSections, LeavesOutTheOneThatOnlyNamesAnother) {
    const ProfileText text("[KOWEN]\n~Mode=Web\n[Web]\nDriver=KOWEN.1\n");
    EXPECT_EQ(SettingSections(text), std::vector<std::string>{"Web"});
    const ProfileText both("[KOWEN]\nDriver=KOWEN.1\n");
    EXPECT_EQ(SettingSections(both), std::vector<std::string>{"KOWEN"});
}

} // namespace
} // namespace kowen::host
