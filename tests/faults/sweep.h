// The sweep: one scenario, one kind of failure; the first point fails, then the second, and so on
// until none is left. After each run everything is looked at, and the next run, in which nothing
// fails, must be exact.
#pragma once

#include "faults/scenario.h"

#include <cstdint>
#include <string>
#include <vector>

namespace kowen::test {

struct SweepOptions {
    int64_t diskFullPoints = 100;  ///< places at which a disk is full; spread over larger files
    int64_t longestSweep = 100000; ///< a sweep that does not end before has gone wrong
};

struct SweepResult {
    int64_t points = 0;   ///< failure points that were made to fail
    int64_t leaks = 0;    ///< runs that left blocks or descriptors behind
    int64_t findings = 0; ///< runs with anything wrong, leaks included
    std::string firstFinding;
    bool ended = false; ///< the end was reached: nothing failed in the last run
};

/// The modes in which a kind is swept.
std::vector<FaultMode> ModesOf(FaultKind kind);

SweepResult Sweep(Scenario &scenario, FaultKind kind, FaultMode mode,
                  const SweepOptions &options = {});

} // namespace kowen::test
