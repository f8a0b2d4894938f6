#include "profile/file_replace.h"

#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <deque>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// What the module calls instead of the C library's functions in this program: they do the same,
// unless a test lets them fail or wants to look first.
std::function<void()> beforeFsync;
std::function<void(const char *)> beforeRename;
std::function<void(int)> beforeChown;
int fsyncError = 0;
int renameError = 0;
bool chownRefused = false;
// What the next writes answer instead of writing: an error, or 0 for nothing written.
std::deque<int> writeErrors;
// What the next random bytes are; unset: random. kNoRandomness: there are none.
std::deque<int> randomBytes;
constexpr int kNoRandomness = -1;

int Refuse(int error) {
    errno = error;
    return -1;
}

} // namespace

extern "C" int fsync(int file) {
    if (beforeFsync)
        beforeFsync();
    return fsyncError != 0 ? Refuse(fsyncError) : static_cast<int>(syscall(SYS_fsync, file));
}

extern "C" int fchown(int file, uid_t user, gid_t group) noexcept {
    if (beforeChown)
        beforeChown(file);
    if (chownRefused)
        return Refuse(EPERM);
    return static_cast<int>(syscall(SYS_fchown, file, user, group));
}

extern "C" int rename(const char *from, const char *to) noexcept {
    if (beforeRename)
        beforeRename(from);
    return renameError != 0 ? Refuse(renameError)
                            : static_cast<int>(syscall(SYS_renameat, AT_FDCWD, from, AT_FDCWD, to));
}

extern "C" ssize_t write(int file, const void *bytes, size_t count) {
    if (writeErrors.empty())
        return syscall(SYS_write, file, bytes, count);
    const int error = writeErrors.front();
    writeErrors.pop_front();
    return error == 0 ? 0 : Refuse(error);
}

extern "C" int getentropy(void *bytes, size_t count) {
    if (randomBytes.empty())
        return syscall(SYS_getrandom, bytes, count, 0) == static_cast<long>(count) ? 0 : -1;
    const int byte = randomBytes.front();
    randomBytes.pop_front();
    if (byte == kNoRandomness)
        return Refuse(ENOSYS);
    std::memset(bytes, byte, count);
    return 0;
}

namespace kowen {
namespace {

namespace fs = std::filesystem;

mode_t ModeOf(const std::string &path) {
    struct stat status = {};
    EXPECT_EQ(stat(path.c_str(), &status), 0);
    return status.st_mode & 07777;
}

bool Existing(const std::string &path, std::string_view text) {
    return ReplaceFile(path.c_str(), text, ReplaceKind::kExisting);
}

bool New(const std::string &path, std::string_view text) {
    return ReplaceFile(path.c_str(), text, ReplaceKind::kNew);
}

// Runs work in a child of its own and returns what it returned.
int InChild(const std::function<int()> &work) {
    const pid_t child = fork();
    if (child == 0)
        _exit(work());
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::ptrdiff_t FilesIn(const std::string &directory) {
    return std::distance(fs::directory_iterator(directory), fs::directory_iterator());
}

class ReplaceFileTest : public testing::Test {
protected:
    void TearDown() override {
        beforeFsync = nullptr;
        beforeRename = nullptr;
        beforeChown = nullptr;
        fsyncError = 0;
        renameError = 0;
        chownRefused = false;
        writeErrors.clear();
        randomBytes.clear();
    }
    // The old file is as it was and nothing lies beside it.
    void ExpectUntouched(const std::string &content) {
        EXPECT_EQ(directory.Read("a.ini"), content);
        EXPECT_EQ(FilesIn(directory.Path()), 1);
    }

    TempDirectory directory;
};

TEST_F(ReplaceFileTest, ReplacesTheWholeContent) {
    const std::string path = directory.Write("a.ini", "a longer old text");
    EXPECT_TRUE(Existing(path, "new"));
    EXPECT_EQ(directory.Read("a.ini"), "new");
    EXPECT_TRUE(Existing(path, ""));
    ExpectUntouched("");
}

TEST_F(ReplaceFileTest, MakesANewFile) {
    EXPECT_TRUE(New(directory.File("a.ini"), std::string("n\0w", 3)));
    ExpectUntouched(std::string("n\0w", 3));
}

TEST_F(ReplaceFileTest, ANewFileHasTheUsualPermissions) {
    const mode_t before = umask(027);
    EXPECT_TRUE(New(directory.File("a.ini"), "new"));
    umask(before);
    EXPECT_EQ(ModeOf(directory.File("a.ini")), 0640u);
}

TEST_F(ReplaceFileTest, KeepsThePermissions) {
    const std::string path = directory.Write("a.ini", "old");
    for (mode_t mode : {0600u, 0644u, 0664u, 0444u, 0606u}) {
        chmod(path.c_str(), mode);
        EXPECT_TRUE(Existing(path, "new"));
        EXPECT_EQ(ModeOf(path), mode);
    }
}

TEST_F(ReplaceFileTest, KeepsTheOwner) {
    if (geteuid() != 0)
        GTEST_SKIP() << "only root may give a file away";
    const std::string path = directory.Write("a.ini", "old");
    ASSERT_EQ(chown(path.c_str(), 1234, 2345), 0);
    EXPECT_TRUE(Existing(path, "new"));
    struct stat status = {};
    stat(path.c_str(), &status);
    EXPECT_EQ(status.st_uid, 1234u);
    EXPECT_EQ(status.st_gid, 2345u);
}

TEST_F(ReplaceFileTest, KeepsASymbolicLinkAndReplacesItsTarget) {
    TempDirectory elsewhere;
    elsewhere.Write("target.ini", "old");
    fs::create_symlink(elsewhere.File("target.ini"), directory.File("second"));
    fs::create_symlink("second", directory.File("a.ini")); // beside it, by a bare name
    EXPECT_TRUE(Existing(directory.File("a.ini"), "new"));
    EXPECT_TRUE(fs::is_symlink(directory.File("a.ini")));
    EXPECT_TRUE(fs::is_symlink(directory.File("second")));
    EXPECT_FALSE(fs::is_symlink(elsewhere.File("target.ini")));
    EXPECT_EQ(elsewhere.Read("target.ini"), "new");
    EXPECT_EQ(FilesIn(elsewhere.Path()), 1);
}

TEST_F(ReplaceFileTest, MakesTheTargetOfADanglingLink) {
    fs::create_directory(directory.File("sub"));
    fs::create_symlink("sub/target.ini", directory.File("a.ini"));
    EXPECT_TRUE(New(directory.File("a.ini"), "new"));
    EXPECT_TRUE(fs::is_symlink(directory.File("a.ini")));
    EXPECT_EQ(directory.Read("sub/target.ini"), "new");
}

TEST_F(ReplaceFileTest, LinksThatLeadInACircleLeadNowhere) {
    fs::create_symlink("b.ini", directory.File("a.ini"));
    fs::create_symlink("a.ini", directory.File("b.ini"));
    EXPECT_FALSE(New(directory.File("a.ini"), "new"));
    EXPECT_FALSE(Existing(directory.File("a.ini"), "new"));
    EXPECT_TRUE(fs::is_symlink(directory.File("a.ini")));
}

TEST_F(ReplaceFileTest, ChainsOfFortyLinksLeadNowhere) {
    directory.Write("0", "old");
    for (int i = 1; i <= 40; ++i)
        fs::create_symlink(std::to_string(i - 1), directory.File(std::to_string(i)));
    EXPECT_TRUE(Existing(directory.File("39"), "new"));
    EXPECT_EQ(directory.Read("0"), "new");
    EXPECT_FALSE(Existing(directory.File("40"), "newer"));
    EXPECT_EQ(directory.Read("0"), "new");
}

TEST_F(ReplaceFileTest, WorksOnABareNameInTheWorkingDirectory) {
    directory.Write("a.ini", "old");
    const fs::path before = fs::current_path();
    fs::current_path(directory.Path());
    EXPECT_TRUE(Existing("a.ini", "new"));
    fs::current_path(before);
    ExpectUntouched("new");
}

TEST_F(ReplaceFileTest, DoesNotTakeOneKindForTheOther) {
    const std::string path = directory.Write("a.ini", "old");
    EXPECT_FALSE(New(path, "new"));
    EXPECT_FALSE(Existing(directory.File("none.ini"), "new"));
    ExpectUntouched("old");
}

TEST_F(ReplaceFileTest, ADirectoryAndADeviceAreNotReplaced) {
    fs::create_directory(directory.File("a.ini"));
    EXPECT_FALSE(Existing(directory.File("a.ini"), "new"));
    EXPECT_FALSE(New(directory.File("a.ini"), "new"));
    EXPECT_FALSE(Existing(directory.File("a.ini/"), "new"));
    EXPECT_TRUE(fs::is_directory(directory.File("a.ini")));
    EXPECT_EQ(FilesIn(directory.Path()), 1);
    ASSERT_EQ(mkfifo(directory.File("pipe").c_str(), 0600), 0);
    EXPECT_FALSE(Existing(directory.File("pipe"), "new"));
    EXPECT_TRUE(fs::is_fifo(directory.File("pipe")));
}

TEST_F(ReplaceFileTest, AMissingDirectoryFails) {
    EXPECT_FALSE(New(directory.File("none/a.ini"), "new"));
    EXPECT_FALSE(New(directory.File(std::string(5000, 'a')), "new"));
    EXPECT_EQ(FilesIn(directory.Path()), 0);
}

TEST_F(ReplaceFileTest, TheLongestFileNameCanBeReplaced) {
    const std::string path = directory.Write(std::string(255, 'a'), "old");
    EXPECT_TRUE(Existing(path, "new"));
    EXPECT_EQ(directory.Read(std::string(255, 'a')), "new");
}

TEST_F(ReplaceFileTest, TheOldFileStandsUntilTheNewOneIsOnDisk) {
    const std::string path = directory.Write("a.ini", "old");
    int waited = 0;
    int renamed = 0;
    beforeFsync = [&] {
        ++waited;
        EXPECT_EQ(directory.Read("a.ini"), "old");
    };
    beforeRename = [&](const char *from) {
        ++renamed;
        EXPECT_EQ(waited, 1);
        EXPECT_EQ(directory.Read("a.ini"), "old");
        const std::string name = fs::path(from).filename();
        EXPECT_EQ(directory.File(name), from); // beside it, so that it is one step
        EXPECT_EQ(directory.Read(name), "new");
    };
    EXPECT_TRUE(Existing(path, "new"));
    EXPECT_EQ(renamed, 1);
    ExpectUntouched("new");
}

TEST_F(ReplaceFileTest, TheNewTextIsNotOpenToOthersMeanwhile) {
    const std::string path = directory.Write("a.ini", "old");
    chmod(path.c_str(), 0640);
    int asked = 0;
    beforeChown = [&](int file) {
        ++asked;
        struct stat status = {};
        fstat(file, &status);
        EXPECT_EQ(status.st_mode & 07777, 0600u);
        EXPECT_EQ(status.st_size, 3);
    };
    beforeRename = [](const char *from) { EXPECT_EQ(ModeOf(from), 0640u); };
    EXPECT_TRUE(Existing(path, "new"));
    EXPECT_GE(asked, 1);
}

TEST_F(ReplaceFileTest, AFailingDiskLeavesTheOldFile) {
    const std::string path = directory.Write("a.ini", "old");
    fsyncError = EIO;
    EXPECT_FALSE(Existing(path, "new"));
    ExpectUntouched("old");
}

TEST_F(ReplaceFileTest, AFileSystemThatCannotWaitIsNoFailure) {
    const std::string path = directory.Write("a.ini", "old");
    fsyncError = EINVAL;
    EXPECT_TRUE(Existing(path, "new"));
    ExpectUntouched("new");
}

TEST_F(ReplaceFileTest, AFailingRenameLeavesTheOldFile) {
    const std::string path = directory.Write("a.ini", "old");
    renameError = EACCES;
    EXPECT_FALSE(Existing(path, "new"));
    ExpectUntouched("old");
    EXPECT_FALSE(New(directory.File("b.ini"), "new"));
    ExpectUntouched("old");
}

TEST_F(ReplaceFileTest, AnInterruptedWriteIsTriedAgain) {
    const std::string path = directory.Write("a.ini", "old");
    writeErrors = {EINTR, EINTR};
    EXPECT_TRUE(Existing(path, "new"));
    EXPECT_TRUE(writeErrors.empty());
    ExpectUntouched("new");
}

TEST_F(ReplaceFileTest, AWriteThatWritesNothingLeavesTheOldFile) {
    const std::string path = directory.Write("a.ini", "old");
    for (const int error : {ENOSPC, 0}) {
        writeErrors = {error};
        EXPECT_FALSE(Existing(path, "new")) << error;
        ExpectUntouched("old");
    }
}

TEST_F(ReplaceFileTest, AnOwnerWhoCannotBeKeptIsNoFailure) {
    const std::string path = directory.Write("a.ini", "old");
    chmod(path.c_str(), 0640);
    chownRefused = true;
    EXPECT_TRUE(Existing(path, "new"));
    EXPECT_EQ(ModeOf(path), 0640u);
    ExpectUntouched("new");
}

// The names have 12 letters, each one of 32 by the lowest five bits of a random byte.
TEST_F(ReplaceFileTest, ANameThatIsTakenIsLeftAlone) {
    const std::string path = directory.Write("a.ini", "old");
    directory.Write(".kowen-aaaaaaaaaaaa", "somebody's");
    directory.Write(".kowen-bbbbbbbbbbbb", "somebody's");
    randomBytes = {0, 33, 2};
    std::string name;
    beforeRename = [&](const char *from) { name = from; };
    EXPECT_TRUE(Existing(path, "new"));
    EXPECT_EQ(name, directory.File(".kowen-cccccccccccc"));
    EXPECT_EQ(directory.Read(".kowen-aaaaaaaaaaaa"), "somebody's");
    EXPECT_EQ(directory.Read(".kowen-bbbbbbbbbbbb"), "somebody's");
    EXPECT_EQ(directory.Read("a.ini"), "new");
}

TEST_F(ReplaceFileTest, ANewFileMayTakeTheNumberOfAClosedStandardInput) {
    const std::string path = directory.Write("a.ini", "old");
    directory.Write(".kowen-aaaaaaaaaaaa", "somebody's");
    randomBytes = {0, 1};
    EXPECT_EQ(InChild([&] {
                  close(STDIN_FILENO);
                  return Existing(path, "new") ? 0 : 1;
              }),
              0);
    EXPECT_EQ(FilesIn(directory.Path()), 2);
    EXPECT_EQ(directory.Read("a.ini"), "new");
}

TEST_F(ReplaceFileTest, AHundredNamesAreTried) {
    const std::string path = directory.Write("a.ini", "old");
    directory.Write(".kowen-555555555555", "somebody's");
    randomBytes.assign(101, 31);
    EXPECT_FALSE(Existing(path, "new"));
    EXPECT_EQ(randomBytes.size(), 1u);
    EXPECT_EQ(directory.Read(".kowen-555555555555"), "somebody's");
    EXPECT_EQ(directory.Read("a.ini"), "old");
}

TEST_F(ReplaceFileTest, WithoutRandomnessTheOldFileStays) {
    const std::string path = directory.Write("a.ini", "old");
    randomBytes = {kNoRandomness};
    EXPECT_FALSE(Existing(path, "new"));
    ExpectUntouched("old");
}

// A path has at most 4095 bytes.
TEST_F(ReplaceFileTest, ALinkThatMakesThePathTooLongFails) {
    const std::string path = directory.File("a.ini");
    const std::size_t room = 4095 - (path.size() - std::strlen("a.ini"));
    fs::create_symlink(std::string(room + 1, 'x'), path);
    EXPECT_FALSE(New(path, "new"));
    EXPECT_EQ(FilesIn(directory.Path()), 1);
}

TEST_F(ReplaceFileTest, AFileWithoutRoomForALongerNameBesideItFails) {
    std::string deep = directory.Path();
    while (deep.size() < 4095 - 2 - 200)
        deep += "/" + std::string(199, 'd');
    deep += "/" + std::string(4095 - 3 - deep.size(), 'd');
    fs::create_directories(deep);
    const std::string path = deep + "/a";
    ASSERT_EQ(path.size(), 4095u);
    EXPECT_FALSE(New(path, "new"));
    EXPECT_EQ(FilesIn(deep), 0);
}

TEST_F(ReplaceFileTest, AFileIsNoDirectory) {
    directory.Write("a.ini", "old");
    EXPECT_FALSE(New(directory.File("a.ini/b.ini"), "new"));
    ExpectUntouched("old");
}

TEST_F(ReplaceFileTest, AFullDiskLeavesTheOldFile) {
    const std::string path = directory.Write("a.ini", "old");
    const int code = InChild([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit = {5000, 5000};
        setrlimit(RLIMIT_FSIZE, &limit);
        // The first 5000 bytes are written, the rest is not.
        return Existing(path, std::string(5001, 'x')) ? 1 : 0;
    });
    EXPECT_EQ(code, 0);
    ExpectUntouched("old");
}

TEST_F(ReplaceFileTest, ADirectoryThatTakesNoFileLeavesTheOldFile) {
    const std::string path = directory.Write("a.ini", "old");
    chmod(path.c_str(), 0666);
    chmod(directory.Path().c_str(), 0555);
    const int code = InChild([&] {
        if (geteuid() == 0 && setuid(65534) != 0)
            return 2;
        return Existing(path, "new") ? 1 : 0;
    });
    chmod(directory.Path().c_str(), 0755);
    EXPECT_EQ(code, 0);
    ExpectUntouched("old");
}

TEST_F(ReplaceFileTest, AUserWhoDoesNotOwnTheFileKeepsItsPermissions) {
    if (geteuid() != 0)
        GTEST_SKIP() << "needs two users";
    const std::string path = directory.Write("a.ini", "old");
    chmod(path.c_str(), 0664);
    chmod(directory.Path().c_str(), 0777);
    const int code = InChild([&] {
        if (setgid(65534) != 0 || setuid(65534) != 0)
            return 2;
        return Existing(path, "new") ? 0 : 1;
    });
    EXPECT_EQ(code, 0);
    EXPECT_EQ(ModeOf(path), 0664u);
    ExpectUntouched("new");
}

} // namespace
} // namespace kowen
