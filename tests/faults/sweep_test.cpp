// The sweep itself: it must find what is wrong. Each scenario here has one defect.
#include "faults/sweep.h"

#include "platform/global_memory.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <string>
#include <unistd.h>
#include <utility>

namespace kowen::test {
namespace {

/// Three blocks, one after the other; what a case does differently is handed over.
class ThreeBlocks : public Scenario {
public:
    std::function<void()> withoutSecond = [] {};
    bool leaksFirst = false;    ///< when the third is missing
    bool spoilsTheNext = false; ///< after a failure nothing works any more

    std::string Name() const override { return "three blocks"; }
    bool Has(FaultKind kind) const override { return kind == FaultKind::kHeap; }
    void Begin() override { got = 0; }
    void Run() override {
        if (broken)
            return;
        MemoryHandle blocks[3] = {};
        while (got < 3 && (blocks[got] = GlobalAlloc(kGlobalFlags, 8)) != 0)
            ++got;
        if (got == 1)
            withoutSecond();
        broken = spoilsTheNext && got < 3;
        if (leaksFirst && got == 2)
            std::swap(blocks[0], leaked);
        for (const MemoryHandle block : blocks)
            GlobalFree(block);
    }
    std::string Judge(const FaultReport &report) override {
        return report.failures >= 1 && got < 3 ? "" : "no block failed";
    }
    std::string JudgeClean() override { return got == 3 ? "" : "a block is missing"; }
    void End() override {}

    MemoryHandle leaked = 0;

private:
    int got = 0;
    bool broken = false;
};

SweepResult SweepHeap(ThreeBlocks &scenario, FaultMode mode = FaultMode::kOnlyThat) {
    return Sweep(scenario, FaultKind::kHeap, mode);
}

TEST(Sweep, TriesEveryPointAndEnds) {
    for (const FaultMode mode : {FaultMode::kOnlyThat, FaultMode::kThatAndAllLater}) {
        ThreeBlocks scenario;
        const SweepResult result = SweepHeap(scenario, mode);
        EXPECT_EQ(result.points, 3);
        EXPECT_EQ(result.findings, 0) << result.firstFinding;
        EXPECT_TRUE(result.ended);
    }
}

TEST(Sweep, FindsALostBlock) {
    ThreeBlocks scenario;
    scenario.leaksFirst = true;
    const SweepResult result = SweepHeap(scenario);
    GlobalFree(scenario.leaked);
    EXPECT_EQ(result.leaks, 1);
    EXPECT_EQ(result.findings, 1);
    EXPECT_EQ(result.firstFinding,
              "three blocks, heap, only that, point 3 (calloc):  left 1 blocks "
              "and 0 descriptors behind");
}

TEST(Sweep, FindsALostDescriptor) {
    ThreeBlocks scenario;
    int lost = -1;
    scenario.withoutSecond = [&lost] { lost = open("/dev/null", O_RDONLY); };
    const SweepResult result = SweepHeap(scenario);
    EXPECT_EQ(result.leaks, 1);
    EXPECT_EQ(result.points, 3);
    close(lost);
}

TEST(Sweep, FindsWhatIsWrongInTheNextRun) {
    ThreeBlocks scenario;
    scenario.spoilsTheNext = true;
    const SweepResult result = SweepHeap(scenario);
    EXPECT_EQ(result.firstFinding,
              "three blocks, heap, only that, the export after point 1: a block is missing");
}

TEST(Sweep, StopsWhereASweepHasNoEnd) {
    class Endless : public ThreeBlocks {
        void Run() override {
            MemoryHandle block;
            while ((block = GlobalAlloc(kGlobalFlags, 8)) != 0 && ++blocks % 100 != 0)
                GlobalFree(block);
            GlobalFree(block);
        }
        std::string JudgeClean() override { return ""; }
        int blocks = 0;
    };
    Endless scenario;
    SweepOptions options;
    options.longestSweep = 5;
    const SweepResult result =
        Sweep(scenario, FaultKind::kHeap, FaultMode::kThatAndAllLater, options);
    EXPECT_EQ(result.points, 5);
    EXPECT_FALSE(result.ended);
}

TEST(FaultPoints, FailTheChosenCall) {
    const auto outcome = [](FaultMode mode) {
        ArmFaults(FaultKind::kHeap, mode, 2);
        std::string text;
        for (int i = 0; i < 4; ++i) {
            const MemoryHandle block = GlobalAlloc(kGlobalFlags, 8);
            text += block != 0 ? '+' : '-';
            GlobalFree(block);
        }
        const FaultReport report = DisarmFaults();
        EXPECT_EQ(report.points, 4);
        EXPECT_EQ(report.first, "calloc");
        EXPECT_EQ(report.messages, report.failures);
        return text;
    };
    EXPECT_EQ(outcome(FaultMode::kOnlyThat), "+-++");
    EXPECT_EQ(outcome(FaultMode::kThatAndNext), "+--+");
    EXPECT_EQ(outcome(FaultMode::kThatAndAllLater), "+---");
}

TEST(FaultPoints, AFullDiskTakesWhatFits) {
    const auto written = [](FaultMode mode) {
        std::FILE *file = std::tmpfile();
        ArmFaults(FaultKind::kDiskFull, mode, 8);
        const std::size_t first = std::fwrite("12345", 1, 5, file);
        const std::size_t second = std::fwrite("67890", 1, 5, file);
        const std::size_t third = std::fwrite("abc", 1, 3, file);
        const FaultReport report = DisarmFaults();
        EXPECT_TRUE(report.Failed());
        EXPECT_EQ(report.points, 13);
        std::fclose(file);
        return std::to_string(first) + std::to_string(second) + std::to_string(third);
    };
    EXPECT_EQ(written(FaultMode::kThatAndAllLater), "520");
    EXPECT_EQ(written(FaultMode::kOnlyThat), "523");
}

} // namespace
} // namespace kowen::test
