#include "settings/profile_file.h"

#include "base/failure.h"
#include "support/scoped_environment.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

namespace kowen::host {
namespace {

TEST(LoadProfileFile, LooksInTheDirectoryOfProfilesFirst) {
    const TempDirectory directory;
    const TempDirectory other;
    directory.Write("a.ini", "[A]\nX=1\n");
    const ScopedEnvironment place("INIDIR", directory.Path().c_str());
    EXPECT_EQ(LoadProfileFile("a.ini").path, directory.File("a.ini"));
    EXPECT_TRUE(LoadProfileFile("a.ini").exists);
    EXPECT_FALSE(LoadProfileFile("no-such.ini").exists);
    EXPECT_EQ(LoadProfileFile("no-such.ini").path, "no-such.ini");
    other.Write("b.ini", "[B]\n");
    EXPECT_EQ(LoadProfileFile(other.File("b.ini")).text.Sections().at(0), "B");
}

TEST(LoadProfileFile, TellsWhyAFileCannotBeRead) {
    const ScopedEnvironment place("INIDIR", nullptr);
    const TempDirectory directory;
    directory.Write("file", "");
    EXPECT_THROW(LoadProfileFile(directory.File("file/a.ini")), Failure);
    EXPECT_THROW(LoadProfileFile(directory.Path()), Failure);
}

TEST(ChooseSection, TakesTheOneAskedForThenTheMode) {
    ProfileFile profile;
    profile.path = "my.ini";
    profile.text = ProfileText("[KOWEN]\n~Mode=Web\n[Web]\nDriver=KOWEN.1\n");
    EXPECT_EQ(ChooseSection(profile, ""), "Web");
    EXPECT_EQ(ChooseSection(profile, "Print"), "Print");
    EXPECT_THROW(ChooseSection(profile, "a]b"), BadArgument);
    profile.text = ProfileText("[Web]\n");
    EXPECT_THROW(ChooseSection(profile, ""), Failure);
}

TEST(SettingSections, LeavesOutTheOneThatOnlyNamesAnother) {
    const ProfileText text("[KOWEN]\n~Mode=Web\n[Web]\nDriver=KOWEN.1\n");
    EXPECT_EQ(SettingSections(text), std::vector<std::string>{"Web"});
    const ProfileText both("[KOWEN]\nDriver=KOWEN.1\n");
    EXPECT_EQ(SettingSections(both), std::vector<std::string>{"KOWEN"});
}

} // namespace
} // namespace kowen::host
