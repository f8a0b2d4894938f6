#include "io/files.h"
#include "support/child_process.h"
#include "support/failing_disk.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

namespace kowen {
namespace {

using Sizes = std::vector<int32_t>;

TEST(WriteDisk, AFullBufferIsWrittenAtOnceAndTheRestByTheClose) {
    TempDirectory directory;
    FailingDisk disk;
    const FileHandle file = Open(directory.File("a"), kCreateMode);
    EXPECT_EQ(WriteText(file, Pattern(12289)), 12289);
    EXPECT_EQ(disk.Writes(), (Sizes{12288}));
    EXPECT_EQ(qivClose(file), 0);
    EXPECT_EQ(disk.Writes(), (Sizes{12288, 1}));
    EXPECT_EQ(directory.Read("a"), Pattern(12289));
}

TEST(WriteDisk, TheByteThatFillsTheBufferWritesIt) {
    TempDirectory directory;
    FailingDisk disk;
    const FileHandle file = Open(directory.File("a"), kCreateMode);
    EXPECT_EQ(WriteText(file, Pattern(12287)), 12287);
    EXPECT_EQ(disk.Writes(), Sizes{});
    EXPECT_EQ(WriteText(file, "x"), 1);
    EXPECT_EQ(disk.Writes(), (Sizes{12288}));
    EXPECT_EQ(directory.Read("a"), Pattern(12287) + "x") << "nothing waits in a second buffer";
    EXPECT_EQ(qivClose(file), 0);
    EXPECT_EQ(disk.Writes(), (Sizes{12288}));
}

TEST(WriteDisk, OneLongWriteIsCutIntoBuffers) {
    TempDirectory directory;
    FailingDisk disk;
    const FileHandle file = Open(directory.File("a"), kCreateMode);
    EXPECT_EQ(WriteText(file, Pattern(40000)), 40000);
    EXPECT_EQ(qivClose(file), 0);
    EXPECT_EQ(disk.Writes(), (Sizes{12288, 12288, 12288, 3136}));
    EXPECT_EQ(directory.Read("a"), Pattern(40000));
}

// What the process prints does not land in a file, where its standard output is closed.
TEST(WriteDisk, NoFileTakesThePlaceOfAStandardStream) {
    TempDirectory directory;
    const std::string name = directory.File("a");
    const ChildResult child = RunInChild([&] {
        close(STDOUT_FILENO);
        const FileHandle file = Open(name, kCreateMode);
        const bool written = WriteText(file, Pattern(12289)) == 12289;
        std::printf("printed");
        std::fflush(stdout);
        return qivClose(file) == 0 && written ? 0 : 1;
    });
    EXPECT_EQ(child.exitCode, 0);
    EXPECT_EQ(directory.Read("a"), Pattern(12289));
}

TEST(WriteDisk, CountsBelowOneWriteNothing) {
    TempDirectory directory;
    const FileHandle file = Open(directory.File("a"), kCreateMode);
    EXPECT_EQ(qivWrite(file, "x", 0), 0);
    EXPECT_EQ(qivWrite(file, "x", -1), 0);
    EXPECT_EQ(Record(file).dirty, 0);
    qivClose(file);
}

TEST(WriteDisk, AFullDiskFailsTheWriteThatFillsTheBuffer) {
    TempDirectory directory;
    FailingDisk disk;
    const FileHandle file = Open(directory.File("a"), kCreateMode);
    disk.SetRoom(12288 + 5000);
    EXPECT_EQ(WriteText(file, Pattern(12288)), 12288);
    EXPECT_EQ(WriteText(file, Pattern(12288)), -1);
    EXPECT_EQ(Record(file).error, -1);
    EXPECT_EQ(Record(file).fileLength, 17288) << "measured after a short write too";
    EXPECT_EQ(WriteText(file, "x"), 0) << "the buffer is full and an error is known";
    EXPECT_EQ(WriteText(file, Pattern(500)), 0);
    EXPECT_EQ(Record(file).bufPos, 12288) << "nothing may be stored behind the buffer";
    EXPECT_EQ(disk.Writes(), (Sizes{12288, 12288}));
    EXPECT_EQ(qivClose(file), -1) << "the close tries once more";
    EXPECT_EQ(disk.Writes(), (Sizes{12288, 12288, 12288}));
}

TEST(WriteDisk, AfterAnErrorTheBufferStillTakesWhatFits) {
    TempDirectory directory;
    FailingDisk disk;
    const FileHandle file = Open(directory.File("a"), kCreateMode);
    EXPECT_EQ(qivSeek(file, -1, kFromStart), -1);
    EXPECT_EQ(WriteText(file, "hello"), 5);
    EXPECT_EQ(WriteText(file, Pattern(12288)), 0) << "this one would need the buffer emptied";
    EXPECT_EQ(disk.Writes(), Sizes{});
    EXPECT_EQ(qivClose(file), -1) << "5 bytes are missing";
    EXPECT_EQ(directory.Read("a"), "hello" + Pattern(12283));
}

// Each call of the disk fails once and works again afterwards.
TEST(WriteDisk, ADiskThatRecoversGetsTheBeginningOrAllAndTheCloseSaysWhich) {
    TempDirectory directory;
    const std::string all = Pattern(30000);
    for (const auto operation :
         {FailingDisk::kWrite, FailingDisk::kSeek, FailingDisk::kTell, FailingDisk::kClose}) {
        for (int k = 1;; ++k) {
            FailingDisk disk;
            const FileHandle file = Open(directory.File("a"), kCreateMode);
            disk.Fail(operation, k);
            for (size_t first = 0; first < all.size(); first += 100)
                WriteText(file, all.substr(first, 100));
            const int32_t closed = qivClose(file);
            if (!disk.Failed())
                break;
            const std::string text = directory.Read("a");
            EXPECT_TRUE(all.starts_with(text)) << "operation " << operation << ", call " << k;
            EXPECT_TRUE(closed == -1 || text == all) << "operation " << operation << ", " << k;
        }
    }
}

TEST(WriteDisk, ALostByteStaysLostWhenTheBufferIsFilledOnceMore) {
    TempDirectory directory;
    FailingDisk disk;
    const FileHandle file = Open(directory.File("a"), kCreateMode);
    disk.Fail(FailingDisk::kWrite, 1);
    EXPECT_EQ(WriteText(file, Pattern(12288)), -1);
    EXPECT_EQ(WriteText(file, "x"), 0) << "this byte is lost";
    EXPECT_EQ(qivSeek(file, 0, kFromStart), 0);
    EXPECT_EQ(WriteText(file, Pattern(12288)), 0);
    EXPECT_EQ(qivClose(file), -1);
    EXPECT_EQ(directory.Read("a"), Pattern(12288));
}

TEST(WriteDisk, BytesThatASeekLeavesUnwrittenAreToldByTheClose) {
    TempDirectory directory;
    FailingDisk disk;
    const FileHandle file = Open(directory.File("a"), kCreateMode);
    EXPECT_EQ(WriteText(file, "hello"), 5);
    disk.Fail(FailingDisk::kWrite, 1);
    EXPECT_EQ(qivSeek(file, 20000, kFromStart), 20000);
    EXPECT_EQ(WriteText(file, "x"), 1);
    EXPECT_EQ(qivClose(file), -1);
    EXPECT_EQ(directory.Read("a"), std::string(20000, '\0') + "x");
}

TEST(WriteDisk, GoesOnBehindABufferThatWasReadToItsEnd) {
    TempDirectory directory;
    directory.Write("a", Pattern(12290));
    FailingDisk disk;
    const FileHandle file = Open(directory.File("a"), 2);
    EXPECT_EQ(ReadText(file, 12288), Pattern(12288));
    EXPECT_EQ(Record(file).bufPos, 12288);
    EXPECT_EQ(WriteText(file, "X"), 1);
    EXPECT_EQ(disk.Writes(), Sizes{}) << "what was only read is not written back";
    EXPECT_EQ(Record(file).bufBase, 12288);
    EXPECT_EQ(Record(file).bufPos, 1);
    EXPECT_EQ(qivSeek(file, 0, kFromCurrent), 12289);
    EXPECT_EQ(qivClose(file), 0);
    std::string expected = Pattern(12290);
    expected[12288] = 'X';
    EXPECT_EQ(directory.Read("a"), expected);
}

TEST(WriteDisk, ADirtyBufferThatWasReadToItsEndIsWrittenBackFirst) {
    TempDirectory directory;
    directory.Write("a", Pattern(12290));
    const FileHandle file = Open(directory.File("a"), 2);
    ReadText(file, 10);
    EXPECT_EQ(WriteText(file, "AB"), 2);
    ReadText(file, 12276);
    EXPECT_EQ(qivSeek(file, 0, kFromCurrent), 12288);
    EXPECT_EQ(WriteText(file, "CD"), 2);
    EXPECT_EQ(qivClose(file), 0);
    EXPECT_EQ(directory.Read("a"), Pattern(10) + "AB" + Pattern(12288).substr(12) + "CD");
}

TEST(WriteDisk, AppendsAfterAReadToTheEnd) {
    TempDirectory directory;
    directory.Write("a", "text");
    const FileHandle file = Open(directory.File("a"), 2);
    EXPECT_EQ(ReadText(file, 100), "text");
    EXPECT_EQ(WriteText(file, " more"), 5);
    EXPECT_EQ(qivClose(file), 0);
    EXPECT_EQ(directory.Read("a"), "text more");
}

TEST(WriteDisk, APlaceBeyondTwoGibibytesFails) {
    TempDirectory directory;
    const FileHandle file = Open(directory.File("a"), kCreateMode);
    EXPECT_EQ(qivSeek(file, INT32_MAX - 2, kFromStart), INT32_MAX - 2);
    EXPECT_EQ(WriteText(file, "abcd"), 4) << "in the buffer so far";
    EXPECT_EQ(qivSeek(file, 0, kFromCurrent), -1) << "the position has no 31 bits any more";
    EXPECT_EQ(FlushQivIO(file), -1);
    EXPECT_EQ(qivClose(file), -1);
    EXPECT_EQ(std::filesystem::file_size(directory.File("a")), 0u);
}

TEST(WriteDisk, DevNullAndDevFullAreFilesToo) {
    if (!std::filesystem::exists("/dev/full"))
        GTEST_SKIP();
    const FileHandle null = Open("/dev/null", 1);
    EXPECT_EQ(WriteText(null, Pattern(30000)), 30000);
    EXPECT_EQ(qivClose(null), 0);
    const FileHandle full = Open("/dev/full", 1);
    EXPECT_EQ(WriteText(full, "x"), 1);
    EXPECT_EQ(WriteText(full, Pattern(12287)), -1);
    EXPECT_EQ(qivClose(full), -1);
}

TEST(LoadDiskBuffer, LoadsWholeBuffers) {
    TempDirectory directory;
    directory.Write("a", Pattern(30000));
    FailingDisk disk;
    const FileHandle file = Open(directory.File("a"), 0);
    EXPECT_EQ(ReadText(file, 1), Pattern(1));
    EXPECT_EQ(disk.Reads(), (Sizes{12288}));
    EXPECT_EQ(ReadText(file, 40000), Pattern(30000).substr(1));
    EXPECT_EQ(disk.Reads(), (Sizes{12288, 12288, 12288, 12288}))
        << "the third is short, the fourth finds the end";
    qivClose(file);
}

TEST(LoadDiskBuffer, AFailedReadGivesMinusOneAndTheFileStaysUsable) {
    TempDirectory directory;
    directory.Write("a", Pattern(30000));
    FailingDisk disk;
    const FileHandle file = Open(directory.File("a"), 0);
    EXPECT_EQ(ReadText(file, 12288), Pattern(12288));
    disk.Fail(FailingDisk::kRead, 1);
    EXPECT_EQ(ReadText(file, 5), "error");
    EXPECT_EQ(Record(file).error, -1);
    EXPECT_EQ(ReadText(file, 5), Pattern(30000).substr(12288, 5));
    EXPECT_EQ(qivClose(file), 0);
}

TEST(LoadDiskBuffer, AnErrorInTheMiddleOfAReadGivesMinusOne) {
    TempDirectory directory;
    directory.Write("a", Pattern(30000));
    FailingDisk disk;
    const FileHandle file = Open(directory.File("a"), 0);
    disk.Fail(FailingDisk::kRead, 2);
    EXPECT_EQ(ReadText(file, 20000), "error");
    qivClose(file);
}

TEST(LoadDiskBuffer, AFileThatHasGrownBeyondTwoGibibytesIsReadUpToThere) {
    TempDirectory directory;
    directory.Write("a", "");
    const FileHandle file = Open(directory.File("a"), 2);
    std::filesystem::resize_file(directory.File("a"), 0x80000100u);
    EXPECT_EQ(qivSeek(file, INT32_MAX - 3, kFromStart), INT32_MAX - 3);
    EXPECT_EQ(ReadText(file, 10), std::string(3, '\0'));
    EXPECT_EQ(qivSeek(file, 0, kFromCurrent), INT32_MAX);
    EXPECT_EQ(qivSeek(file, 0, kFromEnd), -1);
    qivClose(file);
}

TEST(LoadDiskBuffer, AFailedSeekGivesMinusOne) {
    TempDirectory directory;
    directory.Write("a", "text");
    for (const auto operation : {FailingDisk::kSeek, FailingDisk::kTell}) {
        FailingDisk disk;
        const FileHandle file = Open(directory.File("a"), 0);
        disk.Fail(operation, 1);
        EXPECT_EQ(FillQivIOBuf(file), -1);
        EXPECT_EQ(Record(file).error, -1);
        EXPECT_EQ(disk.Reads(), Sizes{});
        qivClose(file);
    }
}

// A read that fails has overwritten the buffer. What it left must not be written back.
TEST(LoadDiskBuffer, ASpoiltBufferNeverReachesTheFile) {
    TempDirectory directory;
    directory.Write("a", Pattern(20000));
    FailingDisk disk;
    const FileHandle file = Open(directory.File("a"), 2);
    EXPECT_EQ(WriteText(file, "abc"), 3);
    disk.Fail(FailingDisk::kWrite, 1);
    disk.Fail(FailingDisk::kRead, 1);
    EXPECT_EQ(qivSeek(file, 15000, kFromStart), -1);
    qivClose(file);
    EXPECT_EQ(directory.Read("a"), Pattern(20000));
}

TEST(LoadDiskBuffer, AWriteOnlyStreamCannotBeRead) {
    TempDirectory directory;
    std::FILE *stream = std::fopen(directory.File("a").c_str(), "w");
    QivIODesc descriptor = {};
    descriptor.stream = stream;
    const auto file = static_cast<FileHandle>(qivOpen(nullptr, &descriptor, -1));
    EXPECT_EQ(ReadText(file, 1), "error");
    EXPECT_EQ(qivClose(file), 0);
    std::fclose(stream);
}

TEST(LoadDiskBuffer, AnOldErrorOfTheCallersStreamIsNone) {
    TempDirectory directory;
    std::FILE *stream = std::fopen(directory.Write("a", "text").c_str(), "r");
    EXPECT_EQ(std::fputc('x', stream), EOF);
    ASSERT_NE(std::ferror(stream), 0);
    QivIODesc descriptor = {};
    descriptor.stream = stream;
    const auto file = static_cast<FileHandle>(qivOpen(nullptr, &descriptor, -1));
    EXPECT_EQ(ReadText(file, 10), "text");
    EXPECT_EQ(Record(file).error, 0);
    qivClose(file);
    std::fclose(stream);
}

TEST(FlushDisk, WritesTheBufferWhereItBelongs) {
    TempDirectory directory;
    directory.Write("a", "0123456789");
    FailingDisk disk;
    const FileHandle file = Open(directory.File("a"), 2);
    EXPECT_EQ(qivSeek(file, 4, kFromStart), 4);
    EXPECT_EQ(WriteText(file, "XY"), 2);
    EXPECT_EQ(FlushQivIO(file), 6) << "the buffer holds bytes 4 to 9";
    EXPECT_EQ(directory.Read("a"), "0123XY6789");
    EXPECT_EQ(FlushQivIO(file), 0) << "clean now";
    EXPECT_EQ(disk.Writes(), (Sizes{6}));
    qivClose(file);
}

TEST(FlushDisk, MeasuresTheLength) {
    TempDirectory directory;
    const FileHandle file = Open(directory.File("a"), kCreateMode);
    EXPECT_EQ(Record(file).fileLength, 0);
    WriteText(file, "hello");
    EXPECT_EQ(Record(file).fileLength, 0);
    EXPECT_EQ(FlushQivIO(file), 5);
    EXPECT_EQ(Record(file).fileLength, 5);
    EXPECT_EQ(Record(file).bufBase, 5);
    EXPECT_EQ(Record(file).filePos, 5);
    EXPECT_EQ(Record(file).bufLast, -1);
    qivClose(file);
}

TEST(FlushDisk, AFailedSeekWritesNothingAndKeepsTheBytes) {
    TempDirectory directory;
    FailingDisk disk;
    const FileHandle file = Open(directory.File("a"), kCreateMode);
    WriteText(file, "hello");
    disk.Fail(FailingDisk::kSeek, 1);
    EXPECT_EQ(FlushQivIO(file), -1);
    EXPECT_EQ(Record(file).error, -1);
    EXPECT_EQ(disk.Writes(), Sizes{});
    EXPECT_EQ(qivClose(file), 0) << "the close writes them";
    EXPECT_EQ(directory.Read("a"), "hello");
}

TEST(FlushDisk, AFailedMeasureGivesMinusOne) {
    TempDirectory directory;
    for (int k = 2; k <= 3; ++k) {
        FailingDisk disk;
        const FileHandle file = Open(directory.File("a"), kCreateMode);
        WriteText(file, "hello");
        disk.Fail(FailingDisk::kSeek, k); // the first is the one before the write
        EXPECT_EQ(FlushQivIO(file), -1);
        EXPECT_EQ(Record(file).error, -1);
        EXPECT_EQ(disk.Writes(), (Sizes{5}));
        qivClose(file);
        EXPECT_EQ(directory.Read("a"), "hello");
    }
}

TEST(DiskOperations, AStreamHasNoBufferOfItsOwn) {
    TempDirectory directory;
    std::FILE *stream = kLibcDiskOperations.open(directory.File("a").c_str(), "w+");
    EXPECT_EQ(kLibcDiskOperations.write(stream, "hello", 5), 5);
    EXPECT_EQ(directory.Read("a"), "hello") << "before any seek, flush or close";
    kLibcDiskOperations.close(stream);
}

// Whichever operation fails, somebody is told, nothing crashes and no stream stays open.
TEST(DiskFile, EveryFailureIsReported) {
    TempDirectory directory;
    for (int operation = FailingDisk::kOpen; operation < FailingDisk::kRemove; ++operation) {
        int failed = 0;
        for (int k = 1;; ++k) {
            directory.Write("a", Pattern(20000));
            FailingDisk disk;
            disk.Fail(static_cast<FailingDisk::Operation>(operation), k);
            const FileHandle file = Open(directory.File("a"), 2);
            bool told = file == 0;
            told |= ReadText(file, 100) == "error";
            told |= WriteText(file, Pattern(13000)) < 13000;
            told |= qivSeek(file, 5, kFromStart) != 5;
            told |= WriteText(file, "x") != 1;
            told |= qivSeek(file, 0, kFromEnd) != 20000;
            // A write-back that fails in a seek is told by the error state alone.
            told |= file != 0 && Record(file).error == -1;
            told |= qivClose(file) != 0;
            const int opened = disk.Calls(FailingDisk::kOpen) - (operation == 0 && k == 1);
            EXPECT_EQ(disk.Calls(FailingDisk::kClose), opened);
            if (!disk.Failed())
                break;
            ++failed;
            EXPECT_TRUE(told) << "operation " << operation << ", call " << k;
        }
        EXPECT_GE(failed, 1);
    }
}

} // namespace
} // namespace kowen
