#include "host/output_file.h"

#include "host/error.h"
#include "support/temp_directory.h"
#include "tools/file_mode.h"
#include "tools/program.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace kowen::host {
namespace {

namespace fs = std::filesystem;

size_t FilesIn(const TempDirectory &directory) {
    size_t count = 0;
    for ([[maybe_unused]] const auto &entry : fs::directory_iterator(directory.Path()))
        ++count;
    return count;
}

void Deliver(const std::string &path, const std::string &text) {
    OutputFile(path).Deliver(text.data(), text.size());
}

TEST(OutputFile, MakesAFileWithTheUsualPermissions) {
    const TempDirectory directory;
    const mode_t before = umask(027);
    Deliver(directory.File("new"), "bytes");
    umask(before);
    EXPECT_EQ(directory.Read("new"), "bytes");
    EXPECT_EQ(ModeOf(directory.File("new")), 0640);
    EXPECT_EQ(FilesIn(directory), 1U);
}

TEST(OutputFile, KeepsThePermissionsOfAFile) {
    const TempDirectory directory;
    directory.Write("old", "old");
    chmod(directory.File("old").c_str(), 0604);
    Deliver(directory.File("old"), "new");
    EXPECT_EQ(directory.Read("old"), "new");
    EXPECT_EQ(ModeOf(directory.File("old")), 0604);
}

TEST(OutputFile, WritesToWhatALinkNames) {
    const TempDirectory directory;
    fs::create_directory(directory.File("sub"));
    directory.Write("sub/real", "old");
    fs::create_symlink("sub/real", directory.File("link"));
    fs::create_symlink("link", directory.File("link2"));
    Deliver(directory.File("link2"), "new");
    EXPECT_TRUE(fs::is_symlink(directory.File("link")));
    EXPECT_TRUE(fs::is_symlink(directory.File("link2")));
    EXPECT_EQ(directory.Read("sub/real"), "new");
}

TEST(OutputFile, MakesTheFileThatADanglingLinkNames) {
    const TempDirectory directory;
    fs::create_symlink("real", directory.File("link"));
    Deliver(directory.File("link"), "new");
    EXPECT_TRUE(fs::is_symlink(directory.File("link")));
    EXPECT_EQ(directory.Read("real"), "new");
}

TEST(OutputFile, GivesUpOnARingOfLinks) {
    const TempDirectory directory;
    fs::create_symlink("b", directory.File("a"));
    fs::create_symlink("a", directory.File("b"));
    EXPECT_THROW(OutputFile(directory.File("a")), HostError);
}

TEST(OutputFile, RefusesADirectory) {
    const TempDirectory directory;
    EXPECT_THROW(OutputFile(directory.Path()), HostError);
}

TEST(OutputFile, RefusesAProtectedFile) {
    if (test::IsRoot())
        GTEST_SKIP() << "root may write everything";
    const TempDirectory directory;
    directory.Write("old", "old");
    chmod(directory.File("old").c_str(), 0400);
    EXPECT_THROW(OutputFile(directory.File("old")), HostError);
}

TEST(OutputFile, LeavesNothingBesideAnUnfinishedFile) {
    const TempDirectory directory;
    directory.Write("old", "old");
    {
        const OutputFile output(directory.File("old"));
        const auto temporary = output.MakeTemporary();
        EXPECT_EQ(FilesIn(directory), 2U);
        EXPECT_EQ(ModeOf(temporary->Path()), 0600);
    }
    EXPECT_EQ(FilesIn(directory), 1U);
    EXPECT_EQ(directory.Read("old"), "old");
}

TEST(OutputFile, WritesDirectlyToADevice) {
    const OutputFile null("/dev/null");
    ASSERT_FALSE(null.Replaceable());
    null.Deliver("abc", 3);
    try {
        OutputFile("/dev/full").Deliver("abc", 3);
        FAIL();
    } catch (const HostError &error) {
        EXPECT_STREQ(error.what(), "/dev/full: No space left on device");
        EXPECT_EQ(error.Status(), kExitFailure);
    }
}

} // namespace
} // namespace kowen::host
