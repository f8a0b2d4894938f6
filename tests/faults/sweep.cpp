#include "faults/sweep.h"

#include <algorithm>

namespace kowen::test {
namespace {

/// What the process holds.
struct Holdings {
    int64_t blocks = LiveBlocks();
    int descriptors = OpenDescriptors();

    bool operator==(const Holdings &) const = default;
};

class Sweeper {
public:
    Sweeper(Scenario &subject, FaultKind failing, FaultMode how, SweepResult &sum)
        : scenario(subject), kind(failing), mode(how), result(sum) {}

    /// Shows the scenario what is right.
    void RunClean() { RunOnce(0, false); }

    /// One run with the k-th point failing, and the next export after it. Returns its report.
    FaultReport Try(int64_t k) {
        const FaultReport report = RunOnce(k, false);
        if (report.Failed()) {
            ++result.points;
            RunOnce(0, true);
        }
        return report;
    }

private:
    FaultReport RunOnce(int64_t k, bool after) {
        const Holdings before;
        scenario.Begin();
        ArmFaults(kind, mode, k);
        scenario.Run();
        const FaultReport report = DisarmFaults();
        std::string wrong = report.Failed() ? scenario.Judge(report) : scenario.JudgeClean();
        scenario.End();
        if (const Holdings now; !(now == before)) {
            ++result.leaks;
            wrong += " left " + std::to_string(now.blocks - before.blocks) + " blocks and " +
                     std::to_string(now.descriptors - before.descriptors) + " descriptors behind";
        }
        if (!wrong.empty())
            Note(k, report, after, wrong);
        point = after ? point : k;
        return report;
    }

    void Note(int64_t k, const FaultReport &report, bool after, const std::string &wrong) {
        if (result.findings++ != 0)
            return;
        result.firstFinding = scenario.Name() + ", " + NameOf(kind) + ", " + NameOf(mode) + ", " +
                              (after ? "the export after point " + std::to_string(point)
                                     : "point " + std::to_string(k) + " (" + report.first + ")") +
                              ": " + wrong;
    }

    Scenario &scenario;
    const FaultKind kind;
    const FaultMode mode;
    SweepResult &result;
    int64_t point = 0;
};

int64_t CountPoints(Scenario &scenario, FaultKind kind) {
    scenario.Begin();
    ArmFaults(kind, FaultMode::kOnlyThat, 0);
    scenario.Run();
    const int64_t points = DisarmFaults().points;
    scenario.End();
    return points;
}

// From the last byte on backwards, to a disk that takes none.
void SweepDisk(Sweeper &sweeper, int64_t bytes, int64_t points, SweepResult &result) {
    const int64_t step = std::max<int64_t>(1, bytes / points);
    for (int64_t room = bytes - 1; room > 0; room -= step)
        sweeper.Try(room + 1);
    if (bytes > 0)
        sweeper.Try(1);
    result.ended = !sweeper.Try(bytes + 1).Failed();
}

} // namespace

std::vector<FaultMode> ModesOf(FaultKind kind) {
    if (kind == FaultKind::kCancel)
        return {FaultMode::kOnlyThat, FaultMode::kThatAndNext, FaultMode::kThatAndAllLater};
    return {FaultMode::kOnlyThat, FaultMode::kThatAndAllLater};
}

SweepResult Sweep(Scenario &scenario, FaultKind kind, FaultMode mode, const SweepOptions &options) {
    SweepResult result;
    Sweeper sweeper(scenario, kind, mode, result);
    sweeper.RunClean();
    if (kind == FaultKind::kDiskFull) {
        SweepDisk(sweeper, CountPoints(scenario, kind), options.diskFullPoints, result);
        return result;
    }
    for (int64_t k = 1; k <= options.longestSweep && !result.ended; ++k)
        result.ended = !sweeper.Try(k).Failed();
    return result;
}

} // namespace kowen::test
