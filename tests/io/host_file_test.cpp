#include "io/files.h"
#include "support/failing_disk.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kowen {
namespace {

struct HostCall {
    uintptr_t handleOrContext;
    int32_t operation;
    void *argument;
    int32_t count;
    int32_t offset; // of a seek
};

std::vector<HostCall> hostCalls;
intptr_t answer;

intptr_t Host(uintptr_t handleOrContext, int32_t operation, void *argument, int32_t count) {
    HostCall call = {handleOrContext, operation, argument, count, 0};
    if (operation == 4)
        std::memcpy(&call.offset, argument, sizeof call.offset);
    hostCalls.push_back(call);
    return answer;
}

class HostFile : public testing::Test {
protected:
    HostFile() {
        hostCalls.clear();
        descriptor.procedure = Host;
        descriptor.location = &context;
    }

    FileHandle OpenNamed(const char *name, int32_t mode) {
        return static_cast<FileHandle>(qivOpen(name, &descriptor, mode));
    }
    static void ExpectLast(uintptr_t handle, int32_t operation, const void *argument,
                           int32_t count) {
        ASSERT_FALSE(hostCalls.empty());
        EXPECT_EQ(hostCalls.back().handleOrContext, handle);
        EXPECT_EQ(hostCalls.back().operation, operation);
        EXPECT_EQ(hostCalls.back().argument, argument);
        EXPECT_EQ(hostCalls.back().count, count);
    }

    int context = 0;
    QivIODesc descriptor = {};
};

using QivOpenHost = HostFile;

TEST_F(QivOpenHost, AsksWithTheContextAndKeepsTheAnswer) {
    answer = 77;
    const char *name = "picture.jpg";
    const FileHandle file = OpenNamed(name, kCreateMode);
    ASSERT_NE(file, 0u);
    ASSERT_EQ(hostCalls.size(), 1u);
    ExpectLast(reinterpret_cast<uintptr_t>(&context), 1, name, kCreateMode);
    EXPECT_EQ(Record(file).ioHandle, 77u);
    EXPECT_EQ(Record(file).fp, nullptr);
    EXPECT_EQ(Record(file).hBuf, 0u);
    EXPECT_EQ(Record(file).lineFormat, 2);
    answer = 0;
    EXPECT_EQ(qivClose(file), 0);
}

TEST_F(QivOpenHost, AHandleMayHaveEveryBit) {
    answer = -1;
    const FileHandle file = OpenNamed("a", 0);
    ASSERT_NE(file, 0u);
    qivRead(file, &context, 1);
    EXPECT_EQ(hostCalls.back().handleOrContext, UINTPTR_MAX);
    qivClose(file);
}

TEST_F(QivOpenHost, ServesFilesWithoutAName) {
    answer = 5;
    const FileHandle file = OpenNamed(nullptr, kCreateMode);
    ASSERT_NE(file, 0u);
    qivClose(file);
}

TEST_F(QivOpenHost, ARefusalWithoutANameFails) {
    answer = 0;
    EXPECT_EQ(OpenNamed("", kCreateMode), 0u);
    EXPECT_EQ(OpenNamed(nullptr, 0), 0u);
    EXPECT_EQ(hostCalls.size(), 2u);
}

TEST_F(QivOpenHost, ARefusedNameOpensTheDiskFileAndStillAsksTheProcedure) {
    TempDirectory directory;
    directory.Write("a", "text");
    FailingDisk disk;
    answer = 0;
    const FileHandle file = OpenNamed(directory.File("a").c_str(), kCreateMode);
    ASSERT_NE(file, 0u);
    EXPECT_EQ(directory.Read("a"), "") << "the mode has emptied it";
    answer = 3;
    EXPECT_EQ(WriteText(file, "abc"), 3);
    ExpectLast(0, 3, hostCalls.back().argument, 3);
    EXPECT_EQ(qivSeek(file, 9, kFromStart), 3);
    EXPECT_EQ(FillQivIOBuf(file), -1);
    EXPECT_EQ(disk.Reads().size(), 0u);
    EXPECT_EQ(qivClose(file), 3) << "the procedure's answer";
    ExpectLast(0, 5, nullptr, 0);
    EXPECT_EQ(disk.Calls(FailingDisk::kClose), 1) << "nothing leaks";
    EXPECT_EQ(disk.Calls(FailingDisk::kTell), 0) << "and nothing is measured";
    EXPECT_EQ(directory.Read("a"), "");
}

TEST_F(QivOpenHost, ARefusedNameThatIsNoFileFails) {
    TempDirectory directory;
    answer = 0;
    EXPECT_EQ(OpenNamed(directory.File("a").c_str(), 0), 0u);
}

TEST_F(QivOpenHost, ARefusedNameIsClosedWhenItIsDeletedToo) {
    TempDirectory directory;
    FailingDisk disk;
    answer = 0;
    const std::string name = directory.File("a");
    const FileHandle file = OpenNamed(name.c_str(), kCreateMode);
    EXPECT_EQ(qivCloseandDelete(file, name.c_str()), 0);
    ExpectLast(0, 5, nullptr, 512);
    EXPECT_EQ(disk.Calls(FailingDisk::kClose), 1);
    EXPECT_TRUE(directory.Has("a")) << "deleting is the procedure's business";
}

TEST_F(QivOpenHost, ARefusedStandardStreamStaysOpen) {
    FailingDisk disk;
    answer = 0;
    for (const char *name : {"stdin", "stdout"}) {
        const FileHandle file = OpenNamed(name, 1);
        ASSERT_NE(file, 0u) << name;
        qivClose(file);
    }
    EXPECT_EQ(disk.Calls(FailingDisk::kClose), 0);
}

TEST_F(QivOpenHost, ExistsAndDeleteHandTheAnswerOn) {
    const char *name = "picture.jpg";
    for (const intptr_t given : {0, 1, -1, 99}) {
        answer = given;
        EXPECT_EQ(qivOpen(name, &descriptor, 16384), given);
        ExpectLast(0, 6, name, 0);
        EXPECT_EQ(qivOpen(name, &descriptor, 512), given);
        ExpectLast(0, 7, name, 0);
    }
    EXPECT_EQ(hostCalls.size(), 8u);
}

TEST_F(QivOpenHost, WrapsAFileThatTheHostHasOpen) {
    descriptor.handle = 42;
    answer = 6;
    const FileHandle file = OpenNamed("ignored", -1);
    ASSERT_NE(file, 0u);
    EXPECT_TRUE(hostCalls.empty()) << "it is open already";
    EXPECT_EQ(Record(file).external, 1);
    EXPECT_EQ(qivRead(file, &context, 1), 6);
    ExpectLast(42, 2, &context, 1);
    EXPECT_EQ(qivClose(file), 6);
    ExpectLast(42, 5, nullptr, 0);
}

TEST_F(HostFile, EveryOperationIsOneCallAndHandsTheAnswerOn) {
    answer = 7;
    const FileHandle file = OpenNamed("a", kCreateMode);
    char bytes[10];
    answer = 4;
    EXPECT_EQ(qivRead(file, bytes, 10), 4);
    ExpectLast(7, 2, bytes, 10);
    answer = -1;
    EXPECT_EQ(qivWrite(file, bytes, 9), -1);
    ExpectLast(7, 3, bytes, 9);
    answer = 123;
    EXPECT_EQ(qivSeek(file, -8, 2), 123);
    EXPECT_EQ(hostCalls.back().handleOrContext, 7u);
    EXPECT_EQ(hostCalls.back().operation, 4);
    EXPECT_EQ(hostCalls.back().offset, -8);
    EXPECT_EQ(hostCalls.back().count, 2);
    EXPECT_EQ(qivSeek(file, 0, kFromCurrent), 123) << "asked for as well, not answered here";
    EXPECT_EQ(hostCalls.back().count, 1);
    answer = -5;
    EXPECT_EQ(qivClose(file), -5);
    ExpectLast(7, 5, nullptr, 0);
    EXPECT_EQ(hostCalls.size(), 6u);
}

TEST_F(HostFile, AWriteCutShortIsLostAndTheCloseSaysSo) {
    struct {
        std::vector<intptr_t> answers; ///< to writes of 1, 2 and 8 bytes
        bool lost;
    } const hosts[] = {{{1, 2, 8}, false}, {{1, 2, 9}, false}, {{1, 2, 7}, true},
                       {{1, 2, -1}, true}, {{1, 2, 0}, true},  {{0, 2, 8}, true},
                       {{-1, -1, 8}, true}};
    for (const auto &host : hosts) {
        answer = 7;
        const FileHandle file = OpenNamed("a", kCreateMode);
        const int32_t counts[] = {1, 2, 8};
        for (size_t i = 0; i < 3; ++i) {
            answer = host.answers[i];
            qivWrite(file, "12345678", counts[i]);
        }
        EXPECT_EQ(qivHasLost(file), host.lost);
        answer = 0;
        EXPECT_EQ(qivClose(file), host.lost ? -1 : 0);
    }
    EXPECT_FALSE(qivHasLost(0));
}

// "Done" and "well", whatever was asked.
TEST_F(HostFile, AProcedureThatDoesNotCountIsBelieved) {
    for (const intptr_t always : {0, 1, -1}) {
        answer = 7;
        const FileHandle file = OpenNamed("a", kCreateMode);
        answer = always;
        for (const int32_t count : {2, 1, 16, 0, 1})
            qivWrite(file, "0123456789ABCDEF", count);
        EXPECT_FALSE(qivHasLost(file)) << always;
        answer = 0;
        EXPECT_EQ(qivClose(file), 0);
    }
}

TEST_F(HostFile, CountsOfZeroReachTheHostAndNegativeOnesDoNot) {
    answer = 7;
    const FileHandle file = OpenNamed("a", kCreateMode);
    EXPECT_EQ(qivRead(file, &context, 0), 7);
    EXPECT_EQ(qivWrite(file, &context, 0), 7);
    EXPECT_EQ(hostCalls.size(), 3u);
    EXPECT_EQ(qivRead(file, &context, -1), 0);
    EXPECT_EQ(qivWrite(file, &context, -1), 0);
    EXPECT_EQ(hostCalls.size(), 3u);
    qivClose(file);
}

TEST_F(HostFile, HasNoBufferToFillOrFlush) {
    answer = 7;
    const FileHandle file = OpenNamed("a", kCreateMode);
    EXPECT_EQ(FillQivIOBuf(file), -1);
    EXPECT_EQ(FlushQivIO(file), 0);
    EXPECT_EQ(hostCalls.size(), 1u);
    qivClose(file);
}

TEST_F(HostFile, ComesBeforeDocumentStreams) {
    answer = 7;
    const FileHandle file = OpenNamed("a", kCreateMode);
    Record(file).isDoc = 1;
    EXPECT_EQ(qivRead(file, &context, 3), 7);
    EXPECT_EQ(qivWrite(file, &context, 3), 7);
    EXPECT_EQ(qivSeek(file, 3, 0), 7);
    EXPECT_EQ(hostCalls.size(), 4u);
    qivClose(file);
}

TEST_F(HostFile, CloseandDeleteAsksForTheDeletionAndAnswersZero) {
    TempDirectory directory;
    directory.Write("a", "text");
    answer = 7;
    const FileHandle file = OpenNamed("a", kCreateMode);
    void *owned = &context;
    Record(file).ownedData = &owned;
    answer = -1;
    EXPECT_EQ(qivCloseandDelete(file, directory.File("a").c_str()), 0);
    ExpectLast(7, 5, nullptr, 512);
    EXPECT_EQ(hostCalls.size(), 2u);
    EXPECT_TRUE(directory.Has("a"));
    EXPECT_EQ(owned, &context);
}

} // namespace
} // namespace kowen
