#include "io/files.h"
#include "support/failing_disk.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <string>

namespace kowen {
namespace {

int32_t Copy(const TempDirectory &directory) {
    return qivCopy(directory.File("a").c_str(), directory.File("b").c_str());
}

TEST(QivCopy, CopiesEveryByte) {
    for (const int32_t count : {0, 1, 4095, 4096, 4097, 12288, 12289, 50000}) {
        TempDirectory directory;
        directory.Write("a", Pattern(count));
        directory.Write("b", "old text");
        EXPECT_EQ(Copy(directory), 0) << count;
        EXPECT_EQ(directory.Read("b"), Pattern(count)) << count;
        EXPECT_EQ(directory.Read("a"), Pattern(count)) << count;
    }
}

TEST(QivCopy, ClosesBothFiles) {
    TempDirectory directory;
    directory.Write("a", "text");
    FailingDisk disk;
    EXPECT_EQ(Copy(directory), 0);
    EXPECT_EQ(disk.Calls(FailingDisk::kOpen), 2);
    EXPECT_EQ(disk.Calls(FailingDisk::kClose), 2);
}

TEST(QivCopy, AMissingSourceLeavesAnEmptyTargetAndSaysZero) {
    TempDirectory directory;
    directory.Write("b", "old text");
    EXPECT_EQ(Copy(directory), 0);
    EXPECT_TRUE(directory.Has("b"));
    EXPECT_EQ(directory.Read("b"), "");
}

TEST(QivCopy, ATargetThatCannotBeOpenedLacksEveryByte) {
    TempDirectory directory;
    directory.Write("a", Pattern(5000));
    EXPECT_EQ(qivCopy(directory.File("a").c_str(), directory.File("no/b").c_str()), -5000);
}

TEST(QivCopy, NeitherSourceNorTargetGivesZero) {
    TempDirectory directory;
    EXPECT_EQ(qivCopy(directory.File("a").c_str(), directory.File("no/b").c_str()), 0);
    EXPECT_EQ(qivCopy(nullptr, nullptr), 0);
}

TEST(QivCopy, AFullDiskGivesWhatIsMissing) {
    TempDirectory directory;
    directory.Write("a", Pattern(20000));
    FailingDisk disk;
    disk.SetRoom(1000);
    // The third piece of 4096 fills the buffer and fails, the two after it are not taken.
    EXPECT_EQ(Copy(directory), 8192 - 20000);
}

TEST(QivCopy, AFullDiskThatOnlyTheCloseNoticesIsReported) {
    TempDirectory directory;
    directory.Write("a", Pattern(5000));
    FailingDisk disk;
    disk.SetRoom(1000);
    EXPECT_EQ(Copy(directory), -1);
}

TEST(QivCopy, AFailedReadEndsTheCopyQuietly) {
    TempDirectory directory;
    directory.Write("a", Pattern(20000));
    FailingDisk disk;
    disk.Fail(FailingDisk::kRead, 2);
    EXPECT_EQ(Copy(directory), 0) << "what was read has been written";
    // 12288 bytes came in one load; the piece that needed the second load is lost as a whole.
    EXPECT_EQ(directory.Read("b"), Pattern(12288));
}

} // namespace
} // namespace kowen
