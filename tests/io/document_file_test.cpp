#include "io/files.h"
#include "support/failing_disk.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kowen {
namespace {

constexpr int32_t kEnd = -2;

std::string Sector(char fill, int32_t bytes = 512) {
    std::string text(static_cast<std::size_t>(bytes), fill);
    text[0] = '<';
    text.back() = '>';
    return text;
}

MemoryHandle Table(const std::vector<int32_t> &entries) {
    const auto bytes = static_cast<uint32_t>(entries.size() * sizeof(int32_t));
    const MemoryHandle handle = GlobalAlloc(66, bytes);
    std::memcpy(GlobalLock(handle), entries.data(), bytes);
    return handle;
}

// A file of a header and sectors A, B, C, ...: sector n is at (n + 1) * 512.
class DocumentFile : public testing::Test {
protected:
    ~DocumentFile() override { Close(); }

    void Close() {
        GlobalFree(Record(file).hFat);
        GlobalFree(Record(file).hMiniFat);
        qivClose(file);
    }

    void OpenFile(int32_t sectors) {
        std::string bytes(512, 'h');
        for (int32_t n = 0; n < sectors; ++n)
            bytes += Sector(static_cast<char>('A' + n));
        file = Open(directory.Write("doc", bytes), 0);
        Record(file).isDoc = 1;
    }
    void OpenBigStream(const std::vector<int32_t> &fat, int32_t start, int32_t size) {
        OpenFile(20);
        Record(file).hFat = Table(fat);
        Record(file).docStart = start;
        Record(file).docSize = size;
    }
    void OpenSmallStream(const std::vector<int32_t> &fat, int32_t miniStreamStart,
                         const std::vector<int32_t> &miniFat, int32_t start, int32_t size) {
        OpenBigStream(fat, start, size);
        Record(file).hMiniFat = Table(miniFat);
        Record(file).miniStreamStart = miniStreamStart;
    }

    TempDirectory directory;
    FileHandle file = 0;
};

// Nine sectors backwards: 9, 8, ... 1.
const std::vector<int32_t> kBackwards = {kEnd, kEnd, 1, 2, 3, 4, 5, 6, 7, 8};

std::string BackwardsBytes() {
    std::string bytes;
    for (char c = 'J'; c >= 'B'; --c)
        bytes += Sector(c);
    return bytes;
}

using DocRead = DocumentFile;
using DocSeek = DocumentFile;

TEST_F(DocRead, FollowsTheChain) {
    OpenBigStream(kBackwards, 9, 4608);
    EXPECT_EQ(ReadText(file, 5000), BackwardsBytes());
    EXPECT_EQ(Record(file).docPos, 4608);
    EXPECT_EQ(ReadText(file, 10), "") << "the end of the stream";
    EXPECT_EQ(Record(file).isDoc, 1);
}

TEST_F(DocRead, GoesOnInTheMiddleOfASector) {
    OpenBigStream(kBackwards, 9, 4600);
    EXPECT_EQ(ReadText(file, 700), BackwardsBytes().substr(0, 700));
    EXPECT_EQ(ReadText(file, 324), BackwardsBytes().substr(700, 324)) << "up to a sector's end";
    EXPECT_EQ(ReadText(file, 1), "<");
    EXPECT_EQ(ReadText(file, 5000), BackwardsBytes().substr(1025, 3575)) << "cut at the size";
}

TEST_F(DocRead, IsWhatQivReadAndQivSeekDoForADocumentStream) {
    OpenBigStream(kBackwards, 9, 4608);
    EXPECT_EQ(qivSeek(file, 1024, kFromStart), 1024);
    char bytes[4] = {};
    EXPECT_EQ(docRead(file, bytes, 3), 3);
    EXPECT_EQ(std::string(bytes), "<HH");
    Record(file).isDoc = 0;
    EXPECT_EQ(docRead(file, bytes, 2), 2);
    EXPECT_EQ(std::string(bytes), "HHH");
    EXPECT_EQ(Record(file).isDoc, 1) << "whoever reads a stream has one";
}

TEST_F(DocRead, SmallStreamsAreChainsInTheMiniStream) {
    // The mini stream is sectors 4, 2: E then C, eight 64-byte sectors each.
    // The stream is mini sectors 9, 0, 15: in C at 64, in E at 0, in C at 448.
    std::vector<int32_t> miniFat(16, kEnd);
    miniFat[9] = 0;
    miniFat[0] = 15;
    OpenSmallStream({kEnd, kEnd, kEnd, kEnd, 2}, 4, miniFat, 9, 180);
    const std::string stream = std::string(64, 'C') + "<" + std::string(63, 'E') +
                               std::string(52, 'C'); // 180 = 64 + 64 + 52; the ">" is cut off
    EXPECT_EQ(ReadText(file, 1000), stream);
    qivSeek(file, 60, kFromStart);
    EXPECT_EQ(ReadText(file, 6), "CCCC<E");
}

TEST_F(DocRead, From4096BytesOnAStreamIsBig) {
    OpenSmallStream(kBackwards, 0, std::vector<int32_t>(100, kEnd), 9, 4096);
    EXPECT_EQ(ReadText(file, 2), "<J");
    Record(file).docSize = 4095;
    Record(file).docPos = 0;
    EXPECT_EQ(ReadText(file, 2), "") << "mini sector 9 is in the mini stream's second sector, "
                                        "and its chain has but one";
    Record(file).docStart = 0;
    EXPECT_EQ(ReadText(file, 2), "<A");
}

TEST_F(DocRead, AChainThatEndsEarlyEndsTheRead) {
    OpenBigStream({kEnd, kEnd, 1}, 2, 5000);
    EXPECT_EQ(ReadText(file, 5000), Sector('C') + Sector('B'));
    EXPECT_EQ(Record(file).docPos, 1024);
    EXPECT_EQ(ReadText(file, 5000), "");
    qivSeek(file, 2000, kFromStart);
    EXPECT_EQ(ReadText(file, 5000), "");
}

TEST_F(DocRead, AChainThatLeavesItsTableEndsTheRead) {
    for (const int32_t next : {3, 1000000, INT32_MAX, -1, INT32_MIN}) {
        OpenBigStream({kEnd, kEnd, next}, 2, 5000);
        EXPECT_EQ(ReadText(file, 5000), Sector('C')) << next;
        Close();
    }
    OpenBigStream({kEnd}, 77, 5000);
    EXPECT_EQ(ReadText(file, 5000), "") << "starts outside";
    Close();
    OpenBigStream({1, 77, kEnd, kEnd, kEnd}, 0, 5000);
    qivSeek(file, 3 * 512, kFromStart);
    EXPECT_EQ(ReadText(file, 5000), "") << "leaves it on the way to the position";
}

TEST_F(DocRead, AChainThatRunsInACircleEndsTheRead) {
    OpenBigStream({1, 2, 0}, 0, INT32_MAX);
    EXPECT_EQ(ReadText(file, 5000), Sector('A') + Sector('B') + Sector('C'));
    qivSeek(file, INT32_MAX - 10, kFromStart);
    EXPECT_EQ(ReadText(file, 5), "");
}

TEST_F(DocRead, ACircleInTheMiniStreamEndsTheRead) {
    std::vector<int32_t> miniFat(40, kEnd);
    miniFat[0] = 16; // in the mini stream's third sector, which its circle of two does not have
    OpenSmallStream({1, 0}, 0, miniFat, 0, 200);
    EXPECT_EQ(ReadText(file, 200), "<" + std::string(63, 'A'));
    EXPECT_EQ(Record(file).error, 0) << "no seek was tried";
}

TEST_F(DocRead, AMiniStreamOutsideItsTableEndsTheRead) {
    OpenSmallStream({kEnd, kEnd}, 2, {kEnd}, 0, 50);
    EXPECT_EQ(ReadText(file, 50), "");
    Record(file).miniStreamStart = 1;
    EXPECT_EQ(ReadText(file, 50), "<" + std::string(49, 'B'));
}

TEST_F(DocRead, WithoutTablesThereIsNothingToRead) {
    OpenFile(2);
    Record(file).docSize = 5000;
    EXPECT_EQ(ReadText(file, 10), "");
    Record(file).docSize = 100;
    EXPECT_EQ(ReadText(file, 10), "");
    Record(file).docSize = -1;
    EXPECT_EQ(ReadText(file, 10), "");
}

TEST_F(DocRead, APositionBeforeTheStreamReadsNothing) {
    OpenBigStream(kBackwards, 9, 4608);
    Record(file).docPos = -1;
    EXPECT_EQ(ReadText(file, 10), "");
}

TEST_F(DocRead, ASectorBeyondTwoGibibytesEndsTheRead) {
    std::vector<int32_t> fat(8388608, kEnd);
    fat[0] = 8388607; // its position would be 2 to the 32
    OpenBigStream(fat, 0, 5000);
    EXPECT_EQ(ReadText(file, 5000), Sector('A'));
    EXPECT_EQ(Record(file).error, 0);
}

TEST_F(DocRead, ASectorBehindTheFilesEndEndsTheRead) {
    std::vector<int32_t> fat(100, kEnd);
    fat[0] = 99;
    OpenBigStream(fat, 0, 5000);
    EXPECT_EQ(ReadText(file, 5000), Sector('A'));
    EXPECT_EQ(Record(file).error, -1) << "the underlying seek has failed";
    EXPECT_EQ(Record(file).isDoc, 1);
}

TEST_F(DocRead, AShortSectorEndsTheRead) {
    file = Open(directory.Write("cut", std::string(512, 'h') + Sector('A') + "<BB"), 0);
    Record(file).hFat = Table({1, 2, kEnd});
    Record(file).docSize = 5000;
    Record(file).isDoc = 1;
    EXPECT_EQ(ReadText(file, 5000), Sector('A') + "<BB");
    EXPECT_EQ(Record(file).docPos, 515);
}

TEST_F(DocRead, AFailedReadEndsTheRead) {
    OpenBigStream(kBackwards, 9, 4608);
    FailingDisk disk;
    disk.Fail(FailingDisk::kRead, 1);
    EXPECT_EQ(ReadText(file, 100), "");
    EXPECT_EQ(Record(file).docPos, 0);
    EXPECT_EQ(Record(file).isDoc, 1);
}

TEST_F(DocRead, CountsBelowOneReadNothing) {
    OpenBigStream(kBackwards, 9, 4608);
    char byte = 'x';
    EXPECT_EQ(docRead(file, &byte, 0), 0);
    EXPECT_EQ(docRead(file, &byte, -1), 0);
    EXPECT_EQ(byte, 'x');
}

TEST_F(DocSeek, StaysInsideTheStream) {
    OpenBigStream(kBackwards, 9, 100);
    EXPECT_EQ(docSeek(file, 40, 0), 40);
    EXPECT_EQ(docSeek(file, -5, 0), 0);
    EXPECT_EQ(docSeek(file, 101, 0), 100);
    EXPECT_EQ(docSeek(file, -30, 1), 70);
    EXPECT_EQ(docSeek(file, 31, 1), 100);
    EXPECT_EQ(docSeek(file, INT32_MAX, 1), 100);
    EXPECT_EQ(docSeek(file, INT32_MIN, 1), 0);
    EXPECT_EQ(docSeek(file, INT32_MIN, 2), 100);
    EXPECT_EQ(docSeek(file, INT32_MAX, 2), 0);
}

TEST_F(DocSeek, FromTheEndCountsBackwards) {
    OpenBigStream(kBackwards, 9, 100);
    EXPECT_EQ(docSeek(file, 10, 2), 90);
    EXPECT_EQ(docSeek(file, -10, 2), 100);
}

TEST_F(DocSeek, AnUnknownWhenceChangesNothing) {
    OpenBigStream(kBackwards, 9, 100);
    docSeek(file, 40, 0);
    EXPECT_EQ(docSeek(file, 10, 3), -1);
    EXPECT_EQ(docSeek(file, 10, -1), -1);
    EXPECT_EQ(Record(file).docPos, 40);
}

} // namespace
} // namespace kowen
