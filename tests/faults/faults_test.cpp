// The sweeps of every day: tiny pictures, every failure point.
#include "faults/scenarios.h"
#include "faults/sweep.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace kowen::test {
namespace {

class FaultSweep : public testing::TestWithParam<NamedScenario> {};

TEST_P(FaultSweep, EveryPointMayFail) {
    const auto scenario = GetParam().make();
    for (const FaultKind kind : kAllKinds)
        for (const FaultMode mode : ModesOf(kind)) {
            if (!scenario->Has(kind))
                continue;
            const SweepResult result = Sweep(*scenario, kind, mode);
            EXPECT_TRUE(result.ended);
            EXPECT_EQ(result.findings, 0) << result.firstFinding;
            if (kind == FaultKind::kHeap) {
                EXPECT_GE(result.points, 1);
            }
        }
}

std::string TestName(const testing::TestParamInfo<NamedScenario> &given) {
    std::string name = given.param.name;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(EveryDoor, FaultSweep, testing::ValuesIn(SmallScenarios()), TestName);

// The table says which file is right; here a reference implementation of the filter says the same.
TEST(FaultScenarios, TheRightFilesAreThoseOfTheReference) {
    int compared = 0;
    for (const ExportCase &given : SmallExports()) {
        if (given.colorFormat > KOWEN_FORMAT_GREY && given.colorFormat < KOWEN_FORMAT_RGB444)
            continue; // these reduce the colours
        const std::string file = PlainFile(given);
        EXPECT_EQ(file.size(), given.bytes) << NameOf(given);
        EXPECT_EQ(given.bytes != 0 ? Fnv1a(file) : 0, given.checksum) << NameOf(given);
        ++compared;
    }
    EXPECT_EQ(compared, 30);
}

TEST(FaultScenarios, Fnv1aIsThePublishedOne) {
    EXPECT_EQ(Fnv1a(""), 0xCBF29CE484222325u);
    EXPECT_EQ(Fnv1a("a"), 0xAF63DC4C8601EC8Cu);
    EXPECT_EQ(Fnv1a("foobar"), 0x85944171F73967E8u);
}

// How many points there are is known where little happens: the sweep reaches all of them.
TEST(FaultScenarios, PointsOfASmallExport) {
    const auto points = [](const ExportCase &given, FaultKind kind) {
        const auto scenario = MakeExportScenario(given);
        return Sweep(*scenario, kind, FaultMode::kOnlyThat).points;
    };
    const ExportCase toFile = {DoorKind::kExport,
                               Output::kFile,
                               24,
                               1,
                               1,
                               Pattern::kSoft,
                               KOWEN_FORMAT_YCC422,
                               KOWEN_OPERATION_SEQUENTIAL,
                               75,
                               0,
                               0,
                               0,
                               0};
    // The file's record and its buffer.
    EXPECT_EQ(points(toFile, FaultKind::kHeap), 2);
    // fopen, fstat, ftello, fseeko, ftello, fseeko, fclose.
    EXPECT_EQ(points(toFile, FaultKind::kFile), 7);
    ExportCase toHost = toFile;
    toHost.output = Output::kHost;
    // The open and the close.
    EXPECT_EQ(points(toHost, FaultKind::kHostError), 2);
}

} // namespace
} // namespace kowen::test
