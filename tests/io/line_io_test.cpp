#include "io/files.h"
#include "io/typed_io.h"
#include "support/failing_disk.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <string>

namespace kowen {
namespace {

class LineIo : public testing::Test {
protected:
    ~LineIo() override {
        if (file)
            qivClose(file);
    }
    void OpenOver(const std::string &bytes) { file = Open(directory.Write("a", bytes), 0); }
    void Create(uint16_t lineFormat) {
        file = Open(directory.File("a"), kCreateMode);
        EXPECT_EQ(qivSetLineFormat(file, lineFormat), 0);
    }
    std::string Written() {
        qivClose(file);
        file = 0;
        return directory.Read("a");
    }
    int32_t ReadLine(int32_t size) {
        std::memset(buffer, '#', sizeof buffer);
        return qivReadLine(file, buffer, size);
    }

    TempDirectory directory;
    FileHandle file = 0;
    char buffer[32];
};

using QivReadLine = LineIo;
using QivWriteLine = LineIo;
using QivGetLineFormat = LineIo;

TEST_F(QivReadLine, TakesEveryLineEnd) {
    OpenOver("AB\r\nCD\rEF\n\n\r\n\rX\n");
    for (const char *expected : {"AB", "CD", "EF", "", "", "", "X"}) {
        EXPECT_EQ(ReadLine(10), static_cast<int32_t>(std::strlen(expected)));
        EXPECT_STREQ(buffer, expected);
    }
    EXPECT_EQ(ReadLine(10), -1);
    EXPECT_STREQ(buffer, "");
}

TEST_F(QivReadLine, ALoneCrLeavesTheFileAtTheNextByte) {
    OpenOver("AB\rC");
    EXPECT_EQ(ReadLine(10), 2);
    EXPECT_STREQ(buffer, "AB");
    EXPECT_EQ(qivSeek(file, 0, kFromCurrent), 3);
    EXPECT_EQ(ReadText(file, 1), "C");
}

TEST_F(QivReadLine, ALoneCrAtTheEndOfABufferLeavesTheFileAtTheNextByte) {
    for (const int32_t line : {12286, 12287, 12288}) {
        OpenOver(std::string(static_cast<std::size_t>(line), 'x') + "\rCD\n");
        std::string text(20000, '#');
        EXPECT_EQ(qivReadLine(file, text.data(), 20000), line);
        EXPECT_EQ(ReadLine(10), 2);
        EXPECT_STREQ(buffer, "CD");
        qivClose(file);
        file = 0;
    }
}

TEST_F(QivReadLine, ALongLineFillsTheBufferUnterminated) {
    OpenOver("ABC\n");
    EXPECT_EQ(ReadLine(2), 2);
    EXPECT_EQ(std::string(buffer, 3), "AB#");
    EXPECT_EQ(ReadLine(2), 1);
    EXPECT_EQ(std::string(buffer, 3), std::string("C\0#", 3));
}

TEST_F(QivReadLine, ALineOfExactlyTheSizeLeavesItsEndForTheNextCall) {
    OpenOver("AB\nC\n");
    EXPECT_EQ(ReadLine(2), 2);
    EXPECT_EQ(std::string(buffer, 3), "AB#");
    EXPECT_EQ(ReadLine(2), 0);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(ReadLine(2), 1);
}

TEST_F(QivReadLine, ALastLineWithoutAnEndGivesMinusOne) {
    OpenOver("AB\nCD");
    EXPECT_EQ(ReadLine(10), 2);
    EXPECT_EQ(ReadLine(10), -1);
    EXPECT_STREQ(buffer, "CD");
}

TEST_F(QivReadLine, ALastLineThatFillsTheBufferIsNoEnd) {
    OpenOver("CD");
    EXPECT_EQ(ReadLine(2), 2);
    EXPECT_EQ(std::string(buffer, 3), "CD#");
    EXPECT_EQ(ReadLine(2), -1);
}

TEST_F(QivReadLine, ACrAsTheLastByteGivesMinusOne) {
    OpenOver("AB\r");
    EXPECT_EQ(ReadLine(10), -1);
    EXPECT_STREQ(buffer, "AB");
    EXPECT_EQ(qivSeek(file, 0, kFromCurrent), 3) << "there was nothing to step back over";
}

TEST_F(QivReadLine, ASizeBelowOneReadsNothing) {
    OpenOver("AB\n");
    EXPECT_EQ(ReadLine(0), 0);
    EXPECT_EQ(ReadLine(-1), 0);
    EXPECT_EQ(buffer[0], '#');
    EXPECT_EQ(ReadLine(1), 1);
    EXPECT_EQ(std::string(buffer, 2), "A#");
}

TEST_F(QivReadLine, AZeroByteIsAsGoodAsAny) {
    OpenOver(std::string("A\0B\n", 4));
    EXPECT_EQ(ReadLine(10), 3);
    EXPECT_EQ(std::string(buffer, 4), std::string("A\0B\0", 4));
}

TEST_F(QivReadLine, AFailedReadGivesMinusOne) {
    OpenOver("AB\n");
    FailingDisk disk;
    disk.Fail(FailingDisk::kRead, 1);
    EXPECT_EQ(ReadLine(10), -1);
    EXPECT_STREQ(buffer, "");
}

TEST_F(QivWriteLine, EndsTheLineInTheFilesFormat) {
    const struct {
        uint16_t format;
        const char *bytes;
    } cases[] = {{0, "AB\r\n"}, {1, "AB\r"}, {2, "AB\n"}, {3, "AB\r\n"}, {0xFFFF, "AB\r\n"}};
    for (const auto &c : cases) {
        Create(c.format);
        EXPECT_EQ(qivWriteLine(file, "ABC", 2), 2);
        EXPECT_EQ(Written(), c.bytes) << c.format;
    }
}

TEST_F(QivWriteLine, AnEmptyLineGivesZero) {
    Create(2);
    EXPECT_EQ(qivWriteLine(file, "", 0), 0);
    EXPECT_EQ(qivWriteLine(file, "", -1), 0);
    EXPECT_EQ(Written(), "\n\n");
}

TEST_F(QivWriteLine, AFailedLineEndIsTheResult) {
    for (const uint16_t format : {0, 1, 2}) {
        Create(format);
        WriteText(file, std::string(12285, 'x'));
        FailingDisk disk;
        disk.Fail(FailingDisk::kWrite, 1);
        EXPECT_EQ(qivWriteLine(file, "AB", 2), -1) << "the line end's byte fills the buffer";
        EXPECT_EQ(Record(file).bufPos, 12288) << "an LF after a CR that failed is not tried";
        EXPECT_EQ(qivWriteLine(file, "AB", 2), 0);
        Written();
    }
}

TEST_F(QivWriteLine, AFailedTextIsHiddenByALineEndThatSucceeds) {
    Create(2);
    WriteText(file, std::string(12287, 'x'));
    FailingDisk disk;
    disk.Fail(FailingDisk::kWrite, 1);
    // The text fills the buffer and fails; the end of the line finds the buffer full.
    EXPECT_EQ(qivWriteLine(file, "A", 1), 0);
}

int32_t writesOfOneByte;

// Claims one byte more than it was given for each write.
intptr_t BoastfulHost(uintptr_t, int32_t operation, void *, int32_t count) {
    writesOfOneByte += operation == KOWEN_IO_WRITE && count == 1 ? 1 : 0;
    return operation == KOWEN_IO_OPEN ? 7 : count + 1;
}

TEST(QivWriteLineToHost, ALineEndThatIsNotAnsweredWithOneIsTheResult) {
    QivIODesc descriptor = {};
    descriptor.procedure = BoastfulHost;
    const auto host = static_cast<FileHandle>(qivOpen("a", &descriptor, kCreateMode));
    for (const uint16_t format : {0, 1, 2}) {
        qivSetLineFormat(host, format);
        writesOfOneByte = 0;
        EXPECT_EQ(qivWriteLine(host, "ABCD", 4), 2) << format;
        EXPECT_EQ(writesOfOneByte, 1) << "no LF after a CR that was not answered with one";
    }
    qivClose(host);
}

TEST_F(QivGetLineFormat, FindsTheFirstLineEndAndRewinds) {
    const struct {
        const char *bytes;
        int32_t format;
    } cases[] = {{"A\r\nB\n", 0}, {"A\rB\n", 1}, {"A\nB\r", 2}, {"\n", 2}, {"\r", 1},
                 {"\r\r\n", 1},   {"\n\r", 2},   {"ABC", -1},   {"", -1}};
    for (const auto &c : cases) {
        OpenOver(c.bytes);
        EXPECT_EQ(qivGetLineFormat(file), c.format) << c.bytes;
        EXPECT_EQ(qivSeek(file, 0, kFromCurrent), 0);
        EXPECT_EQ(ReadText(file, 10), c.bytes);
        EXPECT_EQ(Record(file).lineFormat, 2) << "the setting is the caller's to make";
        EXPECT_EQ(Record(file).error, 0);
        qivClose(file);
        file = 0;
    }
}

TEST_F(QivGetLineFormat, StartsAtTheCurrentPosition) {
    OpenOver("A\nB\rC");
    ReadText(file, 2);
    EXPECT_EQ(qivGetLineFormat(file), 1);
    EXPECT_EQ(qivSeek(file, 0, kFromCurrent), 0);
}

TEST_F(QivGetLineFormat, LooksBeyondTheFirstBuffer) {
    OpenOver(std::string(30000, 'x') + "\r\n");
    EXPECT_EQ(qivGetLineFormat(file), 0);
    EXPECT_EQ(ReadText(file, 1), "x");
}

} // namespace
} // namespace kowen
