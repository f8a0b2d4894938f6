// What standard error has of mistakes that come again and again.
#include "check/planted.h"

#include <gtest/gtest.h>

#include <sstream>
#include <thread>

namespace kowen::test {
namespace {

/// The lines on standard error, of the host and of the closing.
std::vector<std::string> SaidOf(const std::function<void(CheckedHost &)> &use) {
    testing::internal::CaptureStderr();
    {
        CheckedHost host;
        use(host);
        host.Unload();
    }
    std::istringstream said(testing::internal::GetCapturedStderr());
    std::vector<std::string> lines;
    for (std::string line; std::getline(said, line);)
        lines.push_back(line);
    return lines;
}

std::string Begin(const std::string &line) {
    return line.substr(0, line.find(": ", 13));
}

constexpr char kMore[] = " is like one before; further ones of the kind are counted, and told in a "
                         "trace alone";

intptr_t TakesMoreThanGiven(uintptr_t, int32_t operation, void *, int32_t count) {
    return operation == KOWEN_IO_OPEN ? 1 : operation == KOWEN_IO_WRITE ? count + 1 : 0;
}

TEST(CheckTold, AMistakeInEveryWriteIsTwoLines) {
    size_t inTrace = 0;
    const std::vector<std::string> lines = SaidOf([&](CheckedHost &host) {
        WithSetup(host, [&](MemoryHandle setup) {
            host.escape(setup, KOWEN_ESCAPE_SET_HOST_IO, 4,
                        reinterpret_cast<const void *>(&TakesMoreThanGiven), nullptr, 0);
            host.Export(setup, host.MakeBitmap());
            host.free(host.alloc(0, 1)); // another one is not buried
        });
        inTrace = host.Mistakes().size();
    });
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(Begin(lines[0]), "kowen-check: mistake 1 [write-answer] in call 7, I/O procedure");
    EXPECT_EQ(lines[1],
              std::string("kowen-check: mistake 2 [write-answer] in call 7, I/O procedure") +
                  kMore);
    EXPECT_EQ(Begin(lines[2]), "kowen-check: mistake " + std::to_string(inTrace) +
                                   " [block-flags] in call 9, GlobalAlloc");
    EXPECT_GT(inTrace, 20u);
    EXPECT_EQ(lines[3], "kowen-check: 11 calls, " + std::to_string(inTrace) +
                            " mistakes (block-flags 1, write-answer " +
                            std::to_string(inTrace - 1) + ")");
}

TEST(CheckTold, RequestsToADeviceThatDoesNotRunAreTwoLines) {
    const std::vector<std::string> lines = SaidOf([](CheckedHost &host) {
        for (int i = 0; i < 9; ++i)
            host.Run(kOpenDevice);
    });
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(Begin(lines[0]), "kowen-check: mistake 1 [device-runs] in call 4, RASTER_dd_entry32");
    EXPECT_EQ(lines[1],
              std::string("kowen-check: mistake 2 [device-runs] in call 5, RASTER_dd_entry32") +
                  kMore);
    EXPECT_EQ(lines[2], "kowen-check: 12 calls, 9 mistakes (device-runs 9)");
}

TEST(CheckTold, CallsFromAnotherThreadAreFourLines) {
    const std::vector<std::string> lines = SaidOf([](CheckedHost &host) {
        WithSetup(host, [&](MemoryHandle setup) {
            Prank prank;
            prank.onStatus = [&] {
                std::thread([&] {
                    for (int i = 0; i < 9; ++i) {
                        host.version();
                        host.size(0);
                        host.lock(0);
                        host.unlock(0);
                    }
                }).join();
                return 0;
            };
            host.Export(setup, host.MakeBitmap(), CheckedHost::MakeCell(), &prank.record);
        });
    });
    ASSERT_EQ(lines.size(), 5u);
    EXPECT_EQ(lines[3],
              std::string("kowen-check: mistake 4 [one-thread] in call 10, GlobalUnlock") + kMore);
    EXPECT_EQ(lines[4].substr(lines[4].find(", ")), ", 36 mistakes (one-thread 36)");
}

TEST(CheckTold, DifferentOnesAreAllTold) {
    const std::vector<std::string> lines = SaidOf([](CheckedHost &host) {
        WithSetup(host, [&](MemoryHandle setup) {
            BitmapRecord bitmap = host.MakeBitmap();
            bitmap.height = 0;
            CellRecord cell = CheckedHost::MakeCell();
            cell.targetWidth = 0; // in the same call, of the same rule
            host.Export(setup, bitmap, cell);
        });
        for (uint32_t i = 1; i < 4; ++i)
            forgotten.push_back(host.alloc(KOWEN_GLOBAL_FLAGS, i));
    });
    ASSERT_EQ(lines.size(), 6u);
    EXPECT_EQ(Begin(lines[0]), "kowen-check: mistake 1 [empty] in call 6, ExportCellData");
    EXPECT_EQ(Begin(lines[1]), "kowen-check: mistake 2 [empty] in call 6, ExportCellData");
    for (int i = 2; i < 5; ++i)
        EXPECT_EQ(Begin(lines[i]),
                  "kowen-check: mistake " + std::to_string(i + 1) + " [unload] at unloading");
    EXPECT_EQ(lines[5], "kowen-check: 11 calls, 5 mistakes (unload 3, empty 2)");
}

TEST(CheckTold, NotesAreNoMistakes) {
    const std::vector<std::string> lines = SaidOf([](CheckedHost &host) {
        WithSetup(host, [&](MemoryHandle setup) {
            const HostIoProcedure procedure = [](uintptr_t, int32_t operation, void *,
                                                 int32_t count) -> intptr_t {
                return operation == KOWEN_IO_WRITE ? count : operation == KOWEN_IO_OPEN ? 7 : -1;
            };
            host.escape(setup, KOWEN_ESCAPE_SET_HOST_IO, 4,
                        reinterpret_cast<const void *>(procedure), nullptr, 0);
            host.Export(setup, host.MakeBitmap());
        });
    });
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].substr(0, 92),
              "kowen-check: note 1 [io-answer] in call 7, I/O procedure: it "
              "answered the close with -1. doc");
    EXPECT_EQ(lines[1], "kowen-check: 9 calls, 0 mistakes, 1 note (io-answer 1)");
}

} // namespace
} // namespace kowen::test
