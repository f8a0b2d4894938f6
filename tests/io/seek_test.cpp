#include "io/files.h"
#include "support/failing_disk.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <string>

namespace kowen {
namespace {

TEST(QivSeek, AskingForThePositionTouchesNothing) {
    TempDirectory directory;
    directory.Write("a", Pattern(50));
    FailingDisk disk;
    const FileHandle file = Open(directory.File("a"), 0);
    ReadText(file, 10);
    const int calls = disk.Calls();
    EXPECT_EQ(qivSeek(file, 0, kFromCurrent), 10);
    EXPECT_EQ(disk.Calls(), calls);
    qivClose(file);
}

TEST(QivSeek, InsideTheBufferTouchesNoFile) {
    TempDirectory directory;
    directory.Write("a", Pattern(50));
    FailingDisk disk;
    const FileHandle file = Open(directory.File("a"), 2);
    ReadText(file, 10);
    const int calls = disk.Calls();
    EXPECT_EQ(qivSeek(file, 0, kFromStart), 0);
    EXPECT_EQ(qivSeek(file, 49, kFromStart), 49);
    EXPECT_EQ(qivSeek(file, -9, kFromCurrent), 40);
    EXPECT_EQ(disk.Calls(), calls);
    EXPECT_EQ(ReadText(file, 3), Pattern(50).substr(40, 3));
    EXPECT_EQ(qivSeek(file, 50, kFromStart), 50);
    EXPECT_GT(disk.Calls(), calls) << "the byte after the last is not in the buffer";
    qivClose(file);
}

TEST(QivSeek, OutsideTheBufferLoadsItFromThere) {
    TempDirectory directory;
    const FileHandle file = Open(directory.Write("a", Pattern(40000)), 0);
    EXPECT_EQ(qivSeek(file, 30000, kFromStart), 30000);
    EXPECT_EQ(Record(file).bufBase, 30000);
    EXPECT_EQ(ReadText(file, 5), Pattern(40000).substr(30000, 5));
    EXPECT_EQ(qivSeek(file, -30005, kFromCurrent), 0);
    EXPECT_EQ(ReadText(file, 5), Pattern(5));
    qivClose(file);
}

TEST(QivSeek, FromTheEndCountsBack) {
    TempDirectory directory;
    const FileHandle file = Open(directory.Write("a", Pattern(40000)), 0);
    EXPECT_EQ(qivSeek(file, -3, kFromEnd), 39997);
    EXPECT_EQ(ReadText(file, 10), Pattern(40000).substr(39997));
    EXPECT_EQ(qivSeek(file, 0, kFromEnd), 40000);
    EXPECT_EQ(ReadText(file, 10), "");
    qivClose(file);
}

TEST(QivSeek, FromTheEndSeesTheDirtyBuffer) {
    TempDirectory directory;
    const FileHandle file = Open(directory.File("a"), kCreateMode);
    WriteText(file, "hello");
    EXPECT_EQ(qivSeek(file, 0, kFromEnd), 5);
    WriteText(file, "!");
    qivClose(file);
    EXPECT_EQ(directory.Read("a"), "hello!");
}

TEST(QivSeek, PastTheLengthFailsForReading) {
    TempDirectory directory;
    const FileHandle file = Open(directory.Write("a", Pattern(50)), 0);
    EXPECT_EQ(qivSeek(file, 50, kFromStart), 50) << "the end itself may be reached";
    EXPECT_EQ(Record(file).error, 0);
    EXPECT_EQ(qivSeek(file, 100, kFromStart), -1);
    EXPECT_EQ(Record(file).error, -1);
    EXPECT_EQ(qivSeek(file, 0, kFromCurrent), 50);
    qivClose(file);
}

TEST(QivSeek, PastTheLengthSucceedsForWritingAndUpdating) {
    TempDirectory directory;
    FileHandle file = Open(directory.Write("a", Pattern(50)), 2);
    EXPECT_EQ(qivSeek(file, 100, kFromStart), 100);
    EXPECT_EQ(Record(file).error, 0);
    WriteText(file, "x");
    qivClose(file);
    EXPECT_EQ(directory.Read("a"), Pattern(50) + std::string(50, '\0') + "x");
    file = Open(directory.File("b"), 1);
    EXPECT_EQ(qivSeek(file, 100, kFromStart), 100);
    qivClose(file);
}

TEST(QivSeek, CreatingAloneDoesNotAllowPlacesPastTheLength) {
    TempDirectory directory;
    const FileHandle file = Open(directory.File("a"), 4096);
    EXPECT_EQ(qivSeek(file, 1, kFromStart), -1);
    qivClose(file);
}

TEST(QivSeek, BeforeTheStartFails) {
    TempDirectory directory;
    const FileHandle file = Open(directory.Write("a", Pattern(50)), 2);
    EXPECT_EQ(qivSeek(file, -1, kFromStart), -1);
    EXPECT_EQ(Record(file).error, -1);
    EXPECT_EQ(qivSeek(file, -1, kFromCurrent), -1);
    EXPECT_EQ(qivSeek(file, -51, kFromEnd), -1);
    EXPECT_EQ(qivSeek(file, INT32_MIN, kFromCurrent), -1);
    qivClose(file);
}

TEST(QivSeek, ASumBeyondThirtyOneBitsFails) {
    TempDirectory directory;
    const FileHandle file = Open(directory.Write("a", Pattern(50)), 2);
    ReadText(file, 1);
    EXPECT_EQ(qivSeek(file, INT32_MAX, kFromCurrent), -1);
    EXPECT_EQ(Record(file).error, -1);
    EXPECT_EQ(qivSeek(file, INT32_MAX, kFromEnd), -1);
    EXPECT_EQ(ReadText(file, 2), Pattern(3).substr(1)) << "the position has not changed";
    qivClose(file);
}

TEST(QivSeek, AnUnknownWhenceFails) {
    TempDirectory directory;
    const FileHandle file = Open(directory.Write("a", Pattern(50)), 2);
    for (const int32_t whence : {3, -1, 100}) {
        Record(file).error = 0;
        EXPECT_EQ(qivSeek(file, 0, whence), -1);
        EXPECT_EQ(Record(file).error, -1);
    }
    qivClose(file);
}

TEST(QivSeek, AnUnknownWhenceStillWritesTheDirtyBuffer) {
    TempDirectory directory;
    const FileHandle file = Open(directory.File("a"), kCreateMode);
    WriteText(file, "hello");
    EXPECT_EQ(qivSeek(file, 0, 3), -1);
    EXPECT_EQ(directory.Read("a"), "hello");
    qivClose(file);
}

TEST(QivSeek, AFailedStreamSeekGivesMinusOne) {
    TempDirectory directory;
    directory.Write("a", Pattern(50));
    FailingDisk disk;
    const FileHandle file = Open(directory.File("a"), 0);
    disk.Fail(FailingDisk::kSeek, 1);
    EXPECT_EQ(qivSeek(file, 20, kFromStart), -1);
    EXPECT_EQ(Record(file).error, -1);
    qivClose(file);
}

TEST(QivSeek, AFailedLoadGivesMinusOne) {
    TempDirectory directory;
    directory.Write("a", Pattern(50));
    FailingDisk disk;
    const FileHandle file = Open(directory.File("a"), 0);
    disk.Fail(FailingDisk::kRead, 1);
    EXPECT_EQ(qivSeek(file, 20, kFromStart), -1);
    EXPECT_EQ(Record(file).error, -1);
    qivClose(file);
}

TEST(QivSeek, AFailedWriteBackIsKeptAndTheSeekGoesOn) {
    TempDirectory directory;
    directory.Write("a", Pattern(20000));
    FailingDisk disk;
    const FileHandle file = Open(directory.File("a"), 2);
    WriteText(file, "XYZ");
    disk.Fail(FailingDisk::kWrite, 1);
    EXPECT_EQ(qivSeek(file, 15000, kFromStart), 15000);
    EXPECT_EQ(Record(file).error, -1);
    EXPECT_EQ(ReadText(file, 5), Pattern(20000).substr(15000, 5));
    qivClose(file);
    EXPECT_EQ(directory.Read("a"), Pattern(20000));
}

TEST(UnxSeek, AnswersTheNewPosition) {
    TempDirectory directory;
    std::FILE *stream = std::fopen(directory.Write("a", Pattern(50)).c_str(), "r");
    EXPECT_EQ(unxSeek(stream, 10, 0), 10);
    EXPECT_EQ(unxSeek(stream, 5, 1), 15);
    EXPECT_EQ(unxSeek(stream, -1, 2), 49);
    EXPECT_EQ(unxSeek(stream, -1, 0), -1);
    EXPECT_EQ(unxSeek(stream, 0, 3), -1);
    EXPECT_EQ(unxSeek(stream, 0, -1), -1);
    EXPECT_EQ(unxSeek(stream, 0, 1), 49) << "a failure moves nothing";
    EXPECT_EQ(unxSeek(nullptr, 0, 0), -1);
    std::fclose(stream);
}

TEST(UnxSeek, APositionBeyondThirtyOneBitsGivesMinusOne) {
    TempDirectory directory;
    std::FILE *stream = std::fopen(directory.Write("a", "x").c_str(), "r");
    EXPECT_EQ(unxSeek(stream, INT32_MAX, 2), -1);
    std::fclose(stream);
}

} // namespace
} // namespace kowen
