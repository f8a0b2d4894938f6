#include "export/output_file.h"

#include "support/failing_memory.h"
#include "support/fake_host.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

namespace kowen {
namespace {

using namespace test;

class OutputFileTest : public testing::Test {
protected:
    ~OutputFileTest() override {
        CloseOutput(output.file);
        FreeOutputBlock(&block);
    }

    int32_t Open(const char *name, HostIoProcedure procedure = nullptr, uintptr_t context = 0) {
        return OpenOutput({name, procedure, context}, &block, &output);
    }
    /// Closes and resets, so that the fixture does not close again.
    int32_t Close() {
        const FileHandle file = output.file;
        output.file = 0;
        return CloseOutput(file);
    }
    void Put(const std::string &bytes) {
        ASSERT_EQ(qivWrite(output.file, bytes.data(), static_cast<int32_t>(bytes.size())),
                  static_cast<int32_t>(bytes.size()));
    }

    TempDirectory directory;
    HostFile hostFile;
    void *block = nullptr;
    OutputFile output = {};
};

using OpenOutputTest = OutputFileTest;
using CloseOutputTest = OutputFileTest;

TEST_F(OpenOutputTest, OpensANamedFileEmptied) {
    const std::string path = directory.Write("out.jpg", "old content");
    EXPECT_EQ(Open(path.c_str()), 0);
    EXPECT_EQ(output.kind, OutputKind::kNamed);
    EXPECT_NE(output.file, 0u);
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(OutputBlock(&block), 0u);
    Put("new");
    EXPECT_EQ(Close(), 0);
    EXPECT_EQ(directory.Read("out.jpg"), "new");
}

TEST_F(OpenOutputTest, ForgetsAnEarlierBlock) {
    uint8_t earlier = 0;
    block = &earlier;
    EXPECT_EQ(Open(directory.File("out.jpg").c_str()), 0);
    EXPECT_EQ(block, nullptr);
    CloseOutput(output.file);
    block = &earlier;
    EXPECT_EQ(Open("out.jpg", HostFile::Procedure), 0);
    EXPECT_EQ(block, nullptr);
}

TEST_F(OpenOutputTest, AFileThatCannotBeOpenedIsAnError) {
    EXPECT_EQ(Open(directory.File("no/such.jpg").c_str()), 303);
    EXPECT_EQ(output.file, 0u);
    EXPECT_EQ(output.kind, OutputKind::kNamed);
}

TEST_F(OpenOutputTest, WithoutANameStartsWithABlockOfOneByte) {
    for (const char *name : {static_cast<const char *>(nullptr), ""}) {
        EXPECT_EQ(Open(name), 0);
        EXPECT_EQ(output.kind, OutputKind::kMemory);
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(GlobalSize(OutputBlock(&block)), 1u);
        EXPECT_EQ(Close(), 0);
        FreeOutputBlock(&block);
        EXPECT_EQ(block, nullptr);
    }
}

TEST_F(OpenOutputTest, TheBlockGrowsInStepsAndTheCellFollows) {
    ASSERT_EQ(Open(nullptr), 0);
    const std::string bytes(5000, 'x');
    Put(bytes);
    EXPECT_EQ(Close(), 0);
    const MemoryHandle handle = OutputBlock(&block);
    ASSERT_NE(handle, 0u);
    EXPECT_EQ(GlobalLock(handle), block);
    EXPECT_EQ(GlobalSize(handle), 8192u);
    const std::string content(static_cast<char *>(block), GlobalSize(handle));
    EXPECT_EQ(content, bytes + '\xFF' + std::string(3191, '\0'));
}

TEST_F(OpenOutputTest, TheHostsProcedureComesFirst) {
    const std::string path = directory.File("out.jpg");
    EXPECT_EQ(Open(path.c_str(), HostFile::Procedure, 0x4711), 0);
    EXPECT_EQ(output.kind, OutputKind::kHost);
    EXPECT_EQ(hostFile.openContext, 0x4711u);
    EXPECT_EQ(hostFile.openMode, 4097);
    EXPECT_EQ(hostFile.openName, path);
    Put("abc");
    EXPECT_EQ(Close(), 0);
    EXPECT_EQ(hostFile.bytes, "abc");
    EXPECT_FALSE(directory.Has("out.jpg"));
}

TEST_F(OpenOutputTest, TheHostsProcedureIsAskedWithoutANameToo) {
    for (const char *name : {static_cast<const char *>(nullptr), ""}) {
        hostFile.openName = "unset";
        EXPECT_EQ(Open(name, HostFile::Procedure), 0);
        EXPECT_EQ(output.kind, OutputKind::kHost);
        EXPECT_EQ(hostFile.openName, "");
        EXPECT_EQ(block, nullptr);
        EXPECT_EQ(Close(), 0);
    }
}

TEST_F(OpenOutputTest, DoesNotCheckTheHostsAnswer) {
    hostFile.refuses = true;
    EXPECT_EQ(Open("", HostFile::Procedure), 0);
    EXPECT_EQ(output.file, 0u);
    EXPECT_EQ(output.kind, OutputKind::kHost);
}

TEST_F(OpenOutputTest, WithoutMemoryForTheBlockThereIsNone) {
    FailingMemory memory(1);
    EXPECT_EQ(Open(nullptr), 21);
    EXPECT_EQ(output.file, 0u);
    EXPECT_EQ(block, nullptr);
}

TEST_F(OpenOutputTest, WithoutMemoryForTheFileTheBlockStays) {
    {
        FailingMemory memory(2);
        EXPECT_EQ(Open(nullptr), 303);
    }
    EXPECT_EQ(output.file, 0u);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(GlobalSize(OutputBlock(&block)), 1u);
}

TEST_F(OpenOutputTest, ABlockThatCannotGrowIsGone) {
    ASSERT_EQ(Open(nullptr), 0);
    {
        FailingMemory memory(1);
        EXPECT_EQ(qivWrite(output.file, "0123456789", 10), -1);
    }
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(OutputBlock(&block), 0u);
    EXPECT_EQ(Close(), -1);
    FreeOutputBlock(&block);
}

TEST_F(CloseOutputTest, ReportsAFailure) {
    hostFile.closeAnswer = 9;
    ASSERT_EQ(Open("x", HostFile::Procedure), 0);
    EXPECT_EQ(Close(), 9);
    EXPECT_EQ(CloseOutput(0), -1);
}

TEST_F(CloseOutputTest, ClearsTheFileFromTheSetups) {
    TestSetup current;
    TestSetup device; // the later one is current
    lpSetup = Lock<SetupRecord>(current.handle);
    ASSERT_EQ(Open(nullptr), 0);
    current->header.outputFile = device->header.outputFile = output.file;
    EXPECT_EQ(Close(), 0);
    EXPECT_EQ(current->header.outputFile, 0u);
    EXPECT_EQ(device->header.outputFile, 0u);
}

TEST_F(CloseOutputTest, KeepsAnotherFileInTheSetup) {
    TestSetup setup;
    ASSERT_EQ(Open(nullptr), 0);
    setup->header.outputFile = 0x1230;
    EXPECT_EQ(Close(), 0);
    EXPECT_EQ(setup->header.outputFile, 0x1230u);
}

} // namespace
} // namespace kowen
