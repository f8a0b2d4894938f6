#include "setup/profile_backup.h"

#include "setup/setup.h"
#include "support/temp_directory.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <sys/resource.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace kowen {
namespace {

/// A setup record whose path fields are full of other bytes behind their texts.
SetupRecord RecordWithProfile(const char *path) {
    SetupRecord setup = {};
    std::memset(setup.profilePath, 'p', sizeof setup.profilePath);
    std::memset(setup.backupPath, 'b', sizeof setup.backupPath);
    std::strcpy(setup.profilePath, path);
    setup.driverName[0] = 'D';
    return setup;
}

TEST(BackupProfile, KeepsTheProfilesPathAndPointsItAtAFreshFile) {
    SetupRecord setup = RecordWithProfile("/home/user/QIV.INI");
    EXPECT_EQ(BackupProfile(&setup), 1);
    EXPECT_STREQ(setup.backupPath, "/home/user/QIV.INI");
    const std::string first = setup.profilePath;
    EXPECT_EQ(first.rfind("/tmp/", 0), 0u) << first;
    EXPECT_EQ(access(first.c_str(), R_OK | W_OK), 0);
    EXPECT_EQ(setup.driverName[0], 'D'); // the field behind the two paths

    EXPECT_EQ(BackupProfile(&setup), 1);
    EXPECT_EQ(setup.backupPath, first);
    EXPECT_NE(setup.profilePath, first);
    std::remove(first.c_str());
    std::remove(setup.profilePath);
}

TEST(BackupProfile, KeepsAPathThatFillsItsField) {
    const std::string longest(kSetupTextBytes - 1, 'x');
    SetupRecord setup = RecordWithProfile(longest.c_str());
    EXPECT_EQ(BackupProfile(&setup), 1);
    EXPECT_EQ(setup.backupPath, longest);
    std::remove(setup.profilePath);
}

/// No file can be opened as long as it lives.
class NoMoreFiles {
public:
    NoMoreFiles() {
        getrlimit(RLIMIT_NOFILE, &before_);
        rlimit none = before_;
        none.rlim_cur = 0;
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoMoreFiles() { setrlimit(RLIMIT_NOFILE, &before_); }
    NoMoreFiles(const NoMoreFiles &) = delete;
    NoMoreFiles &operator=(const NoMoreFiles &) = delete;

private:
    rlimit before_ = {};
};

TEST(BackupProfile, WithoutATemporaryNameTheProfileStays) {
    SetupRecord setup = RecordWithProfile("/home/user/QIV.INI");
    {
        const NoMoreFiles noMoreFiles;
        EXPECT_EQ(BackupProfile(&setup), 1);
    }
    EXPECT_STREQ(setup.profilePath, "/home/user/QIV.INI");
    EXPECT_STREQ(setup.backupPath, "/home/user/QIV.INI");
}

TEST(LoadProfileList, ReadsNoAddressAndChangesNothing) {
    const TempDirectory directory;
    SetupRecord setup = RecordWithProfile(directory.Write("p.ini", "[S]\nDriver=d\n").c_str());
    const SetupRecord before = setup;
    const auto address = reinterpret_cast<uintptr_t>(&setup);
    LoadProfileList(address, reinterpret_cast<uintptr_t>(setup.profilePath), address);
    LoadProfileList(1, 2, 3); // none of them is an address
    EXPECT_EQ(std::memcmp(&setup, &before, sizeof setup), 0);
    EXPECT_EQ(directory.Read("p.ini"), "[S]\nDriver=d\n");
}

} // namespace
} // namespace kowen
