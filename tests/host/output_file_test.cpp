#include "output/output_file.h"

#include "base/failure.h"
#include "support/child_process.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace kowen::host {
namespace {

namespace fs = std::filesystem;

constexpr int kNotAllowed = 77;

const std::string kJpeg = "\xFF\xD8\xFF\xE0 a picture";

int ModeOf(const std::string &path) {
    struct stat status = {};
    stat(path.c_str(), &status);
    return static_cast<int>(status.st_mode & 07777);
}

size_t FilesIn(const TempDirectory &directory) {
    size_t count = 0;
    for ([[maybe_unused]] const auto &entry : fs::directory_iterator(directory.Path()))
        ++count;
    return count;
}

void Deliver(const std::string &path, const std::string &text,
             KowenReplace replace = KOWEN_REPLACE_ANY) {
    OutputFile file(path, replace);
    ASSERT_EQ(WriteAll(file.Open(), text.data(), text.size()), 0);
    file.Commit();
}

int32_t CodeOf(const std::string &path, KowenReplace replace) {
    try {
        OutputFile file(path, replace);
        return KOWEN_HOST_OK;
    } catch (const Failure &failure) {
        return failure.Code();
    }
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

TEST(OutputFile, KeepsTheOwnerOfAFile) {
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can give files away";
    const TempDirectory directory;
    directory.Write("old", "old");
    ASSERT_EQ(chown(directory.File("old").c_str(), 1234, 4321), 0);
    Deliver(directory.File("old"), "new");
    struct stat status = {};
    ASSERT_EQ(stat(directory.File("old").c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 1234U);
    EXPECT_EQ(status.st_gid, 4321U);
}

TEST(OutputFile, LeavesAnotherNameOfTheOldFileAsItIs) {
    const TempDirectory directory;
    directory.Write("old", "old");
    fs::create_hard_link(directory.File("old"), directory.File("other"));
    Deliver(directory.File("old"), "new");
    EXPECT_EQ(directory.Read("old"), "new");
    EXPECT_EQ(directory.Read("other"), "old");
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
    Deliver(directory.File("link"), "new", KOWEN_REPLACE_NEVER);
    EXPECT_TRUE(fs::is_symlink(directory.File("link")));
    EXPECT_EQ(directory.Read("real"), "new");
}

TEST(OutputFile, GivesUpOnARingOfLinks) {
    const TempDirectory directory;
    fs::create_symlink("b", directory.File("a"));
    fs::create_symlink("a", directory.File("b"));
    EXPECT_EQ(CodeOf(directory.File("a"), KOWEN_REPLACE_ANY), KOWEN_HOST_ERR_OUTPUT);
}

TEST(OutputFile, RefusesADirectory) {
    const TempDirectory directory;
    EXPECT_EQ(CodeOf(directory.Path(), KOWEN_REPLACE_ANY), KOWEN_HOST_ERR_OUTPUT);
}

TEST(OutputFile, RefusesAProtectedFile) {
    if (geteuid() == 0)
        GTEST_SKIP() << "root may write everything";
    const TempDirectory directory;
    directory.Write("old", "old");
    chmod(directory.File("old").c_str(), 0400);
    EXPECT_EQ(CodeOf(directory.File("old"), KOWEN_REPLACE_ANY), KOWEN_HOST_ERR_OUTPUT);
}

TEST(OutputFile, ReplacesWhatThePolicyAllows) {
    const TempDirectory directory;
    const std::string jpeg = directory.Write("a.jpg", kJpeg);
    const std::string text = directory.Write("a.txt", "\xFF\xD8");
    const std::string empty = directory.Write("empty", "");
    for (const std::string &path : {jpeg, text, empty}) {
        EXPECT_EQ(CodeOf(path, KOWEN_REPLACE_NEVER), KOWEN_HOST_ERR_EXISTS);
        EXPECT_EQ(CodeOf(path, KOWEN_REPLACE_ANY), KOWEN_HOST_OK);
    }
    EXPECT_EQ(CodeOf(jpeg, KOWEN_REPLACE_JPEG), KOWEN_HOST_OK);
    EXPECT_EQ(CodeOf(text, KOWEN_REPLACE_JPEG), KOWEN_HOST_ERR_EXISTS);
    EXPECT_EQ(CodeOf(empty, KOWEN_REPLACE_JPEG), KOWEN_HOST_OK);
    EXPECT_EQ(CodeOf(directory.File("new"), KOWEN_REPLACE_NEVER), KOWEN_HOST_OK);
    for (const char *start : {"?\xD8\xFF", "\xFF?\xFF", "\xFF\xD8?"})
        EXPECT_EQ(CodeOf(directory.Write("other", start), KOWEN_REPLACE_JPEG),
                  KOWEN_HOST_ERR_EXISTS);
}

TEST(OutputFile, DoesNotReplaceWhatCameMeanwhile) {
    const TempDirectory directory;
    for (const KowenReplace replace : {KOWEN_REPLACE_NEVER, KOWEN_REPLACE_JPEG}) {
        const std::string path = directory.File("late");
        OutputFile file(path, replace);
        ASSERT_EQ(WriteAll(file.Open(), "new", 3), 0);
        directory.Write("late", "somebody's text");
        EXPECT_THROW(file.Commit(), Failure);
        EXPECT_EQ(directory.Read("late"), "somebody's text");
        fs::remove(path);
    }
    OutputFile file(directory.File("late"), KOWEN_REPLACE_JPEG);
    ASSERT_EQ(WriteAll(file.Open(), "new", 3), 0);
    directory.Write("late", kJpeg);
    file.Commit();
    EXPECT_EQ(directory.Read("late"), "new");
}

TEST(OutputFile, DoesNotReplaceAPictureThatBecameSomethingElseMeanwhile) {
    const TempDirectory directory;
    const std::string path = directory.Write("a.jpg", kJpeg);
    OutputFile file(path, KOWEN_REPLACE_JPEG);
    ASSERT_EQ(WriteAll(file.Open(), "new", 3), 0);
    directory.Write("a.jpg", "somebody's text");
    EXPECT_THROW(file.Commit(), Failure);
    EXPECT_EQ(directory.Read("a.jpg"), "somebody's text");
}

TEST(OutputFile, LeavesNothingBesideAnUnfinishedFile) {
    const TempDirectory directory;
    directory.Write("old", "old");
    {
        OutputFile output(directory.File("old"), KOWEN_REPLACE_ANY);
        ASSERT_EQ(WriteAll(output.Open(), "new", 3), 0);
    }
    EXPECT_EQ(FilesIn(directory), 1U);
    EXPECT_EQ(directory.Read("old"), "old");
}

TEST(OutputFile, HasNoNameUntilItIsWhole) {
    const TempDirectory directory;
    if (!Descriptor(open(directory.Path().c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600)).Open())
        GTEST_SKIP() << "this file system has no files without a name";
    OutputFile output(directory.File("new"), KOWEN_REPLACE_ANY);
    ASSERT_EQ(WriteAll(output.Open(), "new", 3), 0);
    EXPECT_EQ(FilesIn(directory), 0U);
    output.Commit();
    EXPECT_EQ(directory.Read("new"), "new");
}

// Replaces a file, and makes one, in the root of a process that has no /proc.
int DeliverToTheRoot() {
    try {
        Deliver("/old", "new");
        Deliver("/new", "newer");
        fs::create_directory("d");
        OutputFile output("d/new", KOWEN_REPLACE_ANY);
        output.Open();
        return fs::is_empty("d") ? 2 : 0; // it has a name, beside the file's
    } catch (const Failure &failure) {
        std::printf("%s\n", failure.what());
        std::fflush(stdout);
        return 1;
    }
}

TEST(OutputFile, ReplacesFilesInTheRootWithoutProc) {
    const TempDirectory directory;
    directory.Write("old", "old");
    const ChildResult child = RunInChild([&] {
        if (chroot(directory.Path().c_str()) != 0 || chdir("/") != 0)
            return kNotAllowed;
        return DeliverToTheRoot();
    });
    if (child.exitCode == kNotAllowed)
        GTEST_SKIP() << "this user cannot change the root";
    EXPECT_EQ(child.exitCode, 0) << child.output;
    EXPECT_EQ(directory.Read("old"), "new");
    EXPECT_EQ(directory.Read("new"), "newer");
}

TEST(OutputFile, WritesDirectlyToADevice) {
    Deliver("/dev/null", "abc");
    OutputFile full("/dev/full", KOWEN_REPLACE_NEVER);
    EXPECT_EQ(WriteAll(full.Open(), "abc", 3), ENOSPC);
}

TEST(OutputFile, WritesDirectlyToAnOpenDescriptor) {
    const TempDirectory directory;
    const std::string path = directory.Write("file", "first ");
    const Descriptor opened(open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
    fs::create_symlink("/dev/fd/" + std::to_string(opened.Get()), directory.File("link"));
    Deliver("/dev/fd/" + std::to_string(opened.Get()), "second ", KOWEN_REPLACE_NEVER);
    Deliver("/proc/self/fd/" + std::to_string(opened.Get()), "third ", KOWEN_REPLACE_NEVER);
    Deliver(directory.File("link"), "fourth", KOWEN_REPLACE_NEVER);
    EXPECT_EQ(directory.Read("file"), "first second third fourth");
    EXPECT_THROW(OutputFile("/dev/fd/987", KOWEN_REPLACE_ANY).Open(), Failure);
}

TEST(WriteAll, TellsOfAClosedPipeAndKeepsTheSignalToItself) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    close(ends[0]);
    EXPECT_EQ(WriteAll(ends[1], "abc", 3), EPIPE); // the default action would end the test
    close(ends[1]);
    sigset_t pending;
    sigpending(&pending);
    EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);
    sigset_t blocked;
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    EXPECT_EQ(sigismember(&blocked, SIGPIPE), 0);
}

} // namespace
} // namespace kowen::host
