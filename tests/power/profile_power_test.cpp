// Profiles that the module writes, when the power fails.
#include "power/old_or_new.h"
#include "power/recorded_disk.h"
#include "profile/profile_file.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <sys/stat.h>

namespace kowen::test {
namespace {

const std::string kText = "[A]\nKey=1\nOther=2\n";

// Sets a key and looks at every moment of it.
void ExpectOldOrNew(const TempDirectory &directory, const std::string &path) {
    const FolderState before = Look(directory.Path());
    StartRecording(directory.Path());
    WritePrivateProfileString("A", "Key", "new value", path.c_str());
    const std::vector<DiskCall> calls = StopRecording();
    const FolderState after = Look(directory.Path());
    ASSERT_EQ(AfterAll(before, calls), after);
    const auto old = before.find("a.ini");
    const Replacement asked = {"a.ini",
                               old == before.end() ? std::nullopt : std::optional(old->second),
                               after.at("a.ini")};
    EXPECT_NE(asked.after.bytes.find("Key=new value\n"), std::string::npos);
    EXPECT_EQ(WhatIsLost(before, calls, asked, false), "");
}

TEST(ProfilePowerCut, LeavesTheOldOrTheNewProfile) {
    const TempDirectory directory;
    const std::string path = directory.Write("a.ini", kText);
    directory.Write("b.ini", "another");
    chmod(path.c_str(), 0604);
    ExpectOldOrNew(directory, path);
    EXPECT_EQ(directory.Read("a.ini"), "[A]\nKey=new value\nOther=2\n");
}

TEST(ProfilePowerCut, LeavesTheNewProfileOrNone) {
    const TempDirectory directory;
    ExpectOldOrNew(directory, directory.File("a.ini"));
}

TEST(ProfilePowerCut, LeavesWhatALinkLeadsTo) {
    const TempDirectory directory, elsewhere;
    directory.Write("a.ini", kText);
    std::filesystem::create_symlink(directory.File("a.ini"), elsewhere.File("link.ini"));
    ExpectOldOrNew(directory, elsewhere.File("link.ini"));
}

// What cannot be brought to disk is not put in the old one's place.
TEST(ProfilePowerCut, LeavesTheOldProfileWhenTheDiskFails) {
    const TempDirectory directory;
    const std::string path = directory.Write("a.ini", kText);
    const FolderState before = Look(directory.Path());
    FailSyncs(EIO);
    StartRecording(directory.Path());
    WritePrivateProfileString("A", "Key", "new", path.c_str());
    const std::vector<DiskCall> calls = StopRecording();
    FailSyncs(0);
    EXPECT_EQ(Look(directory.Path()), before);
    EXPECT_EQ(WhatIsLost(before, calls, {"a.ini", before.at("a.ini"), before.at("a.ini")}, true),
              "");
}

} // namespace
} // namespace kowen::test
