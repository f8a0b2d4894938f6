#include "io/files.h"
#include "support/failing_memory.h"

#include <gtest/gtest.h>

#include <string>

namespace kowen {
namespace {

using namespace std::string_literals;

TEST(QivOpenMemory, TrimsZerosAndOneByteMore) {
    MemoryTarget target("AB\0\0"s);
    const FileHandle file = target.Open(0);
    ASSERT_NE(file, 0u);
    EXPECT_EQ(target.descriptor.size, 1);
    EXPECT_EQ(ReadText(file, 10), "A");
    EXPECT_EQ(ReadText(file, 10), "");
    EXPECT_EQ(qivClose(file), 0);
    EXPECT_EQ(target.Bytes(4), "AB\0\0"s) << "reading changes nothing";
}

TEST(QivOpenMemory, LosesAByteWithoutZerosToo) {
    MemoryTarget target("ABC");
    const FileHandle file = target.Open(0);
    EXPECT_EQ(target.descriptor.size, 2);
    EXPECT_EQ(ReadText(file, 10), "AB");
    qivClose(file);
}

TEST(QivOpenMemory, FillsTheRecord) {
    MemoryTarget target("ABCD", 7);
    const FileHandle file = target.Open(0);
    const QivFile &record = Record(file);
    EXPECT_EQ(record.fp, nullptr);
    EXPECT_EQ(record.hBuf, GlobalHandle(target.data));
    EXPECT_EQ(record.ppData, &target.data);
    EXPECT_EQ(record.bufPos, 0);
    EXPECT_EQ(record.bufLast, 2);
    EXPECT_EQ(record.bufMax, 2);
    EXPECT_EQ(record.bufBase, 0);
    EXPECT_EQ(record.filePos, -1);
    EXPECT_EQ(record.growBy, 7);
    EXPECT_EQ(record.fileLength, 2) << "the last byte's index";
    EXPECT_EQ(record.lineFormat, 2);
    EXPECT_EQ(record.named, 0);
    qivClose(file);
}

TEST(QivOpenMemory, ABlockOfZerosIsEmptyAndItsSizeIsMinusOne) {
    MemoryTarget target("\0\0\0"s);
    const FileHandle file = target.Open(2);
    EXPECT_EQ(target.descriptor.size, -1);
    EXPECT_EQ(ReadText(file, 10), "");
    EXPECT_EQ(qivClose(file), 0);
    EXPECT_EQ(target.Bytes(1), "\xFF")
        << "the terminator byte goes to the first byte, not before it";
}

TEST(QivOpenMemory, ABlockOfZerosGrowsFromItsSizeOfMinusOne) {
    MemoryTarget target("\0\0\0"s, 8);
    const FileHandle file = target.Open(2);
    EXPECT_EQ(Record(file).bufMax, -2);
    EXPECT_EQ(Record(file).bufLast, -1);
    EXPECT_EQ(WriteText(file, "a"), 1);
    EXPECT_EQ(target.BlockSize(), 7u) << "-2 + 8 + 1";
    EXPECT_EQ(WriteText(file, "bcdef"), 5);
    EXPECT_EQ(target.BlockSize(), 7u);
    EXPECT_EQ(qivClose(file), 0);
    EXPECT_EQ(target.BlockSize(), 15u) << "the marker filled the block";
    EXPECT_EQ(target.Bytes(7), "abcdef\xFF");
}

TEST(QivOpenMemory, ABlockOfZerosKeepsItsBytesWithTheSmallestSteps) {
    for (const int32_t growBy : {1, 2, 3}) {
        MemoryTarget target("\0\0\0"s, growBy);
        const FileHandle file = target.Open(2);
        for (const char *letter : {"a", "b", "c", "d"})
            EXPECT_EQ(WriteText(file, letter), 1);
        EXPECT_EQ(qivClose(file), 0);
        EXPECT_EQ(target.Bytes(5), "abcd\xFF");
    }
    MemoryTarget empty("", 1);
    const FileHandle file = empty.Open(2);
    EXPECT_EQ(FlushQivIO(file), 1) << "-2 + 1 + 1 bytes";
    EXPECT_EQ(empty.BlockSize(), 0u);
    EXPECT_EQ(WriteText(file, "ab"), 2);
    EXPECT_EQ(empty.Bytes(2), "ab");
    EXPECT_EQ(qivClose(file), 0);
}

TEST(QivOpenMemory, CreatingStartsEmptyAndKeepsTheSizeWord) {
    MemoryTarget target("ABCD");
    const FileHandle file = target.Open(kCreateMode);
    EXPECT_EQ(target.descriptor.size, 4);
    EXPECT_EQ(Record(file).bufLast, -1);
    EXPECT_EQ(Record(file).bufMax, 3);
    EXPECT_EQ(ReadText(file, 10), "");
    WriteText(file, "xy");
    EXPECT_EQ(qivClose(file), 0);
    EXPECT_EQ(target.Bytes(4), "xy\xFF"
                               "D");
    EXPECT_EQ(target.BlockSize(), 4u);
}

TEST(QivOpenMemory, AnEmptyNameIsAsGoodAsNone) {
    MemoryTarget target("ABC");
    const auto file = static_cast<FileHandle>(qivOpen("", &target.descriptor, 0));
    ASSERT_NE(file, 0u);
    EXPECT_EQ(ReadText(file, 10), "AB");
    qivClose(file);
}

TEST(QivOpenMemory, WithoutABlockThereIsNothingToOpen) {
    QivIODesc descriptor = {};
    EXPECT_EQ(qivOpen(nullptr, &descriptor, kCreateMode), 0);
    void *data = nullptr;
    descriptor.location = &data;
    EXPECT_EQ(qivOpen(nullptr, &descriptor, kCreateMode), 0);
}

TEST(QivOpenMemory, ASizeThatCannotBeTrueIsBroughtIntoTheBlock) {
    MemoryTarget large("ABCD");
    large.descriptor.size = 1000;
    FileHandle file = large.Open(0);
    EXPECT_EQ(ReadText(file, 1000), "ABC");
    qivClose(file);
    MemoryTarget negative("ABCD");
    negative.descriptor.size = -5;
    file = negative.Open(0);
    EXPECT_EQ(ReadText(file, 1000), "");
    EXPECT_EQ(negative.descriptor.size, -1);
    qivClose(file);
    MemoryTarget created("ABCD");
    created.descriptor.size = 1000;
    file = created.Open(kCreateMode);
    EXPECT_EQ(Record(file).bufMax, 3);
    qivClose(file);
}

// Too large to allocate in a test: the block's header says so instead.
TEST(QivOpenMemory, ABlockOfTwoGibibytesIsNoNegativeSize) {
    MemoryTarget target("ABCD");
    auto *header = reinterpret_cast<GlobalHeader *>(GlobalHandle(target.data));
    header->size = 0x80000001u;
    const FileHandle file = target.Open(0);
    EXPECT_EQ(ReadText(file, 10), "ABC");
    EXPECT_EQ(target.descriptor.size, 3);
    qivClose(file);
    header->size = 4;
}

TEST(QivOpenMemory, ExhaustedMemoryGivesZero) {
    MemoryTarget target("ABCD");
    FailingMemory memory(1);
    EXPECT_EQ(target.Open(0), 0u);
    EXPECT_EQ(target.descriptor.size, 4);
}

// How the exports use it: a block of one byte, size 0, that grows by 4096.
TEST(WriteMemory, GrowsByWholeStepsAsSoonAsTheBlockIsFull) {
    MemoryTarget target("x", 4096);
    target.descriptor.size = 0;
    const FileHandle file = target.Open(kCreateMode);
    EXPECT_EQ(Record(file).bufMax, -1);
    EXPECT_EQ(WriteText(file, "a"), 1);
    EXPECT_EQ(target.BlockSize(), 4096u);
    EXPECT_EQ(Record(file).bufMax, 4095);
    EXPECT_EQ(WriteText(file, std::string(4094, 'b')), 4094);
    EXPECT_EQ(target.BlockSize(), 4096u);
    EXPECT_EQ(WriteText(file, "c"), 1);
    EXPECT_EQ(target.BlockSize(), 8192u) << "the byte that fills the block makes it grow";
    EXPECT_EQ(Record(file).hBuf, GlobalHandle(target.data));
    EXPECT_EQ(qivClose(file), 0);
    EXPECT_EQ(target.BlockSize(), 8192u);
    EXPECT_EQ(target.Bytes(4097), "a" + std::string(4094, 'b') + "c\xFF");
    EXPECT_EQ(target.data[4097], 0);
}

TEST(WriteMemory, OneLongWriteGivesTheSameBlockAsManyShortOnes) {
    for (int32_t growBy : {1, 2, 5, 16}) {
        for (int32_t count = 1; count < 60; ++count) {
            MemoryTarget once("0123", growBy);
            MemoryTarget bytewise("0123", growBy);
            const FileHandle a = once.Open(kCreateMode);
            const FileHandle b = bytewise.Open(kCreateMode);
            ASSERT_EQ(WriteText(a, Pattern(count)), count);
            for (int32_t i = 0; i < count; ++i)
                ASSERT_EQ(WriteText(b, Pattern(count).substr(static_cast<size_t>(i), 1)), 1);
            // By hand: 4 bytes at first; full at 4, 4 + growBy, ... and larger than count.
            const int32_t steps = count < 4 ? 0 : (count - 4) / growBy + 1;
            ASSERT_EQ(once.BlockSize(), static_cast<uint32_t>(4 + steps * growBy));
            ASSERT_EQ(bytewise.BlockSize(), once.BlockSize());
            ASSERT_EQ(once.Bytes(static_cast<size_t>(count)), Pattern(count));
            ASSERT_EQ(bytewise.Bytes(static_cast<size_t>(count)), Pattern(count));
            // The last step finds a full block and leaves nothing to write back.
            const int32_t length = steps == 0 ? -1 : 4 + (steps - 1) * growBy - 1;
            const int32_t dirty = count - 1 == length ? 0 : 1;
            for (const FileHandle file : {a, b}) {
                ASSERT_EQ(Record(file).fileLength, length) << count << " by " << growBy;
                ASSERT_EQ(Record(file).dirty, dirty) << count << " by " << growBy;
            }
            EXPECT_EQ(qivClose(a), 0);
            EXPECT_EQ(qivClose(b), 0);
        }
    }
}

// Bytes 0 to 15 fill the block, each two more fill the next step: the last one finds 400 bytes.
TEST(WriteMemory, AFileThatWasOnlyCreatedReachesWhatWasWritten) {
    MemoryTarget target(std::string(16, 'x'), 2);
    const FileHandle file = target.Open(KOWEN_MODE_CREATE);
    EXPECT_EQ(WriteText(file, Pattern(400)), 400);
    EXPECT_EQ(Record(file).fileLength, 399);
    EXPECT_EQ(Record(file).dirty, 0);
    EXPECT_EQ(qivSeek(file, 200, kFromStart), 200);
    EXPECT_EQ(qivSeek(file, 400, kFromStart), -1);
    qivClose(file);
}

TEST(WriteMemory, BytesBehindTheLastStepAreNotReachedYet) {
    MemoryTarget target(std::string(16, 'x'), 10);
    const FileHandle file = target.Open(KOWEN_MODE_CREATE);
    EXPECT_EQ(WriteText(file, Pattern(40)), 40); // steps at 16, 26 and 36 bytes
    EXPECT_EQ(Record(file).fileLength, 35);
    EXPECT_EQ(Record(file).dirty, 1);
    EXPECT_EQ(qivSeek(file, 35, kFromStart), 35);
    EXPECT_EQ(qivSeek(file, 36, kFromStart), -1);
    qivClose(file);
}

TEST(WriteMemory, OneLongWriteOverOldBytesGivesTheSameToo) {
    for (const int32_t growBy : {1, 3, 8}) {
        MemoryTarget target("0123456789", growBy);
        const FileHandle file = target.Open(2); // of 9 bytes, by the trimming
        EXPECT_EQ(qivSeek(file, 2, kFromStart), 2);
        EXPECT_EQ(WriteText(file, "abc"), 3);
        EXPECT_EQ(Record(file).fileLength, 8);
        EXPECT_EQ(Record(file).dirty, 1) << "nothing was full";
        EXPECT_EQ(WriteText(file, "defg"), 4);
        EXPECT_EQ(Record(file).fileLength, 8);
        EXPECT_EQ(Record(file).dirty, 0) << "the ninth byte was the last";
        qivClose(file);
    }
}

TEST(WriteMemory, TheFirstByteOfABlockOfNoBytesMakesTheFirstStep) {
    for (const bool bytewise : {false, true}) {
        MemoryTarget target("", 4);
        const FileHandle file = target.Open(KOWEN_MODE_CREATE);
        EXPECT_EQ(WriteText(file, "a"), 1);
        EXPECT_EQ(Record(file).fileLength, 0);
        EXPECT_EQ(Record(file).dirty, 0);
        EXPECT_EQ(qivSeek(file, 0, kFromStart), 0);
        EXPECT_EQ(qivSeek(file, 1, kFromStart), -1);
        qivClose(file);
        MemoryTarget more("", 4);
        const FileHandle longer = more.Open(kCreateMode);
        for (const char *text : bytewise ? std::vector<const char *>{"a", "b", "c", "d", "e", "f"}
                                         : std::vector<const char *>{"abcdef"})
            WriteText(longer, text);
        EXPECT_EQ(Record(longer).fileLength, 3) << bytewise;
        EXPECT_EQ(Record(longer).dirty, 1) << bytewise;
        qivClose(longer);
    }
}

TEST(WriteMemory, ABlockOfNoBytesGrowsBeforeTheFirst) {
    MemoryTarget target("", 8);
    const FileHandle file = target.Open(kCreateMode);
    EXPECT_EQ(WriteText(file, "abc"), 3);
    EXPECT_EQ(target.BlockSize(), 8u);
    EXPECT_EQ(target.Bytes(3), "abc");
    EXPECT_EQ(qivClose(file), 0);
}

TEST(WriteMemory, WritesOverAndBehindATrimmedBlock) {
    MemoryTarget target("ABCD\0\0\0\0"s, 4);
    const FileHandle file = target.Open(2);
    EXPECT_EQ(target.descriptor.size, 3);
    EXPECT_EQ(WriteText(file, "wxyz!"), 5);
    EXPECT_EQ(qivClose(file), 0);
    // Trimmed to 3 bytes, then 3 + 4 when byte 2 filled it; 5 bytes and the marker fit.
    EXPECT_EQ(target.BlockSize(), 7u);
    EXPECT_EQ(target.Bytes(7), "wxyz!\xFF\0"s);
}

TEST(WriteMemory, ReadsBackWhatWasWritten) {
    MemoryTarget target("x", 3);
    const FileHandle file = target.Open(kCreateMode);
    WriteText(file, "hello world");
    EXPECT_EQ(qivSeek(file, 6, kFromStart), 6);
    EXPECT_EQ(ReadText(file, 100), "world");
    qivClose(file);
}

TEST(WriteMemory, AFailedGrowthLosesTheBlockAndTellsTheCaller) {
    MemoryTarget target("ABCD", 4);
    const FileHandle file = target.Open(kCreateMode);
    {
        FailingMemory memory(1);
        EXPECT_EQ(WriteText(file, "0123"), -1);
    }
    EXPECT_EQ(target.data, nullptr);
    EXPECT_EQ(Record(file).hBuf, 0u);
    EXPECT_EQ(Record(file).error, -1);
    EXPECT_EQ(WriteText(file, "more"), 0);
    EXPECT_EQ(ReadText(file, 4), "");
    EXPECT_EQ(qivSeek(file, 0, kFromCurrent), 0);
    EXPECT_EQ(qivSeek(file, 0, kFromStart), -1);
    EXPECT_EQ(qivSeek(file, 0, kFromEnd), 0);
    EXPECT_EQ(qivSeek(file, 100, kFromEnd), 100);
    EXPECT_EQ(WriteText(file, "more"), 0);
    EXPECT_EQ(FillQivIOBuf(file), 0);
    EXPECT_EQ(FlushQivIO(file), -1);
    EXPECT_EQ(qivClose(file), -1);
    EXPECT_EQ(target.data, nullptr);
}

TEST(WriteMemory, AFullBlockThatCannotGrowFailsAndKeepsItsBytes) {
    for (const int32_t growBy : {0, -1, INT32_MIN}) {
        MemoryTarget target("ABCD", growBy);
        const FileHandle file = target.Open(kCreateMode);
        EXPECT_EQ(WriteText(file, "012"), 3);
        EXPECT_EQ(WriteText(file, "3456"), -1);
        EXPECT_EQ(Record(file).error, -1);
        EXPECT_EQ(WriteText(file, "x"), 0);
        ASSERT_NE(target.data, nullptr);
        EXPECT_EQ(target.Bytes(4), "0123");
        EXPECT_EQ(qivClose(file), -1) << "the terminator byte has no room";
        EXPECT_EQ(target.Bytes(4), "0123");
    }
}

TEST(WriteMemory, TheLastByteOfABlockThatCannotGrowFailsToo) {
    MemoryTarget target("ABCD", 0);
    const FileHandle file = target.Open(kCreateMode);
    EXPECT_EQ(WriteText(file, "0123"), -1) << "the block is full, and full it must grow";
    EXPECT_EQ(target.Bytes(4), "0123");
    qivClose(file);
}

TEST(WriteMemory, ASizeBeyondThirtyOneBitsFailsAndKeepsTheBlock) {
    MemoryTarget target("ABCD", INT32_MAX);
    const FileHandle file = target.Open(kCreateMode);
    FailingMemory memory(0);
    EXPECT_EQ(WriteText(file, "0123"), -1);
    EXPECT_EQ(memory.Calls(), 0) << "a wrapped size must not even be asked for";
    EXPECT_EQ(target.Bytes(4), "0123");
    EXPECT_EQ(FlushQivIO(file), -1);
    EXPECT_EQ(qivSeek(file, 4, kFromStart), -1);
    qivClose(file);
}

TEST(FlushMemory, GrowsByOneStepEvenWithRoomLeft) {
    MemoryTarget target("ABCD", 10);
    const FileHandle file = target.Open(kCreateMode);
    WriteText(file, "x");
    EXPECT_EQ(Record(file).dirty, 1);
    EXPECT_EQ(FlushQivIO(file), 1);
    EXPECT_EQ(target.BlockSize(), 14u);
    EXPECT_EQ(Record(file).bufMax, 13);
    EXPECT_EQ(Record(file).dirty, 0);
    EXPECT_EQ(Record(file).fileLength, 0) << "the last byte's index";
    EXPECT_EQ(qivSeek(file, 0, kFromCurrent), 1);
    qivClose(file);
}

TEST(FlushMemory, FailsWithoutAStepAndWithoutMemory) {
    MemoryTarget target("ABCD", 0);
    FileHandle file = target.Open(kCreateMode);
    EXPECT_EQ(FlushQivIO(file), -1);
    EXPECT_EQ(Record(file).error, -1);
    EXPECT_NE(target.data, nullptr);
    qivClose(file);
    MemoryTarget other("ABCD", 4);
    file = other.Open(kCreateMode);
    FailingMemory memory(1);
    EXPECT_EQ(FlushQivIO(file), -1);
    EXPECT_EQ(other.data, nullptr);
    qivClose(file);
}

// A size of -1 puts the byte at the start two places behind the block's last index, and an error
// keeps the block from growing: one step is not enough then.
TEST(FlushMemory, NeverCutsOffAByteThatWasWritten) {
    MemoryTarget target("\0\0\0"s, 1);
    const FileHandle file = target.Open(2);
    EXPECT_EQ(qivSeek(file, -1, kFromStart), -1);
    EXPECT_EQ(WriteText(file, "a"), 0) << "stored, but the block would have to grow";
    EXPECT_EQ(FlushQivIO(file), -1);
    EXPECT_EQ(target.BlockSize(), 3u);
    EXPECT_EQ(target.Bytes(1), "a");
    qivClose(file);
}

TEST(QivSeekMemory, ReadingReachesOnlyTheLastByte) {
    MemoryTarget target("ABCD");
    const FileHandle file = target.Open(0); // "ABC"
    EXPECT_EQ(qivSeek(file, 2, kFromStart), 2);
    EXPECT_EQ(ReadText(file, 10), "C");
    EXPECT_EQ(Record(file).error, 0);
    EXPECT_EQ(qivSeek(file, 3, kFromStart), -1) << "a disk file of three bytes would say 3";
    EXPECT_EQ(Record(file).error, -1);
    EXPECT_EQ(qivSeek(file, 0, kFromEnd), 3);
    qivClose(file);
}

TEST(QivSeekMemory, UpToTheBlocksEndOnlyMoves) {
    MemoryTarget target("ABCD", 10);
    const FileHandle file = target.Open(kCreateMode);
    EXPECT_EQ(qivSeek(file, 3, kFromStart), 3);
    EXPECT_EQ(target.BlockSize(), 4u);
    WriteText(file, "x");
    EXPECT_EQ(Record(file).bufLast, 3);
    EXPECT_EQ(target.Bytes(4), "ABCx");
    qivClose(file);
}

TEST(QivSeekMemory, BeyondTheBlockGrowsIt) {
    MemoryTarget target("ABCD", 10);
    const FileHandle file = target.Open(kCreateMode);
    EXPECT_EQ(qivSeek(file, 100, kFromStart), 100);
    EXPECT_EQ(target.BlockSize(), 111u);
    EXPECT_EQ(Record(file).bufMax, 110);
    EXPECT_EQ(Record(file).hBuf, GlobalHandle(target.data));
    WriteText(file, "x");
    EXPECT_EQ(target.Bytes(4), "ABCD");
    EXPECT_EQ(target.data[99], 0);
    EXPECT_EQ(target.data[100], 'x');
    EXPECT_EQ(qivClose(file), 0);
    EXPECT_EQ(target.data[101], '\xFF');
}

TEST(QivSeekMemory, BeyondTheBlockNeedsNoStep) {
    MemoryTarget target("ABCD", 0);
    const FileHandle file = target.Open(kCreateMode);
    EXPECT_EQ(qivSeek(file, 6, kFromStart), 6);
    EXPECT_EQ(target.BlockSize(), 7u);
    Record(file).growBy = -2;
    EXPECT_EQ(qivSeek(file, 20, kFromStart), -1);
    EXPECT_EQ(target.BlockSize(), 7u);
    qivClose(file);
}

TEST(QivSeekMemory, AFailedGrowthLosesTheBlock) {
    MemoryTarget target("ABCD", 10);
    const FileHandle file = target.Open(kCreateMode);
    FailingMemory memory(1);
    EXPECT_EQ(qivSeek(file, 100, kFromStart), -1);
    EXPECT_EQ(Record(file).error, -1);
    EXPECT_EQ(target.data, nullptr);
    EXPECT_EQ(qivClose(file), -1);
}

TEST(QivSeekMemory, FromTheEndGoesAnywhereButBeforeTheStart) {
    MemoryTarget target("ABCD", 10);
    const FileHandle file = target.Open(2); // "ABC"
    EXPECT_EQ(qivSeek(file, -3, kFromEnd), 0);
    EXPECT_EQ(qivSeek(file, -1, kFromEnd), 2);
    EXPECT_EQ(qivSeek(file, -4, kFromEnd), -1);
    EXPECT_EQ(Record(file).error, -1);
    EXPECT_EQ(qivSeek(file, 0, kFromCurrent), 2);
    EXPECT_EQ(qivSeek(file, INT32_MAX, kFromEnd), -1);
    EXPECT_EQ(qivSeek(file, INT32_MIN, kFromEnd), -1);
    EXPECT_EQ(qivSeek(file, 0, 3), -1) << "an unknown whence";
    qivClose(file);
}

TEST(QivSeekMemory, AWriteFarBehindTheEndGrowsAsASeekWould) {
    MemoryTarget target("ABCD", 10);
    const FileHandle file = target.Open(2); // "ABC"
    EXPECT_EQ(qivSeek(file, 50, kFromEnd), 53);
    EXPECT_EQ(target.BlockSize(), 4u) << "the seek alone moves nothing";
    EXPECT_EQ(ReadText(file, 1), "");
    EXPECT_EQ(WriteText(file, "x"), 1);
    EXPECT_EQ(target.BlockSize(), 64u);
    EXPECT_EQ(target.data[53], 'x');
    EXPECT_EQ(qivSeek(file, INT32_MAX - 60, kFromEnd), INT32_MAX - 6);
    EXPECT_EQ(WriteText(file, "x"), -1) << "no block is that large";
    EXPECT_NE(target.data, nullptr);
    qivClose(file);
}

TEST(QivSeekMemory, AWriteFarBehindTheEndFailsWhenTheStepIsNegative) {
    MemoryTarget target("ABCD", -5);
    const FileHandle file = target.Open(2);
    EXPECT_EQ(qivSeek(file, 50, kFromEnd), 53);
    EXPECT_EQ(WriteText(file, "x"), -1);
    EXPECT_EQ(target.Bytes(4), "ABCD");
    EXPECT_EQ(target.BlockSize(), 4u);
    qivClose(file);
}

// A write into the zeros behind a trimmed block must not be cut off by the next growth.
TEST(QivSeekMemory, AWriteIntoTheTrimmedZerosIsKept) {
    MemoryTarget target("ABC" + std::string(100, '\0'), 4);
    const FileHandle file = target.Open(2); // "AB"
    EXPECT_EQ(qivSeek(file, 20, kFromEnd), 22);
    EXPECT_EQ(WriteText(file, "x"), 1);
    EXPECT_EQ(qivSeek(file, 22, kFromStart), 22);
    EXPECT_EQ(ReadText(file, 5), "x");
    EXPECT_EQ(target.BlockSize(), 27u);
    qivClose(file);
}

TEST(QivCloseMemory, AppendsTheTerminatorByte) {
    for (const int32_t mode : {1, 2, 3}) {
        MemoryTarget target("ABCD\0"s, 4);
        const FileHandle file = target.Open(mode); // "ABC"
        EXPECT_EQ(qivClose(file), 0);
        EXPECT_EQ(target.Bytes(4), "ABC\xFF") << "mode " << mode;
        EXPECT_EQ(target.BlockSize(), 7u) << "the marker's byte was behind the trimmed size";
    }
}

TEST(QivCloseMemory, TheTerminatorGoesBehindTheLastByteWhereverThePositionIs) {
    MemoryTarget target("ABCD", 4);
    const FileHandle file = target.Open(kCreateMode);
    WriteText(file, "xyz");
    qivSeek(file, 0, kFromStart);
    EXPECT_EQ(qivClose(file), 0);
    EXPECT_EQ(target.Bytes(4), "xyz\xFF");
    EXPECT_EQ(target.BlockSize(), 8u) << "the marker filled the block";
}

TEST(QivCloseMemory, WithoutWritingThereIsNoTerminator) {
    for (const int32_t mode : {0, 4096}) {
        MemoryTarget target("ABCD", 4);
        EXPECT_EQ(qivClose(target.Open(mode)), 0);
        EXPECT_EQ(target.Bytes(4), "ABCD");
    }
}

TEST(QivCloseMemory, ATerminatorThatMovesTheBlockMovesTheCallersPointerToo) {
    MemoryTarget target("ABCD", 4096);
    const FileHandle file = target.Open(kCreateMode);
    WriteText(file, "xyz");
    EXPECT_EQ(qivClose(file), 0);
    EXPECT_EQ(target.BlockSize(), 4100u);
    EXPECT_EQ(GlobalLock(GlobalHandle(target.data)), target.data);
}

TEST(QivCloseMemory, ATerminatorWithoutMemoryGivesMinusOneAndLosesTheBlock) {
    MemoryTarget target("ABCD", 4);
    const FileHandle file = target.Open(kCreateMode);
    WriteText(file, "xyz");
    FailingMemory memory(1);
    EXPECT_EQ(qivClose(file), -1);
    EXPECT_EQ(target.data, nullptr);
}

} // namespace
} // namespace kowen
