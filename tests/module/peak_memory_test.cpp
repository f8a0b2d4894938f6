// How much memory an export takes at most, beside the picture that the host holds.
#include "support/child_process.h"
#include "support/emulator.h"
#include "support/module_host.h"
#include "support/temp_directory.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace {

constexpr long kMebibyte = 1024 * 1024;
constexpr long kGrowthStep = 4096;
constexpr uint16_t kWidth = 2000;

struct Usage {
    long grownBytes; ///< the process's peak during the export, less what it held before
    long jpegBytes;  ///< the memory block, or the file
    int32_t result;
};

/// A line of /proc/self/status, in bytes; -1 where there is none.
long StatusBytes(const char *name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.compare(0, std::strlen(name), name) == 0)
            return std::stol(line.substr(line.find_first_of("0123456789"))) * 1024;
    return -1;
}

/// Makes the present use the peak. Whether the system can do that.
bool ResetPeak() {
    std::ofstream references("/proc/self/clear_refs");
    references << "5" << std::flush;
    return references.good() && StatusBytes("VmHWM:") >= 0;
}

/// Noise with a seed, so that the coded picture is about as large as it can be.
void FillWithNoise(uint8_t *pixels, size_t bytes) {
    uint32_t state = 1;
    for (size_t i = 0; i < bytes; ++i) {
        state = state * 1664525u + 1013904223u;
        pixels[i] = static_cast<uint8_t>(state >> 24);
    }
}

Usage Export(uint16_t height, const char *outputName, bool noise) {
    const ModuleHost module;
    const auto lock = module.Symbol<GlobalLockFunction>("GlobalLock");
    const size_t bytes = size_t{kWidth} * height * 3;
    BitmapRecord bitmap = {};
    bitmap.depth = 24;
    bitmap.width = kWidth;
    bitmap.height = height;
    bitmap.pixels = module.Symbol<GlobalAllocFunction>("GlobalAlloc")(KOWEN_GLOBAL_FLAGS,
                                                                      static_cast<uint32_t>(bytes));
    std::memset(lock(bitmap.pixels), 0x80, bytes);
    if (noise)
        FillWithNoise(static_cast<uint8_t *>(lock(bitmap.pixels)), bytes);
    CellRecord cell = {};
    cell.resolution = cell.targetResolution = 96;
    cell.targetWidth = cell.pageWidth = kWidth;
    cell.targetHeight = cell.pageHeight = height;
    ExportRecord record = {};
    HostRecord host = {};
    host.setup =
        module.Entry<CreateSetupFunction>("CreateSetup")(0, "/absent/p.ini", nullptr, nullptr);
    host.exportRecord = &record;

    Usage usage = {-1, 0, 0};
    if (!ResetPeak())
        return usage;
    const long before = StatusBytes("VmHWM:");
    usage.result =
        module.Entry<ExportCellDataFunction>("ExportCellData")(outputName, &bitmap, &cell, &host);
    usage.grownBytes = StatusBytes("VmHWM:") - before;
    if (record.memoryBlock != 0)
        usage.jpegBytes = module.Symbol<GlobalSizeFunction>("GlobalSize")(record.memoryBlock);
    return usage;
}

/// The same in a process of its own, whose memory nothing else has used.
Usage ExportAlone(uint16_t height, const char *outputName, bool noise) {
    const ChildResult child = RunInChild([=] {
        const Usage usage = Export(height, outputName, noise);
        std::printf("%ld %ld %d", usage.grownBytes, usage.jpegBytes, usage.result);
        std::fflush(stdout);
        return 0;
    });
    Usage usage = {-1, 0, -1};
    std::sscanf(child.output.c_str(), "%ld %ld %d", &usage.grownBytes, &usage.jpegBytes,
                &usage.result);
    return usage;
}

class PeakMemory : public testing::Test {
protected:
    void SetUp() override {
#ifdef KOWEN_SANITIZED
        GTEST_SKIP() << "the sanitizer's own memory counts too";
#endif
        if (!kEmulator.empty())
            GTEST_SKIP() << "the emulator's own memory counts too";
        if (!ResetPeak())
            GTEST_SKIP() << "the system does not tell the peak";
    }
};

TEST_F(PeakMemory, OfAFileDoesNotDependOnTheHeight) {
    // Headers, 20 bits for each flat MCU, 125 of which make 8 rows, and EOI.
    const std::pair<uint16_t, size_t> kFileBytes[] = {
        {16, 607 + 625 + 2}, {1000, 607 + 39063 + 2}, {12000, 607 + 468750 + 2}};
    const TempDirectory directory;
    const std::string path = directory.File("out.jpg");
    for (const auto &[height, fileBytes] : kFileBytes) {
        const Usage usage = ExportAlone(height, path.c_str(), false);
        EXPECT_EQ(usage.result, KOWEN_OK);
        EXPECT_EQ(directory.Read("out.jpg").size(), fileBytes);
        EXPECT_GE(usage.grownBytes, 0) << height;
        EXPECT_LE(usage.grownBytes, 2 * kMebibyte) << height;
    }
}

TEST_F(PeakMemory, OfAMemoryBlockIsTheJpegAndAStepMore) {
    for (const uint16_t height : {16, 1000, 12000}) {
        const Usage usage = ExportAlone(height, nullptr, true);
        EXPECT_EQ(usage.result, KOWEN_OK);
        EXPECT_GE(usage.grownBytes, 0) << height;
        EXPECT_LE(usage.grownBytes, usage.jpegBytes + kGrowthStep + 2 * kMebibyte) << height;
        if (height == 12000) {
            EXPECT_GT(usage.jpegBytes, 10 * kMebibyte) << "noise is expected to take that much";
        }
    }
}

} // namespace
