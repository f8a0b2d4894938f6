#include "io/files.h"
#include "support/failing_disk.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <random>
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
    EXPECT_EQ(Record(file).dirty, 0);
    EXPECT_EQ(ReadText(file, 3), Pattern(3)) << "the three bytes are lost";
    EXPECT_EQ(qivClose(file), -1);
    EXPECT_EQ(disk.Writes(), std::vector<int32_t>{3}) << "what was read is not written";
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

// The reference of a file: its bytes and a position.
struct PlainFile {
    std::string Read(std::size_t count) {
        const std::string got = position < bytes.size() ? bytes.substr(position, count) : "";
        position += got.size();
        return got;
    }
    void Write(const std::string &text) {
        if (bytes.size() < position + text.size())
            bytes.resize(position + text.size(), '\0');
        bytes.replace(position, text.size(), text);
        position += text.size();
    }

    std::string bytes;
    std::size_t position = 0;
};

// Reads, writes and seeks at random and compares every result. Lengths and places prefer the
// neighbourhood of the buffer's size.
void CompareWithPlainFile(FileHandle file, PlainFile &plain, uint32_t seed) {
    std::mt19937 random(seed);
    const auto pick = [&](int32_t limit) { return static_cast<int32_t>(random() % limit); };
    for (int step = 0; step < 300; ++step) {
        const int32_t count = pick(2) ? pick(40) : 12288 * pick(3) + pick(5);
        const auto before = static_cast<int32_t>(plain.position);
        switch (pick(5)) {
        case 0:
        case 1: {
            const std::string text = Pattern(count + step).substr(static_cast<size_t>(step));
            ASSERT_EQ(WriteText(file, text), count) << "step " << step;
            plain.Write(text);
            break;
        }
        case 2:
            ASSERT_TRUE(ReadText(file, count) == plain.Read(static_cast<size_t>(count))) << step;
            break;
        case 3: {
            const int32_t target = pick(60000);
            const bool relative = pick(2) != 0;
            ASSERT_EQ(qivSeek(file, relative ? target - before : target,
                              relative ? kFromCurrent : kFromStart),
                      target);
            plain.position = static_cast<size_t>(target);
            break;
        }
        default: {
            const auto size = static_cast<int32_t>(plain.bytes.size());
            const int32_t back = pick(size + 1);
            ASSERT_EQ(qivSeek(file, -back, kFromEnd), size - back);
            plain.position = static_cast<size_t>(size - back);
        }
        }
        ASSERT_EQ(qivSeek(file, 0, kFromCurrent), static_cast<int32_t>(plain.position));
    }
}

TEST(RandomOperations, ADiskFileIsAPlainFile) {
    for (uint32_t seed = 1; seed <= 20; ++seed) {
        TempDirectory directory;
        PlainFile plain;
        plain.bytes = Pattern(20000);
        directory.Write("a", plain.bytes);
        const FileHandle file = Open(directory.File("a"), 2);
        CompareWithPlainFile(file, plain, seed);
        ASSERT_FALSE(testing::Test::HasFatalFailure()) << "seed " << seed;
        EXPECT_EQ(qivClose(file), 0);
        EXPECT_TRUE(directory.Read("a") == plain.bytes) << "seed " << seed;
    }
}

TEST(RandomOperations, AMemoryFileIsAPlainFile) {
    for (uint32_t seed = 1; seed <= 20; ++seed) {
        MemoryTarget target(std::string(1, '\0'), static_cast<int32_t>(seed * seed * 7));
        target.descriptor.size = 0;
        PlainFile plain;
        const FileHandle file = target.Open(kCreateMode);
        CompareWithPlainFile(file, plain, seed);
        ASSERT_FALSE(testing::Test::HasFatalFailure()) << "seed " << seed;
        EXPECT_EQ(qivClose(file), 0);
        EXPECT_TRUE(target.Bytes(plain.bytes.size() + 1) == plain.bytes + '\xFF')
            << "seed " << seed;
    }
}

} // namespace
} // namespace kowen
