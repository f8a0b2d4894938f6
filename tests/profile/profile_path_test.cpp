#include "profile/profile_path.h"

#include "kowen/codes.h"
#include "profile/profile_file.h"
#include "support/child_process.h"
#include "support/failing_memory.h"
#include "support/open_files.h"
#include "support/scoped_environment.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace kowen {
namespace {

namespace fs = std::filesystem;

std::string Rest(FileHandle file) {
    TextBuffer text;
    EXPECT_TRUE(ReadToEnd(file, text));
    return std::string(text.Text());
}

// The working directory is one of two fresh ones, INIDIR names the other when a test says so.
class ProfilePathTest : public testing::Test {
protected:
    ProfilePathTest() : before(fs::current_path()) { fs::current_path(here.Path()); }
    ~ProfilePathTest() override { fs::current_path(before); }

    // INIopen of a name; what is in the file, "(none)" without a handle.
    std::string Open(const std::string &bareName, int32_t nameSize) {
        std::memset(name, '#', sizeof name);
        std::strcpy(name, bareName.c_str());
        const FileHandle file = INIopen(name, nameSize, 0);
        if (file == 0)
            return "(none)";
        const std::string text = Rest(file);
        INIclose(file);
        return text;
    }

    int32_t Find(const std::string &bareName, const char *path) {
        std::memset(name, '#', sizeof name);
        std::strcpy(name, bareName.c_str());
        const int32_t result = GetProfileDirectory(name, path);
        EXPECT_EQ(name[kPathBytes], '#'); // the buffer is 144 bytes
        return result;
    }

    TempDirectory here;
    TempDirectory inidir;
    char name[600];

private:
    fs::path before;
};

using INIopenTest = ProfilePathTest;
using GetProfileDirectoryTest = ProfilePathTest;

TEST_F(INIopenTest, OpensTheNameAsItStandsFirst) {
    here.Write("a.ini", "here");
    inidir.Write("a.ini", "there");
    ScopedEnvironment variable("INIDIR", inidir.Path().c_str());
    EXPECT_EQ(Open("a.ini", 260), "here");
    EXPECT_STREQ(name, "a.ini");
}

TEST_F(INIopenTest, LooksInTheDirectoryNext) {
    inidir.Write("a.ini", "there");
    ScopedEnvironment variable("INIDIR", inidir.Path().c_str());
    EXPECT_EQ(Open("a.ini", 260), "there");
    EXPECT_EQ(name, inidir.Path() + "/a.ini");
}

TEST_F(INIopenTest, ADirectoryWithASlashGetsNoSecondOne) {
    inidir.Write("a.ini", "there");
    ScopedEnvironment variable("INIDIR", (inidir.Path() + "/").c_str());
    EXPECT_EQ(Open("a.ini", 260), "there");
    EXPECT_EQ(name, inidir.Path() + "/a.ini");
}

TEST_F(INIopenTest, LeavesTheNameWithoutASize) {
    inidir.Write("a.ini", "there");
    ScopedEnvironment variable("INIDIR", inidir.Path().c_str());
    EXPECT_EQ(Open("a.ini", 0), "there");
    EXPECT_STREQ(name, "a.ini");
}

TEST_F(INIopenTest, APathThatDoesNotFitTheNameIsNotFound) {
    inidir.Write("a.ini", "there");
    ScopedEnvironment variable("INIDIR", inidir.Path().c_str());
    const auto length = static_cast<int32_t>(inidir.Path().size() + std::strlen("/a.ini"));
    EXPECT_EQ(Open("a.ini", length), "(none)");
    EXPECT_STREQ(name, "a.ini");
    EXPECT_EQ(Open("a.ini", length + 1), "there");
    EXPECT_EQ(name[length + 1], '#');
}

TEST_F(INIopenTest, NoPathFitsANameOfOneByte) {
    inidir.Write("a.ini", "there");
    ScopedEnvironment variable("INIDIR", inidir.Path().c_str());
    EXPECT_EQ(Open("a.ini", 1), "(none)");
    EXPECT_STREQ(name, "a.ini");
}

TEST_F(INIopenTest, APathBehindASlashFitsToTheLastByte) {
    inidir.Write("a.ini", "there");
    ScopedEnvironment variable("INIDIR", (inidir.Path() + "/").c_str());
    const auto length = static_cast<int32_t>(inidir.Path().size() + std::strlen("/a.ini"));
    EXPECT_EQ(Open("a.ini", length + 1), "there");
    EXPECT_EQ(name, inidir.Path() + "/a.ini");
    EXPECT_EQ(name[length + 1], '#');
    // Nothing of the path that was found before it is looked at again.
    EXPECT_EQ(Open("a.ini", length), "(none)");
    EXPECT_STREQ(name, "a.ini");
}

TEST_F(INIopenTest, NothingThereGivesZero) {
    {
        ScopedEnvironment variable("INIDIR", nullptr);
        EXPECT_EQ(Open("a.ini", 260), "(none)");
        EXPECT_EQ(INIopen(nullptr, 0, 0), 0u);
    }
    for (const std::string &directory : {std::string(), inidir.Path(), std::string(10000, 'x')}) {
        ScopedEnvironment variable("INIDIR", directory.c_str());
        EXPECT_EQ(Open("a.ini", 260), "(none)");
        EXPECT_STREQ(name, "a.ini");
    }
}

TEST_F(INIopenTest, AnEmptyNameIsNoFile) {
    ScopedEnvironment variable("INIDIR", inidir.Path().c_str());
    EXPECT_EQ(Open("", 260), "(none)");
}

TEST_F(INIopenTest, ADirectoryIsNotAFile) {
    fs::create_directory("a.ini");
    EXPECT_EQ(Open("a.ini", 260), "(none)");
    inidir.Write("a.ini", "there");
    ScopedEnvironment variable("INIDIR", inidir.Path().c_str());
    EXPECT_EQ(Open("a.ini", 260), "there"); // and does not stand in the way of one
}

TEST_F(INIopenTest, APipeIsNotWaitedFor) {
    ASSERT_EQ(mkfifo("a.ini", 0600), 0);
    EXPECT_EQ(Open("a.ini", 260), "(none)");
}

TEST_F(INIopenTest, TheStandardStreamsAreNotProfiles) {
    EXPECT_EQ(Open("stdin", 260), "(none)");
}

TEST_F(INIopenTest, CreatesInTheModesThatDo) {
    std::strcpy(name, "a.ini");
    const FileHandle file = INIopen(name, 260, 4097);
    ASSERT_NE(file, 0u);
    EXPECT_EQ(qivWrite(file, "new", 3), 3);
    INIclose(file);
    EXPECT_EQ(here.Read("a.ini"), "new");
}

TEST_F(INIopenTest, EachFailingAllocationGivesZero) {
    here.Write("a.ini", "here");
    for (int k = 1;; ++k) {
        FailingMemory memory(k);
        std::strcpy(name, "a.ini");
        const FileHandle file = INIopen(name, 260, 0);
        INIclose(file);
        if (!memory.Failed()) {
            EXPECT_NE(file, 0u);
            EXPECT_GT(k, 1);
            break;
        }
        EXPECT_EQ(file, 0u) << "allocation " << k;
    }
}

TEST_F(INIopenTest, ClosingHandleZeroClosesNoFile) {
    here.Write("a.ini", "here");
    std::strcpy(name, "a.ini");
    const FileHandle file = INIopen(name, 260, 0);
    const auto files = CountOpenFiles();
    INIclose(0);
    EXPECT_EQ(CountOpenFiles(), files);
    char text[5] = "";
    EXPECT_EQ(qivRead(file, text, 4), 4);
    EXPECT_STREQ(text, "here");
    INIclose(file);
    EXPECT_EQ(CountOpenFiles(), files - 1);
}

TEST_F(GetProfileDirectoryTest, FindsTheProfileInTheDirectoryFirst) {
    here.Write("a.ini", "here");
    inidir.Write("a.ini", "there");
    ScopedEnvironment variable("INIDIR", inidir.Path().c_str());
    EXPECT_EQ(Find("a.ini", nullptr), 0);
    EXPECT_EQ(name, inidir.Path() + "/a.ini");
}

TEST_F(GetProfileDirectoryTest, FindsItUnderTheBareNameNext) {
    here.Write("a.ini", "here");
    {
        ScopedEnvironment variable("INIDIR", inidir.Path().c_str());
        EXPECT_EQ(Find("a.ini", nullptr), 0);
        EXPECT_STREQ(name, "a.ini");
    }
    ScopedEnvironment unset("INIDIR", nullptr);
    EXPECT_EQ(Find("a.ini", nullptr), 0);
    EXPECT_STREQ(name, "a.ini");
}

TEST_F(GetProfileDirectoryTest, NothingThereGivesOneAndTheNameStays) {
    ScopedEnvironment variable("INIDIR", inidir.Path().c_str());
    EXPECT_EQ(Find("a.ini", nullptr), 1);
    EXPECT_STREQ(name, "a.ini");
    EXPECT_EQ(Find("", nullptr), 1);
    EXPECT_STREQ(name, "");
}

TEST_F(GetProfileDirectoryTest, AnEmptyNameComesFromThePath) {
    inidir.Write("module.ini", "there");
    ScopedEnvironment variable("INIDIR", inidir.Path().c_str());
    EXPECT_EQ(Find("", "/opt/lib/module.so"), 0);
    EXPECT_EQ(name, inidir.Path() + "/module.ini");
    EXPECT_EQ(Find("", "/opt/lib/other.so"), 1);
    EXPECT_STREQ(name, "other.ini");
}

TEST_F(GetProfileDirectoryTest, AGivenNameIsNotTakenFromThePath) {
    here.Write("module.ini", "here");
    EXPECT_EQ(Find("a.ini", "/opt/lib/module.so"), 1);
    EXPECT_STREQ(name, "a.ini");
}

TEST_F(GetProfileDirectoryTest, ABaseNameThatDoesNotFitIsNotFound) {
    // 139 + ".ini" + the terminator is the whole buffer.
    const std::string fits = std::string(139, 'm');
    here.Write(fits + ".ini", "here");
    EXPECT_EQ(Find("", ("/opt/" + fits + ".so").c_str()), 0);
    EXPECT_EQ(name, fits + ".ini");
    here.Write(fits + "m.ini", "here");
    EXPECT_EQ(Find("", ("/opt/" + fits + "m.so").c_str()), 1);
    EXPECT_STREQ(name, "");
    EXPECT_EQ(Find("", std::string(100000, 'x').c_str()), 1);
    EXPECT_STREQ(name, "");
}

TEST_F(GetProfileDirectoryTest, APathThatDoesNotFitIsNotFound) {
    // The directory, a slash and the name make 143 characters, then 144.
    const std::size_t room = 143 - inidir.Path().size() - 1;
    const std::string fits(room, 'n');
    inidir.Write(fits, "there");
    inidir.Write(fits + "n", "there");
    ScopedEnvironment variable("INIDIR", inidir.Path().c_str());
    EXPECT_EQ(Find(fits, nullptr), 0);
    EXPECT_EQ(name, inidir.Path() + "/" + fits);
    EXPECT_EQ(Find(fits + "n", nullptr), 1);
    EXPECT_EQ(name, fits + "n");
    here.Write(fits + "n", "here");
    EXPECT_EQ(Find(fits + "n", nullptr), 0);
    EXPECT_EQ(name, fits + "n");
}

TEST_F(GetProfileDirectoryTest, BehindASlashAPathFitsToTheLastByteToo) {
    const std::string fits(143 - inidir.Path().size() - 1, 'n');
    inidir.Write(fits, "there");
    ScopedEnvironment variable("INIDIR", (inidir.Path() + "/").c_str());
    EXPECT_EQ(Find(fits, nullptr), 0);
    EXPECT_EQ(name, inidir.Path() + "/" + fits);
    EXPECT_EQ(Find(fits + "n", nullptr), 1);
    EXPECT_EQ(name, fits + "n");
}

TEST_F(GetProfileDirectoryTest, AnOverLongDirectoryIsNotUsed) {
    // 144 characters: the same directory, spelt with more slashes.
    const std::string slashes(144 - inidir.Path().size(), '/');
    inidir.Write("a", "there");
    ScopedEnvironment variable("INIDIR", (inidir.Path() + slashes).c_str());
    EXPECT_EQ(Find("a", nullptr), 1);
    here.Write("a", "here");
    EXPECT_EQ(Find("a", nullptr), 0);
    EXPECT_STREQ(name, "a");
}

TEST_F(GetProfileDirectoryTest, ADirectoryOrAPipeIsNotAProfile) {
    fs::create_directory("a.ini");
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    ScopedEnvironment variable("INIDIR", nullptr);
    EXPECT_EQ(Find("a.ini", nullptr), 1);
    EXPECT_EQ(Find("pipe", nullptr), 1);
}

TEST_F(GetProfileDirectoryTest, FindsTheProfileWithoutAStandardInput) {
    here.Write("a.ini", "here");
    const ChildResult child = RunInChild([&] {
        close(STDIN_FILENO); // the next file gets its number
        const int32_t result = Find("a.ini", nullptr);
        return result == 0 && fcntl(STDIN_FILENO, F_GETFD) < 0 ? 0 : 1;
    });
    EXPECT_EQ(child.exitCode, 0) << "found, and closed again";
}

TEST_F(GetProfileDirectoryTest, EveryFileIsClosedAgain) {
    here.Write("here.ini", "here");
    inidir.Write("there.ini", "there");
    fs::create_directory("a.ini");
    ScopedEnvironment variable("INIDIR", inidir.Path().c_str());
    const std::ptrdiff_t filesBefore = CountOpenFiles();
    EXPECT_EQ(Find("here.ini", nullptr), 0);
    EXPECT_EQ(Find("there.ini", nullptr), 0);
    EXPECT_EQ(Find("a.ini", nullptr), 1);
    EXPECT_EQ(Find("none.ini", nullptr), 1);
    EXPECT_EQ(CountOpenFiles(), filesBefore);
}

TEST(ReadToEnd, ReadsEveryByte) {
    TempDirectory directory;
    std::string text;
    for (int i = 0; i < 50000; ++i)
        text += static_cast<char>(i % 251);
    const std::string path = directory.Write("a.ini", text);
    const FileHandle file = static_cast<FileHandle>(qivOpen(path.c_str(), nullptr, 0));
    EXPECT_EQ(Rest(file), text);
    EXPECT_EQ(Rest(file), "");
    qivClose(file);
}

intptr_t FailAtTheSecondRead(uintptr_t, int32_t operation, void *argument, int32_t count) {
    static int reads;
    switch (operation) {
    case KOWEN_IO_OPEN:
        reads = 0;
        return 1;
    case KOWEN_IO_READ:
        if (++reads > 1)
            return -1;
        std::memset(argument, 'x', static_cast<std::size_t>(count));
        return count;
    default:
        return 0;
    }
}

TEST(ReadToEnd, AReadErrorIsTold) {
    QivIODesc descriptor = {};
    descriptor.procedure = FailAtTheSecondRead;
    const FileHandle file = static_cast<FileHandle>(qivOpen("any", &descriptor, 0));
    ASSERT_NE(file, 0u);
    TextBuffer text;
    EXPECT_FALSE(ReadToEnd(file, text));
    EXPECT_FALSE(text.Exhausted());
    EXPECT_NE(text.Text().size(), 0u); // what came before the error
    qivClose(file);
}

TEST(ReadToEnd, ExhaustedMemoryIsTold) {
    TempDirectory directory;
    const std::string path = directory.Write("a.ini", std::string(10000, 'x'));
    const FileHandle file = static_cast<FileHandle>(qivOpen(path.c_str(), nullptr, 0));
    {
        FailingMemory memory(2);
        TextBuffer text;
        EXPECT_FALSE(ReadToEnd(file, text));
        EXPECT_TRUE(text.Exhausted());
    }
    qivClose(file);
}

TEST(QIVGetTempFileName, MakesAnEmptyFileOfItsOwn) {
    char first[64];
    char second[64];
    ASSERT_EQ(QIVGetTempFileName(1, 2, 3, first), 1);
    ASSERT_EQ(QIVGetTempFileName(1, 2, 3, second), 1);
    EXPECT_STRNE(first, second);
    EXPECT_EQ(fs::path(first).parent_path(), "/tmp");
    struct stat status = {};
    ASSERT_EQ(lstat(first, &status), 0);
    EXPECT_TRUE(S_ISREG(status.st_mode));
    EXPECT_EQ(status.st_mode & 07777, 0600u);
    EXPECT_EQ(status.st_size, 0);
    unlink(first);
    unlink(second);
}

TEST(QIVGetTempFileName, LeavesNoFileOpen) {
    const std::ptrdiff_t before = CountOpenFiles();
    char name[64];
    ASSERT_EQ(QIVGetTempFileName(1, 2, 3, name), 1);
    EXPECT_EQ(CountOpenFiles(), before);
    unlink(name);
}

TEST(QIVGetTempFileName, WithoutANameTheDestinationStays) {
    const ChildResult child = RunInChild([] {
        const rlimit noMoreFiles = {0, 0};
        setrlimit(RLIMIT_NOFILE, &noMoreFiles);
        char name[64] = "before";
        const bool failed = QIVGetTempFileName(1, 2, 3, name) == 0;
        return failed && std::strcmp(name, "before") == 0 ? 7 : 1;
    });
    EXPECT_EQ(child.exitCode, 7);
}

} // namespace
} // namespace kowen
