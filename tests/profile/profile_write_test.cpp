#include "profile/profile_file.h"

#include "io/disk_operations.h"
#include "support/failing_memory.h"
#include "support/open_files.h"
#include "support/scoped_environment.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kowen {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

// Runs work in a child of its own and returns what it returned.
int InChild(const std::function<int()> &work) {
    const pid_t child = fork();
    if (child == 0)
        _exit(work());
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class WritePrivateProfileStringTest : public testing::Test {
protected:
    void Write(const char *section, const char *key, const char *value) {
        EXPECT_EQ(WritePrivateProfileString(section, key, value, file.c_str()), 0);
    }
    // The profile's bytes after one write to a profile of these bytes.
    std::string Written(const std::string &text, const char *section, const char *key,
                        const char *value) {
        directory.Write("a.ini", text);
        Write(section, key, value);
        EXPECT_EQ(FileCount(), 1);
        return directory.Read("a.ini");
    }
    std::ptrdiff_t FileCount() const {
        return std::distance(fs::directory_iterator(directory.Path()), fs::directory_iterator());
    }

    ScopedEnvironment variable{"INIDIR", nullptr};
    TempDirectory directory;
    std::string file = directory.File("a.ini");
};

TEST_F(WritePrivateProfileStringTest, ReplacesAValue) {
    EXPECT_EQ(Written("[S]\nA=1\nB=2\n[T]\nA=3\n", "s", "a", "new"), "[S]\na=new\nB=2\n[T]\nA=3\n");
}

TEST_F(WritePrivateProfileStringTest, AddsAnEntryAtTheEndOfTheSection) {
    EXPECT_EQ(Written("[S]\nA=1\n\n[T]\nA=3\n", "S", "B", "2"), "[S]\nA=1\n\nB=2\n[T]\nA=3\n");
    EXPECT_EQ(Written("[R]\n[S]\n", "S", "B", "2"), "[R]\n[S]\nB=2\n");
    EXPECT_EQ(Written("[S]\n[T]\n", "S", "B", "2"), "[S]\nB=2\n[T]\n");
}

TEST_F(WritePrivateProfileStringTest, AppendsASectionThatIsNotThere) {
    EXPECT_EQ(Written("[R]\nA=1\n", "S", "B", "2"), "[R]\nA=1\n\n[S]\nB=2\n");
    EXPECT_EQ(Written("[R]\nA=1\n", " [S] ;x", "B", "2"), "[R]\nA=1\n\n[S]\nB=2\n");
}

TEST_F(WritePrivateProfileStringTest, CreatesAProfile) {
    Write("S", "B", "2");
    EXPECT_EQ(directory.Read("a.ini"), "\n[S]\nB=2\n");
    EXPECT_EQ(FileCount(), 1);
    Write("S", "C", "3");
    EXPECT_EQ(directory.Read("a.ini"), "\n[S]\nB=2\nC=3\n");
}

TEST_F(WritePrivateProfileStringTest, EveryMatchingLineIsReplaced) {
    EXPECT_EQ(Written("[S]\nA=1\nB=2\nA = 3 ; x\n", "S", "A", "4"), "[S]\nA=4\nB=2\nA=4\n");
}

TEST_F(WritePrivateProfileStringTest, FindsAKeyWithSpacesBeforeTheSign) {
    EXPECT_EQ(Written("[S]\n Quality = 75\n", "S", "Quality", "80"), "[S]\nQuality=80\n");
    EXPECT_EQ(Written("[S]\nQuality ;x = 75\n", "S", "Quality", "80"), "[S]\nQuality=80\n");
}

TEST_F(WritePrivateProfileStringTest, CommentsAndOtherLinesStay) {
    EXPECT_EQ(Written("; head\n\nA=0\n[S]\n;A=1\nA\n \"A\"=2\n  \nA=3\n;tail\n", "S", "A", "4"),
              "; head\n\nA=0\n[S]\n;A=1\nA\n \"A\"=2\n  \nA=4\n;tail\n");
}

TEST_F(WritePrivateProfileStringTest, AHeaderNeedsItsBracketFirst) {
    EXPECT_EQ(Written("S\n [S]\nA=1\n", "S", "A", "4"), "S\n [S]\nA=1\n\n[S]\nA=4\n");
    EXPECT_EQ(Written("[ \"s\" ] ; x\nA=1\n", "S", "A", "4"), "[ \"s\" ] ; x\nA=4\n");
}

TEST_F(WritePrivateProfileStringTest, TheHeaderThatEndsASectionIsNotExamined) {
    EXPECT_EQ(Written("[S]\nA=1\n[S]\nA=2\n[S]\nA=3\n", "S", "A", "4"),
              "[S]\nA=4\n[S]\nA=2\n[S]\nA=4\n");
    EXPECT_EQ(Written("[S]\nA=1\n[S]\nA=2\n[S]\nA=3\n", "S", nullptr, nullptr), "[S]\nA=2\n");
}

TEST_F(WritePrivateProfileStringTest, EachSectionOfThatNameIsWritten) {
    EXPECT_EQ(Written("[S]\nA=1\n[R]\n[S]\nB=2\n", "S", "A", "4"),
              "[S]\nA=4\n[R]\n[S]\nB=2\nA=4\n");
}

TEST_F(WritePrivateProfileStringTest, DeletesAKey) {
    EXPECT_EQ(Written("[S]\nA=1\nB=2\na = 3\n[T]\nA=4\n", "S", "A", nullptr),
              "[S]\nB=2\n[T]\nA=4\n");
    EXPECT_EQ(Written("[S]\nA=1\nB=2\n", "S", "C", nullptr), "[S]\nA=1\nB=2\n");
}

TEST_F(WritePrivateProfileStringTest, ASectionLeftEmptyLosesItsHeader) {
    EXPECT_EQ(Written("[R]\nB=1\n[S]\nA=1\n[T]\nA=4\n", "S", "A", nullptr), "[R]\nB=1\n[T]\nA=4\n");
    EXPECT_EQ(Written("[R]\n[S]\nA=1\n", "S", "A", nullptr), "[R]\n");
    EXPECT_EQ(Written("[S]\nA=1\n", "S", "A", nullptr), "");
    EXPECT_EQ(Written("[S]\n[R]\n", "S", "A", nullptr), "[R]\n");
    EXPECT_EQ(Written("[S]\nA=1\n\n[R]\n", "S", "A", nullptr), "[S]\n\n[R]\n");
}

TEST_F(WritePrivateProfileStringTest, DeletesASection) {
    EXPECT_EQ(Written("[R]\nB=1\n[S]\nA=1\n;x\n\n[T]\nA=4\n", "s", nullptr, nullptr),
              "[R]\nB=1\n[T]\nA=4\n");
    EXPECT_EQ(Written("[R]\nB=1\n[S]\nA=1", "S", nullptr, "ignored"), "[R]\nB=1\n");
}

TEST_F(WritePrivateProfileStringTest, DeletingFromASectionThatIsNotThereWritesNothing) {
    // The mixed line ends would not survive a rewrite.
    const std::string text = "[R]\nA=1\r\nB=2\rC=3";
    EXPECT_EQ(Written(text, "S", "A", nullptr), text);
    EXPECT_EQ(Written(text, "S", nullptr, nullptr), text);
    EXPECT_EQ(Written(text, "S", nullptr, "x"), text);
    fs::remove(file);
    Write("S", "A", nullptr);
    Write("S", nullptr, nullptr);
    EXPECT_EQ(FileCount(), 0);
}

TEST_F(WritePrivateProfileStringTest, KeepsTheKindOfLineEnd) {
    EXPECT_EQ(Written("[S]\r\nA=1\r\n", "S", "B", "2"), "[S]\r\nA=1\r\nB=2\r\n");
    EXPECT_EQ(Written("[S]\rA=1\r", "S", "B", "2"), "[S]\rA=1\rB=2\r");
    EXPECT_EQ(Written("[S]\nA=1\n", "T", "B", "2"), "[S]\nA=1\n\n[T]\nB=2\n");
    EXPECT_EQ(Written("[S]\r\nA=1\r\n", "T", "B", "2"), "[S]\r\nA=1\r\n\r\n[T]\r\nB=2\r\n");
}

TEST_F(WritePrivateProfileStringTest, AllLineEndsBecomeAsTheFirst) {
    EXPECT_EQ(Written("[S]\nA=1\r\nB=2\rC=3\n", "S", "D", "4"), "[S]\nA=1\nB=2\nC=3\nD=4\n");
    EXPECT_EQ(Written("[S]\r\nA=1\nB=2\r", "S", "D", "4"), "[S]\r\nA=1\r\nB=2\r\nD=4\r\n");
    EXPECT_EQ(Written("[S]\rA=1\nB=2", "S", "D", "4"), "[S]\rA=1\rB=2\rD=4\r");
}

TEST_F(WritePrivateProfileStringTest, ALastLineWithoutAnEndGetsOne) {
    EXPECT_EQ(Written("[S]\nA=1", "S", "B", "2"), "[S]\nA=1\nB=2\n");
    EXPECT_EQ(Written("[S]\nA=1\n[R]", "S", "A", "2"), "[S]\nA=2\n[R]\n");
    EXPECT_EQ(Written("[S]\nA=1", "S", "A", "2"), "[S]\nA=2\n");
    EXPECT_EQ(Written("[S]\r\nA=1\r", "S", "B", "2"), "[S]\r\nA=1\r\nB=2\r\n");
    EXPECT_EQ(Written("[S]\rA=1\r", "S", "A", "2"), "[S]\rA=2\r");
    EXPECT_EQ(Written("[R]\nA=1\n[S]", "S", "B", "2"), "[R]\nA=1\n[S]\nB=2\n");
}

TEST_F(WritePrivateProfileStringTest, AProfileWithoutLineEndsGetsCrLf) {
    EXPECT_EQ(Written("[S]", "S", "B", "2"), "[S]\r\nB=2\r\n");
    EXPECT_EQ(Written("", "S", "B", "2"), "\r\n[S]\r\nB=2\r\n");
}

TEST_F(WritePrivateProfileStringTest, LongLinesAreCopiedWhole) {
    for (std::size_t length : {254, 255, 256, 257, 512, 1000000}) {
        const std::string line(length, 'x');
        EXPECT_EQ(Written("[S]\nA=1\n" + line + "\nB=2\n", "S", "A", "3"),
                  "[S]\nA=3\n" + line + "\nB=2\n")
            << length;
    }
    const std::string value(1000000, 'v');
    EXPECT_EQ(Written("[S]\nA=" + value + "\nB=2", "S", "A", "3"), "[S]\nA=3\nB=2\n");
    EXPECT_EQ(Written("[S]\n" + value, "S", "A", "3"), "[S]\n" + value + "\nA=3\n");
}

TEST_F(WritePrivateProfileStringTest, OnlyItsFirstByteMakesALongLineAHeader) {
    const std::string line = std::string(256, 'x') + "[R]";
    EXPECT_EQ(Written("[S]\n" + line + "\nA=1\n", "S", "A", "3"), "[S]\n" + line + "\nA=3\n");
    // A header counts whole, however long its spaces and comment are.
    const std::string header = "[" + std::string(300, ' ') + "S] ;" + std::string(300, 'x');
    EXPECT_EQ(Written(header + "\nA=1\n", "S", "A", "3"), header + "\nA=3\n");
    const std::string longName = "[" + std::string(300, 'S') + "]";
    EXPECT_EQ(Written(longName + "\nA=1\n", "S", "A", "3"), longName + "\nA=1\n\n[S]\nA=3\n");
}

TEST_F(WritePrivateProfileStringTest, ZeroBytesAreCopied) {
    EXPECT_EQ(Written("\0\n[S]\0x\nA=1\0\0\nB\0=2\n\0"s, "S", "B", "3"),
              "\0\n[S]\0x\nA=1\0\0\nB\0=2\n\0\nB=3\n"s);
    EXPECT_EQ(Written("[S]\nA=1\0\0\n"s, "S", "A", "3"), "[S]\nA=3\n");
}

TEST_F(WritePrivateProfileStringTest, LongNamesAndValuesAreWrittenWhole) {
    const std::string key(5000, 'k');
    const std::string value(70000, 'v');
    EXPECT_EQ(Written("[S]\n", "S", key.c_str(), value.c_str()),
              "[S]\n" + key + "=" + value + "\n");
    EXPECT_EQ(Written("[S]\n" + key + "=1\n", "S", key.c_str(), ""), "[S]\n" + key + "=\n");
}

// Any header of which cleaning leaves nothing is its own.
TEST_F(WritePrivateProfileStringTest, AnEmptySectionIsOneLikeAnyOther) {
    EXPECT_EQ(Written("A=0\n[S]\nA=1\n", "", "A", "2"), "A=0\n[S]\nA=1\n\n[]\nA=2\n");
    EXPECT_EQ(Written("", ";", "A", "2"), "\r\n[]\r\nA=2\r\n");
    const std::string text = "[S]\nA=1\n[]\nA=1\nB=1\n[;off]\nA=1\n";
    EXPECT_EQ(Written(text, "", "A", "2"), "[S]\nA=1\n[]\nA=2\nB=1\n[;off]\nA=1\n");
    EXPECT_EQ(Written(text, "[ ]", "C", "2"), "[S]\nA=1\n[]\nA=1\nB=1\nC=2\n[;off]\nA=1\n");
    EXPECT_EQ(Written(text, "", "B", nullptr), "[S]\nA=1\n[]\nA=1\n[;off]\nA=1\n");
    EXPECT_EQ(Written(text, "[]", nullptr, nullptr), "[S]\nA=1\n[;off]\nA=1\n");
    EXPECT_EQ(Written("[S]\nA=1\n", "", nullptr, nullptr), "[S]\nA=1\n");
}

TEST_F(WritePrivateProfileStringTest, ASectionThatNothingMatchesIsNotWritten) {
    const std::string text = "[]\nA=1\n";
    EXPECT_EQ(Written(text, nullptr, "A", "2"), text);
    EXPECT_EQ(Written(text, std::string(256, 's').c_str(), "A", "2"), text);
    EXPECT_EQ(Written(text, std::string(100000, 's').c_str(), "A", "2"), text);
    const std::string longest(255, 's');
    EXPECT_EQ(Written("", longest.c_str(), "A", "2"), "\r\n[" + longest + "]\r\nA=2\r\n");
}

TEST_F(WritePrivateProfileStringTest, NoFileNameWritesNothing) {
    // An empty name joined to the directory would be the directory.
    ScopedEnvironment inidir("INIDIR", directory.Path().c_str());
    EXPECT_EQ(WritePrivateProfileString("S", "A", "1", ""), 0);
    EXPECT_EQ(WritePrivateProfileString("S", "A", "1", nullptr), 0);
    EXPECT_EQ(WritePrivateProfileString("S", "A", "1", std::string(10000, 'x').c_str()), 0);
    EXPECT_EQ(FileCount(), 0);
}

TEST_F(WritePrivateProfileStringTest, AProfileInTheDirectoryIsRewrittenThere) {
    directory.Write("kowen-write-test.ini", "[S]\nA=1\n");
    ScopedEnvironment inidir("INIDIR", directory.Path().c_str());
    EXPECT_EQ(WritePrivateProfileString("S", "A", "2", "kowen-write-test.ini"), 0);
    EXPECT_EQ(directory.Read("kowen-write-test.ini"), "[S]\nA=2\n");
    EXPECT_FALSE(fs::exists("kowen-write-test.ini"));
}

TEST_F(WritePrivateProfileStringTest, TheDefaultProfileIsQivIni) {
    directory.Write("QIV.INI", "[S]\nA=1\n");
    ScopedEnvironment inidir("INIDIR", directory.Path().c_str());
    EXPECT_EQ(WriteProfileString("S", "A", "2"), 0);
    EXPECT_EQ(directory.Read("QIV.INI"), "[S]\nA=2\n");
}

TEST_F(WritePrivateProfileStringTest, PermissionsAndALinkAreKept) {
    directory.Write("target", "[S]\nA=1\n");
    chmod(directory.File("target").c_str(), 0640);
    fs::create_symlink("target", file);
    Write("S", "A", "2");
    EXPECT_TRUE(fs::is_symlink(file));
    EXPECT_EQ(directory.Read("target"), "[S]\nA=2\n");
    struct stat status = {};
    stat(file.c_str(), &status);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
}

TEST_F(WritePrivateProfileStringTest, ADirectoryStays) {
    fs::create_directory(file);
    Write("S", "A", "2");
    EXPECT_TRUE(fs::is_directory(file));
    EXPECT_EQ(FileCount(), 1);
}

TEST_F(WritePrivateProfileStringTest, AProfileThatCannotBeReadStays) {
    directory.Write("a.ini", "[S]\nA=1\n");
    chmod(file.c_str(), 0);
    chmod(directory.Path().c_str(), 0777);
    const int code = InChild([&] {
        if (geteuid() == 0 && setuid(65534) != 0)
            return 1;
        return WritePrivateProfileString("S", "A", "2", file.c_str());
    });
    EXPECT_EQ(code, 0);
    chmod(file.c_str(), 0600);
    EXPECT_EQ(directory.Read("a.ini"), "[S]\nA=1\n");
    EXPECT_EQ(FileCount(), 1);
}

TEST_F(WritePrivateProfileStringTest, AFullDiskLeavesTheProfile) {
    const std::string text = "[S]\nA=1\n" + std::string(20000, 'x') + "\n";
    directory.Write("a.ini", text);
    // Every size at which the rewrite of 20009 bytes can break off.
    for (rlim_t room : {0, 1, 4096, 12288, 12289, 20008}) {
        const int code = InChild([&] {
            std::signal(SIGXFSZ, SIG_IGN);
            const rlimit limit = {room, room};
            setrlimit(RLIMIT_FSIZE, &limit);
            return WritePrivateProfileString("S", "A", "2", file.c_str());
        });
        EXPECT_EQ(code, 0);
        EXPECT_TRUE(directory.Read("a.ini") == text) << room;
        EXPECT_EQ(FileCount(), 1) << room;
    }
}

TEST_F(WritePrivateProfileStringTest, AFullDiskLeavesNoHalfOfANewProfile) {
    const int code = InChild([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit = {5, 5};
        setrlimit(RLIMIT_FSIZE, &limit);
        return WritePrivateProfileString("S", "A", "2", file.c_str());
    });
    EXPECT_EQ(code, 0);
    EXPECT_EQ(FileCount(), 0);
}

TEST_F(WritePrivateProfileStringTest, EachFailingAllocationLeavesTheProfile) {
    const std::string text = "[S]\nA=1\n" + std::string(20000, 'x') + "\n";
    directory.Write("a.ini", text);
    for (int k = 1;; ++k) {
        FailingMemory memory(k);
        Write("S", "A", "2");
        if (!memory.Failed()) {
            EXPECT_GT(k, 6);
            break;
        }
        EXPECT_TRUE(directory.Read("a.ini") == text) << "allocation " << k;
        EXPECT_EQ(FileCount(), 1) << "allocation " << k;
    }
    EXPECT_EQ(directory.Read("a.ini").substr(0, 8), "[S]\nA=2\n");
}

TEST_F(WritePrivateProfileStringTest, EachFailingAllocationLeavesNoNewProfile) {
    for (int k = 1;; ++k) {
        FailingMemory memory(k);
        Write("S", "A", "2");
        if (!memory.Failed())
            break;
        EXPECT_EQ(FileCount(), 0) << "allocation " << k;
    }
    EXPECT_EQ(directory.Read("a.ini"), "\n[S]\nA=2\n");
}

TEST_F(WritePrivateProfileStringTest, EveryFileIsClosedAgain) {
    const std::ptrdiff_t before = CountOpenFiles();
    Write("S", "A", "1");     // creates
    Write("S", "A", "2");     // rewrites
    Write("T", "A", nullptr); // changes nothing
    char value[8];
    EXPECT_EQ(GetPrivateProfileString("S", "A", "", value, sizeof value, file.c_str()), 1);
    EXPECT_EQ(GetPrivateProfileInt("T", "A", 5, file.c_str()), 5);
    file = directory.File("missing/a.ini");
    Write("S", "A", "1"); // fails
    EXPECT_EQ(CountOpenFiles(), before);
}

int failingRead = 0;

int32_t ReadOrFail(std::FILE *stream, void *buffer, int32_t count) noexcept {
    return --failingRead == 0 ? -1 : kLibcDiskOperations.read(stream, buffer, count);
}

TEST_F(WritePrivateProfileStringTest, AReadErrorLeavesTheProfile) {
    // Longer than the file layer's buffer, so that it takes many reads.
    const std::string text = "[S]\nA=1\n" + std::string(100000, 'x') + "\n";
    directory.Write("a.ini", text);
    DiskOperations operations = kLibcDiskOperations;
    operations.read = ReadOrFail;
    diskOperations = &operations;
    int survived = 0;
    for (int k = 1; k < 1000; ++k) {
        failingRead = k;
        Write("S", "A", "2");
        if (failingRead > 0)
            break;
        EXPECT_TRUE(directory.Read("a.ini") == text) << "read " << k;
        EXPECT_EQ(FileCount(), 1) << "read " << k;
        ++survived;
    }
    diskOperations = &kLibcDiskOperations;
    EXPECT_GE(survived, 9); // 100009 bytes, 12288 at a time
    EXPECT_TRUE(directory.Read("a.ini") == "[S]\nA=2\n" + text.substr(8));
}

} // namespace
} // namespace kowen
