// The model itself: ways to save that are known to lose files lose them in it, and what it records
// is what happens.
#include "power/disk_model.h"
#include "power/old_or_new.h"
#include "power/recorded_disk.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <sys/stat.h>
#include <unistd.h>

namespace kowen::test {
namespace {

constexpr unsigned kMode = 0600;
const FolderState kOld = {{"a", {"old", kMode}}};
const Replacement kAsked = {"a", FileState{"old", kMode}, {"fresh", kMode}};

DiskCall Name(size_t file, const std::string &name) {
    return {DiskCall::kName, file, name};
}
DiskCall Write(size_t file, const std::string &bytes) {
    return {DiskCall::kWrite, file, "", "", bytes};
}
DiskCall Mode(size_t file) {
    return {DiskCall::kMode, file, "", "", "", 0, kMode};
}
DiskCall SyncFile(size_t file) {
    return {DiskCall::kSyncFile, file};
}
DiskCall Rename(size_t file, const std::string &from, const std::string &to) {
    return {DiskCall::kRename, file, from, to};
}
const DiskCall kSyncFolder = {DiskCall::kSyncFolder};

TEST(PowerCut, WritingOverTheOldFileLosesIt) {
    const std::vector<DiskCall> calls = {{DiskCall::kTruncate, 1}, Write(1, "fresh"), SyncFile(1)};
    const std::set<FolderState> states = AfterPowerCut(kOld, {calls[0], calls[1]});
    for (const char *bytes : {"old", "", "fr", "fresh"})
        EXPECT_EQ(states.count({{"a", {bytes, kMode}}}), 1u) << bytes;
    EXPECT_EQ(states.count({{"a", {std::string(5, '\0'), kMode}}}), 1u);
    EXPECT_EQ(WhatIsLost(kOld, calls, kAsked, true),
              "neither the old nor the new file, after 1 of 3 calls: a: 0 bytes \"\", mode 384;");
}

TEST(PowerCut, ARenameBeforeTheBytesAreOnDiskLosesThem) {
    const std::vector<DiskCall> calls = {Name(2, ".kowen-1"), Mode(2), Write(2, "fresh"),
                                         Rename(2, ".kowen-1", "a")};
    EXPECT_EQ(AfterPowerCut(kOld, calls).count({{"a", {"", kMode}}}), 1u);
    EXPECT_NE(WhatIsLost(kOld, calls, kAsked, false), "");
}

TEST(PowerCut, PermissionsThatAreGivenTooLateAreLost) {
    const std::vector<DiskCall> calls = {Name(2, ".kowen-1"), Write(2, "fresh"), SyncFile(2),
                                         Rename(2, ".kowen-1", "a"), Mode(2)};
    EXPECT_NE(WhatIsLost(kOld, calls, kAsked, false), "");
}

TEST(PowerCut, RemovingTheOldNameFirstLosesIt) {
    const std::vector<DiskCall> calls = {Name(2, ".kowen-1"),         Mode(2),
                                         Write(2, "fresh"),           SyncFile(2),
                                         {DiskCall::kRemove, 1, "a"}, Rename(2, ".kowen-1", "a")};
    EXPECT_EQ(WhatIsLost(kOld, calls, kAsked, false),
              "neither the old nor the new file, after 5 of 6 calls: nothing");
}

TEST(PowerCut, BytesOnDiskBeforeTheRenameAreOldOrNew) {
    std::vector<DiskCall> calls = {Name(2, ".kowen-1"), Mode(2), Write(2, "fresh"), SyncFile(2),
                                   Rename(2, ".kowen-1", "a")};
    EXPECT_EQ(WhatIsLost(kOld, calls, kAsked, false), "");
    EXPECT_NE(WhatIsLost(kOld, calls, kAsked, true), "");
    calls.push_back(kSyncFolder);
    EXPECT_EQ(WhatIsLost(kOld, calls, kAsked, true), "");
    EXPECT_EQ(AfterPowerCut(kOld, calls), (std::set<FolderState>{{{"a", {"fresh", kMode}}}}));
}

TEST(PowerCut, AnotherFileThatChangesIsSeen) {
    const FolderState two = {{"a", {"old", kMode}}, {"b", {"mine", kMode}}};
    EXPECT_NE(WhatIsLost(two, {Write(2, "M")}, kAsked, false), "");
    EXPECT_NE(WhatIsLost(two, {Name(3, "c")}, kAsked, false), "");
    EXPECT_EQ(WhatIsLost(two, {Name(3, ".kowen-c")}, kAsked, false), "");
}

// Everything that the recorder knows, so that the model ends where the folder does.
TEST(RecordedDisk, SeesWhatHappens) {
    const TempDirectory directory;
    const std::string a = directory.Write("a", "old text"), b = directory.File("b"),
                      c = directory.File("c"), d = directory.File("d");
    const FolderState before = Look(directory.Path());
    StartRecording(directory.Path());
    const int first = open(a.c_str(), O_WRONLY);
    EXPECT_EQ(write(first, "new", 3), 3);
    EXPECT_EQ(write(first, "er", 2), 2);
    EXPECT_EQ(ftruncate(first, 6), 0);
    close(first);
    const int second = open(b.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0640);
    EXPECT_EQ(write(second, "b", 1), 1);
    EXPECT_EQ(fsync(second), 0);
    EXPECT_EQ(fchmod(second, 0604), 0);
    EXPECT_EQ(link(b.c_str(), c.c_str()), 0);
    EXPECT_EQ(rename(b.c_str(), d.c_str()), 0);
    EXPECT_EQ(unlink(c.c_str()), 0);
    close(second);
    const std::vector<DiskCall> calls = StopRecording();
    EXPECT_EQ(AfterAll(before, calls), Look(directory.Path()));
    EXPECT_EQ(Look(directory.Path()).at("a").bytes, "newere");
    EXPECT_EQ(Look(directory.Path()).at("d"), (FileState{"b", 0604}));
    EXPECT_EQ(Look(directory.Path()).size(), 2u);
}

} // namespace
} // namespace kowen::test
