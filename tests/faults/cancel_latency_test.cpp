// From the host's answer that it stops to the return of the export nothing is drawn, coded or
// written any more.
#include "faults/scenarios.h"
#include "faults/sweep.h"

#include <gtest/gtest.h>

namespace kowen::test {
namespace {

class CancelLatency : public testing::TestWithParam<ExportCase> {};

// The scenario looks at the writes that its host gets, and at the allocations, of which every step
// of a picture needs some.
TEST_P(CancelLatency, NothingIsDoneAfterTheStop) {
    const auto scenario = MakeExportScenario(GetParam());
    for (const FaultMode mode : {FaultMode::kThatAndNext, FaultMode::kThatAndAllLater}) {
        const SweepResult result = Sweep(*scenario, FaultKind::kCancel, mode);
        EXPECT_EQ(result.findings, 0) << result.firstFinding;
        EXPECT_GE(result.points, 1);
    }
}

ExportCase Large(DoorKind door, Output output, int depth, int operation, int target) {
    return {door, output, depth,  640, 480, Pattern::kSoft, KOWEN_FORMAT_YCC422, operation,
            75,   target, target, 0,   0};
}

constexpr int kSequential = KOWEN_OPERATION_SEQUENTIAL;
constexpr int kProgressive = KOWEN_OPERATION_PROGRESSIVE;

INSTANTIATE_TEST_SUITE_P(
    EveryDoor, CancelLatency,
    testing::Values(Large(DoorKind::kBitmap, Output::kHost, 24, kSequential, 0),
                    Large(DoorKind::kBitmap, Output::kHost, 8, kProgressive, 0),
                    Large(DoorKind::kBitmap, Output::kMemory, 24, kSequential, 0),
                    Large(DoorKind::kRaster, Output::kHost, 24, kSequential, 0),
                    Large(DoorKind::kRaster, Output::kFile, 8, kProgressive, 0),
                    Large(DoorKind::kRasterCells, Output::kHost, 8, kSequential, 200),
                    Large(DoorKind::kRasterCells, Output::kHost, 8, kSequential, 900)));

} // namespace
} // namespace kowen::test
