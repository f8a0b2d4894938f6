// Where the bitmap door's output goes other than to a file: a memory block and a file that the host
// serves.
#include "module/export_host.h"
#include "support/hex.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using Bytes = ExportBytes;

class MemoryOutput : public testing::Test {
protected:
    ExportHost host;
};

// The JPEG, one byte 255, zeros to the end.
TEST_F(MemoryOutput, BlockHoldsTheFileAByte255AndZeros) {
    for (const int width : {1, 16, 64, 200, 400}) {
        const TestBitmap bitmap = MakeNoise(width, 40);
        const ExportRun run = host.ExportToMemory(
            bitmap, MakeSettings(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 95));
        EXPECT_EQ(run.result, 0);
        const Bytes jpeg =
            PlainExport(bitmap, MakeSettings(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 95));
        ASSERT_GT(run.block.size(), jpeg.size());
        EXPECT_TRUE(BeginsWith(run.block, jpeg));
        EXPECT_EQ(run.block[jpeg.size()], 255);
        for (size_t i = jpeg.size() + 1; i < run.block.size(); ++i)
            ASSERT_EQ(run.block[i], 0) << i;
        EXPECT_TRUE(EndsWith(run.jpeg, kEndOfImage));
    }
}

// 4096 bytes at first, 4096 more whenever they are full.
TEST_F(MemoryOutput, BlockGrowsBy4096) {
    size_t largest = 0;
    for (int width = 8; width <= 640; width += 8) {
        const ExportRun run =
            host.ExportToMemory(MakeNoise(width, 32),
                                MakeSettings(KOWEN_FORMAT_RGB444, KOWEN_OPERATION_SEQUENTIAL, 100));
        const size_t content = run.jpeg.size() + 1;
        ASSERT_EQ(run.block.size() % 4096, 0u);
        ASSERT_GE(run.block.size(), content);
        ASSERT_LE(run.block.size(), content + 4096);
        largest = std::max(largest, run.block.size());
    }
    EXPECT_GT(largest, 10 * 4096u);
}

// Sizes around each growth: the handle is that of the block that the close left.
TEST_F(MemoryOutput, HandleIsRightJustAfterAGrowth) {
    std::vector<size_t> remainders;
    for (int width = 1; width <= 400; ++width) {
        const TestBitmap bitmap = MakeNoise(width, 16, static_cast<uint32_t>(width));
        const ExportSettings settings =
            MakeSettings(KOWEN_FORMAT_GREY, KOWEN_OPERATION_SEQUENTIAL, 100);
        const ExportRun run = host.ExportToMemory(bitmap, settings);
        ASSERT_EQ(run.jpeg, PlainExport(bitmap, settings)) << width;
        remainders.push_back(run.jpeg.size() % 4096);
    }
    // Some of them end within 40 bytes of a growth, on either side.
    EXPECT_TRUE(std::any_of(remainders.begin(), remainders.end(), [](size_t r) { return r < 40; }));
    EXPECT_TRUE(
        std::any_of(remainders.begin(), remainders.end(), [](size_t r) { return r >= 4056; }));
}

TEST_F(MemoryOutput, NullNameIsMemoryOutputToo) {
    const TestBitmap bitmap = MakeNoise(16, 8);
    const MemoryHandle setup = host.MakeSetup(MakeSettings(KOWEN_FORMAT_YCC422));
    ExportRecord record = {};
    const ExportRun run = host.Export(nullptr, bitmap, CellFor(bitmap), setup, &record);
    host.destroySetup(setup);
    EXPECT_EQ(run.result, 0);
    EXPECT_EQ(run.jpeg, PlainExport(bitmap, MakeSettings(KOWEN_FORMAT_YCC422)));
}

/// Serves one file, keeps every call.
class IoRecorder {
public:
    struct Call {
        int32_t operation;
        int32_t count;
        bool operator==(const Call &) const = default;
    };

    static intptr_t Procedure(uintptr_t handle, int32_t operation, void *argument, int32_t count) {
        auto &self = *reinterpret_cast<IoRecorder *>(
            operation == KOWEN_IO_OPEN ? handle : handle - kHandleOffset);
        self.calls.push_back({operation, count});
        if (operation == KOWEN_IO_OPEN) {
            self.name = static_cast<const char *>(argument);
            return self.refuses ? 0 : static_cast<intptr_t>(handle + kHandleOffset);
        }
        if (operation == KOWEN_IO_WRITE) {
            const auto *bytes = static_cast<const uint8_t *>(argument);
            self.bytes.insert(self.bytes.end(), bytes, bytes + count);
            return count;
        }
        return 0;
    }

    std::string name = "not opened";
    bool refuses = false;
    std::vector<Call> calls;
    Bytes bytes;

private:
    static constexpr uintptr_t kHandleOffset = 1; // a handle is not the context
};

void ServeOutput(const ExportHost &host, MemoryHandle setup, HostIoProcedure procedure) {
    EXPECT_EQ(host.escapeSetup(setup, KOWEN_ESCAPE_SET_HOST_IO, 4,
                               reinterpret_cast<const void *>(procedure), nullptr, 0),
              1);
}

class HostServedOutput : public testing::Test {
protected:
    ~HostServedOutput() override {
        if (setup != 0)
            host.destroySetup(setup);
    }

    int32_t Export(const char *name, const TestBitmap &bitmap, const ExportSettings &settings) {
        setup = host.MakeSetup(settings);
        ServeOutput(host, setup, &IoRecorder::Procedure);
        record.ioContext = reinterpret_cast<uintptr_t>(&io);
        return host.Export(name, bitmap, CellFor(bitmap), setup, &record).result;
    }

    ExportHost host;
    MemoryHandle setup = 0;
    ExportRecord record = {};
    IoRecorder io;
};

TEST_F(HostServedOutput, IsOpenedWrittenAndClosedInThatOrder) {
    const TestBitmap bitmap = MakeNoise(40, 20);
    EXPECT_EQ(Export("anything at all", bitmap, MakeSettings(KOWEN_FORMAT_YCC422)), 0);
    EXPECT_EQ(io.name, "anything at all");
    EXPECT_EQ(io.bytes, PlainExport(bitmap, MakeSettings(KOWEN_FORMAT_YCC422)));
    ASSERT_GE(io.calls.size(), 3u);
    EXPECT_EQ(io.calls.front(),
              (IoRecorder::Call{KOWEN_IO_OPEN, KOWEN_MODE_CREATE | KOWEN_MODE_WRITE}));
    EXPECT_EQ(io.calls.back(), (IoRecorder::Call{KOWEN_IO_CLOSE, 0}));
    for (size_t i = 1; i + 1 < io.calls.size(); ++i)
        EXPECT_EQ(io.calls[i].operation, KOWEN_IO_WRITE) << i;
    EXPECT_EQ(record.memoryBlock, 0u);
}

// The end of the calls: each MCU row in one write, the last bits, EOI.
TEST_F(HostServedOutput, GetsEachMcuRowInOneWrite) {
    const TestBitmap bitmap = MakeNoise(40, 20);
    EXPECT_EQ(Export("x", bitmap, MakeSettings(KOWEN_FORMAT_YCC422)), 0);
    kowen::reference::Coder coder(KOWEN_OPERATION_SEQUENTIAL, 75);
    const auto picture =
        kowen::reference::MappedPicture(bitmap.pixels, 40, 20, KOWEN_FORMAT_YCC422);
    std::vector<int32_t> sizes;
    size_t before = 0;
    for (const int rows : {8, 8, 4}) {
        kowen::reference::CodeBand422(coder,
                                      picture.Rows(static_cast<int>(sizes.size()) * 8, rows));
        sizes.push_back(static_cast<int32_t>(coder.bits.Bytes().size() - before));
        before = coder.bits.Bytes().size();
    }
    coder.bits.PadWithOnes();
    if (coder.bits.Bytes().size() > before)
        sizes.push_back(static_cast<int32_t>(coder.bits.Bytes().size() - before));
    sizes.push_back(2); // EOI
    ASSERT_GT(io.calls.size(), sizes.size() + 1);
    const size_t first = io.calls.size() - 1 - sizes.size();
    for (size_t i = 0; i < sizes.size(); ++i)
        EXPECT_EQ(io.calls[first + i].count, sizes[i]) << i;
}

TEST_F(HostServedOutput, LargeBandsComeInPiecesOf32767) {
    const TestBitmap bitmap = MakeNoise(640, 80);
    EXPECT_EQ(
        Export("x", bitmap, MakeSettings(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_PROGRESSIVE, 100)),
        0);
    EXPECT_EQ(io.bytes, PlainExport(bitmap, MakeSettings(KOWEN_FORMAT_YCC422,
                                                         KOWEN_OPERATION_PROGRESSIVE, 100)));
    const size_t scans = io.bytes.size() - (20 + 134 + 19 + 448) - 2;
    ASSERT_GT(scans, 2 * 32767u);
    std::vector<int32_t> sizes;
    for (size_t left = scans; left > 0; left -= std::min<size_t>(left, 32767))
        sizes.push_back(static_cast<int32_t>(std::min<size_t>(left, 32767)));
    sizes.push_back(2); // EOI
    const size_t first = io.calls.size() - 1 - sizes.size();
    for (size_t i = 0; i < sizes.size(); ++i)
        EXPECT_EQ(io.calls[first + i].count, sizes[i]) << i;
}

TEST_F(HostServedOutput, EmptyNameGoesToTheProcedureNotToMemory) {
    const TestBitmap bitmap = MakeNoise(16, 8);
    EXPECT_EQ(Export("", bitmap, MakeSettings(KOWEN_FORMAT_YCC422)), 0);
    EXPECT_EQ(io.name, "");
    EXPECT_EQ(io.bytes, PlainExport(bitmap, MakeSettings(KOWEN_FORMAT_YCC422)));
    EXPECT_EQ(record.memoryBlock, 0u);
}

TEST_F(HostServedOutput, RefusedOpenOfAnImpossibleNameGives303) {
    io.refuses = true;
    const std::string path = host.directory.File("absent/a.jpg");
    EXPECT_EQ(Export(path.c_str(), MakeNoise(16, 8), MakeSettings(KOWEN_FORMAT_YCC422)), 303);
    EXPECT_EQ(io.calls.size(), 1u);
}

} // namespace
