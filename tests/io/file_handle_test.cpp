#include "io/files.h"
#include "io/typed_io.h"
#include "support/child_process.h"
#include "support/failing_disk.h"
#include "support/failing_memory.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>

namespace kowen {
namespace {

TEST(QivOpen, ReadingNeedsTheFileAndKeepsIt) {
    TempDirectory directory;
    EXPECT_EQ(Open(directory.File("a"), 0), 0u);
    EXPECT_FALSE(directory.Has("a"));
    const FileHandle file = Open(directory.Write("a", "text"), 0);
    ASSERT_NE(file, 0u);
    EXPECT_EQ(ReadText(file, 10), "text");
    EXPECT_EQ(qivClose(file), 0);
    EXPECT_EQ(directory.Read("a"), "text");
}

TEST(QivOpen, WritingEmptiesTheFile) {
    TempDirectory directory;
    EXPECT_EQ(qivClose(Open(directory.Write("a", "text"), 1)), 0);
    EXPECT_TRUE(directory.Has("a"));
    EXPECT_EQ(directory.Read("a"), "");
}

TEST(QivOpen, UpdatingNeedsTheFileAndKeepsIt) {
    TempDirectory directory;
    EXPECT_EQ(Open(directory.File("a"), 2), 0u);
    EXPECT_FALSE(directory.Has("a"));
    const FileHandle file = Open(directory.Write("a", "text"), 2);
    EXPECT_EQ(WriteText(file, "N"), 1);
    EXPECT_EQ(qivClose(file), 0);
    EXPECT_EQ(directory.Read("a"), "N"
                                   "ext")
        << "an update without a read before writes over the first bytes";
}

TEST(QivOpen, UpdatingComesBeforeWriting) {
    TempDirectory directory;
    EXPECT_EQ(qivClose(Open(directory.Write("a", "text"), 3)), 0);
    EXPECT_EQ(directory.Read("a"), "text");
}

TEST(QivOpen, CreatingComesBeforeUpdating) {
    TempDirectory directory;
    EXPECT_EQ(qivClose(Open(directory.Write("a", "text"), 4096 | 2)), 0);
    EXPECT_EQ(directory.Read("a"), "");
    EXPECT_EQ(qivClose(Open(directory.File("b"), 4096)), 0);
    EXPECT_TRUE(directory.Has("b"));
}

TEST(QivOpen, OtherLowBitsMeanReading) {
    TempDirectory directory;
    EXPECT_EQ(Open(directory.File("a"), 4), 0u);
    EXPECT_EQ(qivClose(Open(directory.Write("a", "text"), 4)), 0);
    EXPECT_EQ(directory.Read("a"), "text");
}

TEST(QivOpen, ADirectoryIsNoFile) {
    TempDirectory directory;
    for (const int32_t mode : {0, 1, 2, 4096, 4097})
        EXPECT_EQ(Open(directory.Path(), mode), 0u) << mode;
}

TEST(QivOpen, WithoutNameAndDescriptorThereIsNothingToOpen) {
    EXPECT_EQ(qivOpen(nullptr, nullptr, 0), 0);
    EXPECT_EQ(qivOpen("", nullptr, 4097), 0);
    EXPECT_EQ(qivOpen("name", nullptr, -1), 0);
}

TEST(QivOpen, FillsTheRecord) {
    TempDirectory directory;
    const FileHandle file = Open(directory.Write("a", "text"), 2);
    const QivFile &record = Record(file);
    EXPECT_NE(record.fp, nullptr);
    EXPECT_EQ(GlobalSize(record.hBuf), 12288u);
    EXPECT_EQ(record.bufPos, 0);
    EXPECT_EQ(record.bufLast, -1);
    EXPECT_EQ(record.bufMax, 12287);
    EXPECT_EQ(record.bufBase, 0);
    EXPECT_EQ(record.filePos, 0);
    EXPECT_EQ(record.dirty, 0);
    EXPECT_EQ(record.fileLength, 4);
    EXPECT_EQ(record.mode, 2);
    EXPECT_EQ(record.external, 0);
    EXPECT_EQ(record.error, 0);
    EXPECT_EQ(record.byteOrder, 0);
    EXPECT_EQ(record.numberFormat, 0);
    EXPECT_EQ(record.lineFormat, 2);
    EXPECT_EQ(record.named, 1);
    EXPECT_EQ(record.isDoc, 0);
    qivClose(file);
}

TEST(QivOpen, ExhaustedMemoryGivesZeroAndKeepsAnExistingFile) {
    TempDirectory directory;
    directory.Write("a", "text");
    for (int k = 1; k <= 2; ++k) {
        FailingMemory memory(k);
        EXPECT_EQ(Open(directory.File("a"), 4097), 0u) << "allocation " << k;
        EXPECT_TRUE(memory.Failed());
    }
    EXPECT_EQ(directory.Read("a"), "text");
    FailingMemory memory(3);
    const FileHandle file = Open(directory.File("a"), 0);
    EXPECT_NE(file, 0u);
    EXPECT_FALSE(memory.Failed()) << "the record and the buffer are all it takes";
    qivClose(file);
}

TEST(QivOpen, AFileThatCannotBeMeasuredIsNotOpened) {
    TempDirectory directory;
    directory.Write("a", "text");
    for (const auto operation : {FailingDisk::kSeek, FailingDisk::kTell}) {
        for (int k = 1; k <= 2; ++k) {
            FailingDisk disk;
            disk.Fail(operation, k);
            EXPECT_EQ(Open(directory.File("a"), 0), 0u) << operation << ", call " << k;
            EXPECT_EQ(disk.Calls(FailingDisk::kClose), 1);
        }
    }
}

TEST(QivOpen, AFileOfTwoGibibytesIsNotOpened) {
    TempDirectory directory;
    directory.Write("a", "");
    std::filesystem::resize_file(directory.File("a"), 0x80000000u);
    EXPECT_EQ(Open(directory.File("a"), 0), 0u);
    std::filesystem::resize_file(directory.File("a"), 0x7FFFFFFFu);
    const FileHandle file = Open(directory.File("a"), 0);
    ASSERT_NE(file, 0u);
    EXPECT_EQ(Record(file).fileLength, 0x7FFFFFFF);
    qivClose(file);
}

TEST(QivOpenExists, TellsFilesFromNone) {
    TempDirectory directory;
    directory.Write("a", "text");
    const intptr_t answer = qivOpen(directory.File("a").c_str(), nullptr, 16384);
    EXPECT_NE(answer, -1);
    EXPECT_NE(answer, 0);
    EXPECT_EQ(directory.Read("a"), "text");
    EXPECT_EQ(qivOpen(directory.File("b").c_str(), nullptr, 16384), -1);
    EXPECT_FALSE(directory.Has("b"));
    EXPECT_EQ(qivOpen(directory.Path().c_str(), nullptr, 16384), -1) << "a directory is no file";
    EXPECT_EQ(qivOpen("", nullptr, 16384), -1);
    EXPECT_EQ(qivOpen(nullptr, nullptr, 16384), -1);
}

TEST(QivOpenExists, ClosesWhatItOpened) {
    TempDirectory directory;
    directory.Write("a", "text");
    FailingDisk disk;
    qivOpen(directory.File("a").c_str(), nullptr, 16384);
    EXPECT_EQ(disk.Calls(FailingDisk::kOpen), 1);
    EXPECT_EQ(disk.Calls(FailingDisk::kClose), 1);
}

TEST(QivOpenDelete, RemovesFilesOnly) {
    TempDirectory directory;
    directory.Write("a", "text");
    EXPECT_EQ(qivOpen(directory.File("a").c_str(), nullptr, 512), 1);
    EXPECT_FALSE(directory.Has("a"));
    EXPECT_EQ(qivOpen(directory.File("a").c_str(), nullptr, 512), 0) << "it is gone";
    std::filesystem::create_directory(directory.File("d"));
    EXPECT_EQ(qivOpen(directory.File("d").c_str(), nullptr, 512), 0);
    EXPECT_TRUE(directory.Has("d"));
    EXPECT_EQ(qivOpen(nullptr, nullptr, 512), 0);
    EXPECT_EQ(qivOpen("", nullptr, 512), 0);
}

// Through a link, so that a failure of this test costs the machine nothing.
TEST(QivOpenDelete, ADeviceStays) {
    TempDirectory directory;
    const std::string link = directory.File("null");
    std::filesystem::create_symlink("/dev/null", link);
    EXPECT_EQ(qivOpen(link.c_str(), nullptr, 512), 0);
    EXPECT_EQ(qivCloseandDelete(Open(link, kCreateMode), link.c_str()), 0);
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    std::filesystem::create_symlink("missing", directory.File("dangling"));
    EXPECT_EQ(qivOpen(directory.File("dangling").c_str(), nullptr, 512), 1) << "no device";
}

TEST(QivOpenDelete, AFailureGivesZero) {
    TempDirectory directory;
    directory.Write("a", "text");
    FailingDisk disk;
    disk.Fail(FailingDisk::kRemove, 1);
    EXPECT_EQ(qivOpen(directory.File("a").c_str(), nullptr, 512), 0);
    EXPECT_TRUE(directory.Has("a"));
}

TEST(QivOpenWrap, ReadsTheStreamFromItsFirstByteAndLeavesItOpen) {
    TempDirectory directory;
    std::FILE *stream = std::fopen(directory.Write("a", "text").c_str(), "r+");
    ASSERT_NE(stream, nullptr);
    ASSERT_EQ(std::fgetc(stream), 't');
    QivIODesc descriptor = {};
    descriptor.stream = stream;
    const auto file = static_cast<FileHandle>(qivOpen(nullptr, &descriptor, -1));
    ASSERT_NE(file, 0u);
    EXPECT_EQ(Record(file).external, 1);
    EXPECT_EQ(Record(file).fileLength, 4);
    EXPECT_EQ(std::ftell(stream), 1) << "measuring leaves the stream where it was";
    EXPECT_EQ(ReadText(file, 10), "text");
    EXPECT_EQ(WriteText(file, "s"), 1);
    EXPECT_EQ(qivClose(file), 0);
    EXPECT_EQ(std::fclose(stream), 0);
    EXPECT_EQ(directory.Read("a"), "texts");
}

TEST(QivOpenWrap, AFailedWriteBackIsTheResultOfTheClose) {
    TempDirectory directory;
    std::FILE *stream = std::fopen(directory.Write("a", "text").c_str(), "r+");
    QivIODesc descriptor = {};
    descriptor.stream = stream;
    FailingDisk disk;
    const auto file = static_cast<FileHandle>(qivOpen(nullptr, &descriptor, -1));
    EXPECT_EQ(WriteText(file, "more"), 4);
    disk.Fail(FailingDisk::kWrite, 1);
    EXPECT_EQ(qivClose(file), -1);
    EXPECT_EQ(disk.Calls(FailingDisk::kClose), 0);
    EXPECT_EQ(std::fclose(stream), 0);
}

TEST(QivOpenWrap, NeedsAStream) {
    QivIODesc descriptor = {};
    EXPECT_EQ(qivOpen("name", &descriptor, -1), 0);
}

TEST(QivOpenWrap, AFailedOpenLeavesTheStreamOpen) {
    TempDirectory directory;
    std::FILE *stream = std::fopen(directory.Write("a", "text").c_str(), "r");
    QivIODesc descriptor = {};
    descriptor.stream = stream;
    for (int k = 1; k <= 2; ++k) {
        FailingMemory memory(k);
        EXPECT_EQ(qivOpen(nullptr, &descriptor, -1), 0);
    }
    {
        FailingDisk disk;
        disk.Fail(FailingDisk::kSeek, 1);
        EXPECT_EQ(qivOpen(nullptr, &descriptor, -1), 0);
    }
    EXPECT_EQ(std::fgetc(stream), 't');
    std::fclose(stream);
}

// A stream of the caller's over one end of a pipe, and the other end.
struct PipedFile {
    explicit PipedFile(bool toWrite) {
        int ends[2];
        EXPECT_EQ(pipe(ends), 0);
        stream = fdopen(ends[toWrite ? 1 : 0], toWrite ? "w" : "r");
        other = ends[toWrite ? 0 : 1];
        QivIODesc descriptor = {};
        descriptor.stream = stream;
        file = static_cast<FileHandle>(qivOpen(nullptr, &descriptor, -1));
    }
    // Closes the handle and the stream, then takes what came out of the pipe.
    std::string Close() {
        closed = qivClose(file);
        std::fclose(stream);
        std::string bytes(60000, '\0');
        std::size_t got = 0;
        for (ssize_t n; (n = read(other, bytes.data() + got, bytes.size() - got)) > 0;)
            got += static_cast<std::size_t>(n);
        close(other);
        return bytes.substr(0, got);
    }

    std::FILE *stream;
    int other;
    FileHandle file;
    int32_t closed = 0;
};

TEST(QivOpenWrap, APipeIsWrittenInOrder) {
    PipedFile pipe(true);
    ASSERT_NE(pipe.file, 0u);
    EXPECT_EQ(WriteText(pipe.file, Pattern(30000)), 30000);
    EXPECT_EQ(Record(pipe.file).fileLength, 24576) << "what has gone out";
    EXPECT_EQ(qivSeek(pipe.file, 30000, kFromStart), 30000);
    EXPECT_EQ(qivSeek(pipe.file, 0, kFromCurrent), 30000);
    EXPECT_EQ(WriteText(pipe.file, "end"), 3);
    EXPECT_EQ(pipe.Close(), Pattern(30000) + "end");
    EXPECT_EQ(pipe.closed, 0);
}

TEST(QivOpenWrap, APipeCannotGoElsewhere) {
    PipedFile pipe(true);
    WriteText(pipe.file, Pattern(20000));
    for (const int32_t place : {0, 12287, 20001}) {
        Record(pipe.file).error = 0;
        EXPECT_EQ(qivSeek(pipe.file, place, kFromStart), -1) << place;
        EXPECT_EQ(Record(pipe.file).error, -1);
    }
    EXPECT_EQ(qivSeek(pipe.file, 0, kFromEnd), -1);
    EXPECT_EQ(qivSeek(pipe.file, 0, kFromCurrent), 20000);
    EXPECT_EQ(pipe.Close(), Pattern(20000));
    EXPECT_EQ(pipe.closed, 0);
}

TEST(QivOpenWrap, APipeThatBreaksGetsNothingTwice) {
    PipedFile pipe(true);
    FailingDisk disk;
    WriteText(pipe.file, Pattern(100));
    disk.SetRoom(40);
    EXPECT_EQ(FlushQivIO(pipe.file), -1);
    disk.SetRoom(INT32_MAX);
    EXPECT_EQ(FlushQivIO(pipe.file), -1);
    EXPECT_EQ(pipe.Close(), Pattern(40));
    EXPECT_EQ(pipe.closed, -1);
}

TEST(QivOpenWrap, APipeIsReadInOrder) {
    PipedFile pipe(false);
    EXPECT_EQ(write(pipe.other, Pattern(13000).data(), 13000), 13000);
    close(pipe.other);
    EXPECT_EQ(ReadText(pipe.file, 12000), Pattern(12000));
    EXPECT_EQ(qivSeek(pipe.file, -10, kFromCurrent), 11990) << "inside the buffer";
    EXPECT_EQ(ReadText(pipe.file, 5000), Pattern(13000).substr(11990));
    EXPECT_EQ(ReadText(pipe.file, 1), "");
    EXPECT_EQ(qivClose(pipe.file), 0);
    std::fclose(pipe.stream);
}

TEST(QivOpenStandard, StdoutToAPipeIsWrittenInOrderAndClosed) {
    const std::string bytes = Pattern(30000);
    const ChildResult child = RunInChild([&] {
        const FileHandle file = Open("stdout", 1);
        if (WriteText(file, bytes) != 30000 || qivSeek(file, 0, kFromCurrent) != 30000)
            return 1;
        if (qivClose(file) != 0)
            return 2;
        return fcntl(STDOUT_FILENO, F_GETFD) == -1 ? 0 : 3; // the close has closed it
    });
    EXPECT_EQ(child.exitCode, 0);
    EXPECT_EQ(child.output, bytes);
}

TEST(QivOpenStandard, APipeReachesOnlyThePlaceWhereItIs) {
    const ChildResult child = RunInChild([] {
        const FileHandle file = Open("stdout", kCreateMode);
        if (WriteText(file, "abcde") != 5 || qivSeek(file, 2, kFromStart) != 2)
            return 1; // still in the buffer
        if (WriteText(file, "X") != 1 || qivSeek(file, 5, kFromStart) != 5)
            return 2; // where the stream is once the buffer is out
        if (WriteText(file, "f") != 1 || Record(file).error != 0)
            return 3;
        if (qivSeek(file, 0, kFromStart) != -1 || qivSeek(file, 0, kFromEnd) != -1)
            return 4;
        return qivClose(file) == 0 ? 0 : 5;
    });
    EXPECT_EQ(child.exitCode, 0);
    EXPECT_EQ(child.output, "abXdef");
}

TEST(QivOpenStandard, ABrokenPipeFailsOnceAndNothingIsSentTwice) {
    const ChildResult child = RunInChild([] {
        FailingDisk disk;
        const FileHandle file = Open("stdout", 1);
        if (WriteText(file, Pattern(100)) != 100)
            return 1;
        disk.SetRoom(40);
        if (FlushQivIO(file) != -1)
            return 2;
        disk.SetRoom(INT32_MAX);
        return qivClose(file) == -1 ? 0 : 3;
    });
    EXPECT_EQ(child.exitCode, 0);
    EXPECT_EQ(child.output, Pattern(40));
}

TEST(QivOpenStandard, StdoutToAFileIsWrittenThere) {
    TempDirectory directory;
    const ChildResult child = RunInChild(
        [] {
            const FileHandle file = Open("stdout", 1);
            return WriteText(file, "hello") == 5 && qivClose(file) == 0 ? 0 : 1;
        },
        "", directory.File("out").c_str());
    EXPECT_EQ(child.exitCode, 0);
    EXPECT_EQ(directory.Read("out"), "hello");
}

TEST(QivOpenStandard, StdinFromAPipeIsReadInOrder) {
    const std::string bytes = Pattern(13000);
    const ChildResult child = RunInChild(
        [&] {
            const FileHandle file = Open("stdin", 0);
            std::string got = ReadText(file, 12000);
            got += ReadText(file, 5000);
            if (got != bytes || ReadText(file, 1) != "")
                return 1;
            if (qivClose(file) != 0)
                return 2;
            return fcntl(STDIN_FILENO, F_GETFD) == -1 ? 0 : 3;
        },
        bytes);
    EXPECT_EQ(child.exitCode, 0);
}

// Opened for reading only, a pipe has no length that would limit its seeks.
TEST(QivOpenStandard, StdinFromAPipeReachesItsBufferAndThePlaceWhereItIs) {
    const ChildResult child = RunInChild(
        [] {
            const FileHandle file = Open("stdin", 0);
            char line[10];
            if (qivReadLine(file, line, 10) != 2 || qivReadLine(file, line, 10) != 2)
                return 1;
            if (std::string(line) != "CD" || qivSeek(file, 1, kFromStart) != 1)
                return 2;
            if (ReadText(file, 2) != "B\r" || qivSeek(file, 6, kFromStart) != 6)
                return 3; // six bytes are all there is
            if (Record(file).error != 0)
                return 4;
            if (qivSeek(file, 7, kFromStart) != -1 || qivSeek(file, 2, kFromStart) != -1)
                return 5;
            return Record(file).error == -1 && qivClose(file) == 0 ? 0 : 6;
        },
        "AB\rCD\n");
    EXPECT_EQ(child.exitCode, 0);
}

TEST(QivOpenStandard, OnceClosedItCannotBeOpened) {
    const ChildResult child = RunInChild([] {
        if (qivClose(Open("stdout", 1)) != 0)
            return 1;
        return Open("stdout", 1) == 0 ? 0 : 2;
    });
    EXPECT_EQ(child.exitCode, 0);
}

TEST(QivOpenStandard, TheNamesAreExact) {
    EXPECT_EQ(Open("Stdout", 0), 0u);
    EXPECT_EQ(Open("stdin ", 0), 0u);
}

TEST(QivClose, HandleZeroGivesMinusOne) {
    EXPECT_EQ(qivClose(0), -1);
}

TEST(QivClose, HandsOnTheStreamsResult) {
    TempDirectory directory;
    FailingDisk disk;
    const FileHandle file = Open(directory.File("a"), 1);
    disk.Fail(FailingDisk::kClose, 1);
    EXPECT_EQ(qivClose(file), EOF);
}

TEST(QivClose, AFullDiskGivesMinusOneAndClosesAllTheSame) {
    TempDirectory directory;
    FailingDisk disk;
    const FileHandle file = Open(directory.File("a"), 1);
    EXPECT_EQ(WriteText(file, "hello"), 5);
    disk.SetRoom(3);
    EXPECT_EQ(qivClose(file), -1);
    EXPECT_EQ(disk.Calls(FailingDisk::kClose), 1);
    EXPECT_EQ(directory.Read("a"), "hel");
}

TEST(QivCloseandDelete, HandleZeroGivesMinusOneAndDeletesNothing) {
    TempDirectory directory;
    directory.Write("a", "text");
    EXPECT_EQ(qivCloseandDelete(0, directory.File("a").c_str()), -1);
    EXPECT_TRUE(directory.Has("a"));
}

TEST(QivCloseandDelete, RemovesTheNamedFile) {
    TempDirectory directory;
    const FileHandle file = Open(directory.File("a"), kCreateMode);
    WriteText(file, "text");
    EXPECT_EQ(qivCloseandDelete(file, directory.File("a").c_str()), 0);
    EXPECT_FALSE(directory.Has("a"));
}

TEST(QivCloseandDelete, IsZeroEvenWhenNothingCouldBeDeletedOrWritten) {
    TempDirectory directory;
    FailingDisk disk;
    const FileHandle file = Open(directory.File("a"), kCreateMode);
    WriteText(file, "text");
    disk.Fail(FailingDisk::kWrite, 1);
    disk.Fail(FailingDisk::kRemove, 1);
    EXPECT_EQ(qivCloseandDelete(file, directory.File("a").c_str()), 0);
    EXPECT_TRUE(directory.Has("a"));
    const FileHandle other = Open(directory.File("a"), 0);
    EXPECT_EQ(qivCloseandDelete(other, nullptr), 0);
    EXPECT_TRUE(directory.Has("a"));
}

TEST(QivCloseandDelete, AnOwnedBlockIsFreedInsteadOfTheFile) {
    TempDirectory directory;
    void *owned = GlobalLock(GlobalAlloc(66, 10));
    const FileHandle file = Open(directory.Write("a", "text"), 0);
    Record(file).ownedData = &owned;
    EXPECT_EQ(qivCloseandDelete(file, directory.File("a").c_str()), 0);
    EXPECT_EQ(owned, nullptr);
    EXPECT_TRUE(directory.Has("a"));
}

// The close of a memory file writes a terminator byte, and moves the block when it is full: the
// block must be freed after that, not before.
TEST(QivCloseandDelete, AMemoryFilesOwnBlockIsFreedAfterItsLastGrowth) {
    MemoryTarget target("abc", 16);
    const FileHandle file = target.Open(kCreateMode);
    EXPECT_EQ(WriteText(file, "abc"), 3);
    Record(file).ownedData = &target.data;
    EXPECT_EQ(qivCloseandDelete(file, nullptr), 0);
    EXPECT_EQ(target.data, nullptr);
}

TEST(HandleZero, EveryOperationDoesNothing) {
    char byte = 'x';
    EXPECT_EQ(qivRead(0, &byte, 1), 0);
    EXPECT_EQ(qivWrite(0, &byte, 1), 0);
    EXPECT_EQ(qivSeek(0, 0, kFromStart), -1);
    EXPECT_EQ(qivSeek(0, 0, kFromCurrent), -1);
    EXPECT_EQ(FillQivIOBuf(0), -1);
    EXPECT_EQ(FlushQivIO(0), -1);
    EXPECT_EQ(docRead(0, &byte, 1), 0);
    EXPECT_EQ(docSeek(0, 0, kFromStart), -1);
    EXPECT_EQ(byte, 'x');
}

} // namespace
} // namespace kowen
