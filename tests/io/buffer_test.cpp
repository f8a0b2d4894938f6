#include "io/files.h"
#include "support/failing_disk.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <string>

namespace kowen {
namespace {

TEST(QivRead, StopsAtTheEndOfTheFile) {
    TempDirectory directory;
    const FileHandle file = Open(directory.Write("a", Pattern(25)), 0);
    EXPECT_EQ(ReadText(file, 20), Pattern(20));
    char bytes[20] = {};
    EXPECT_EQ(qivRead(file, bytes, 20), 5);
    EXPECT_EQ(std::string(bytes, 5), Pattern(25).substr(20));
    EXPECT_EQ(bytes[5], 0);
    EXPECT_EQ(qivRead(file, bytes, 20), 0);
    EXPECT_EQ(Record(file).error, 0) << "the end is no error";
    qivClose(file);
}

TEST(QivRead, CountsBelowOneReadNothing) {
    TempDirectory directory;
    const FileHandle file = Open(directory.Write("a", "text"), 0);
    char byte = 'x';
    EXPECT_EQ(qivRead(file, &byte, 0), 0);
    EXPECT_EQ(qivRead(file, &byte, -1), 0);
    EXPECT_EQ(byte, 'x');
    qivClose(file);
}

TEST(QivRead, CrossesBuffers) {
    TempDirectory directory;
    const FileHandle file = Open(directory.Write("a", Pattern(30000)), 0);
    EXPECT_EQ(ReadText(file, 12280), Pattern(12280));
    EXPECT_EQ(ReadText(file, 17000), Pattern(30000).substr(12280, 17000));
    EXPECT_EQ(ReadText(file, 1000), Pattern(30000).substr(29280));
    qivClose(file);
}

TEST(QivRead, SeesWhatWasWrittenThroughTheSameHandle) {
    TempDirectory directory;
    const FileHandle file = Open(directory.File("a"), kCreateMode);
    WriteText(file, Pattern(20000));
    EXPECT_EQ(qivSeek(file, 0, kFromStart), 0);
    EXPECT_EQ(ReadText(file, 30000), Pattern(20000));
    qivClose(file);
}

TEST(QivWrite, ADocumentStreamCannotBeWritten) {
    TempDirectory directory;
    directory.Write("a", "text");
    const FileHandle file = Open(directory.File("a"), 2);
    Record(file).isDoc = 1;
    EXPECT_EQ(WriteText(file, "x"), -1);
    EXPECT_EQ(Record(file).error, -1);
    EXPECT_EQ(qivClose(file), 0);
    EXPECT_EQ(directory.Read("a"), "text");
}

TEST(FillQivIOBuf, LoadsTheNextBytes) {
    TempDirectory directory;
    const FileHandle file = Open(directory.Write("a", Pattern(12290)), 0);
    EXPECT_EQ(FillQivIOBuf(file), 12288);
    EXPECT_EQ(FillQivIOBuf(file), 2);
    EXPECT_EQ(Record(file).bufBase, 12288);
    EXPECT_EQ(Record(file).bufLast, 1);
    EXPECT_EQ(Record(file).filePos, 12290);
    EXPECT_EQ(FillQivIOBuf(file), 0);
    EXPECT_EQ(Record(file).bufLast, -1);
    qivClose(file);
}

TEST(FillQivIOBuf, WritesADirtyBufferFirst) {
    TempDirectory directory;
    directory.Write("a", Pattern(20000));
    const FileHandle file = Open(directory.File("a"), 2);
    WriteText(file, "XYZ");
    EXPECT_EQ(FillQivIOBuf(file), 12288) << "goes on behind the three bytes";
    EXPECT_EQ(Record(file).bufBase, 3);
    EXPECT_EQ(directory.Read("a"), "XYZ" + Pattern(20000).substr(3));
    qivClose(file);
}

TEST(FillQivIOBuf, GoesOnWhenTheDirtyBufferCannotBeWritten) {
    TempDirectory directory;
    directory.Write("a", Pattern(20000));
    FailingDisk disk;
    const FileHandle file = Open(directory.File("a"), 2);
    WriteText(file, "XYZ");
    disk.Fail(FailingDisk::kWrite, 1);
    EXPECT_EQ(FillQivIOBuf(file), 12288);
    EXPECT_EQ(Record(file).error, -1);
    EXPECT_EQ(ReadText(file, 3), Pattern(3)) << "the three bytes are lost";
    qivClose(file);
    EXPECT_EQ(directory.Read("a"), Pattern(20000));
}

TEST(FillQivIOBuf, MemoryFilesHaveNothingToLoad) {
    MemoryTarget target("abcd");
    const FileHandle file = target.Open(0);
    EXPECT_EQ(FillQivIOBuf(file), 0);
    EXPECT_EQ(Record(file).error, 0);
    qivClose(file);
}

TEST(FlushQivIO, MovesThePositionBehindTheBuffer) {
    TempDirectory directory;
    directory.Write("a", "0123456789");
    const FileHandle file = Open(directory.File("a"), 2);
    ReadText(file, 2);
    WriteText(file, "X");
    EXPECT_EQ(qivSeek(file, 0, kFromCurrent), 3);
    EXPECT_EQ(FlushQivIO(file), 10);
    EXPECT_EQ(qivSeek(file, 0, kFromCurrent), 10);
    qivClose(file);
}

} // namespace
} // namespace kowen
