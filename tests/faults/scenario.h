// A piece of work that is run again and again while one thing after another fails in it.
#pragma once

#include "faults/fault_points.h"

#include <memory>
#include <string>
#include <vector>

namespace kowen::test {

/// What a host does with the filter, and what it may find afterwards. Runs can follow each other.
class Scenario {
public:
    virtual ~Scenario() = default;

    virtual std::string Name() const = 0;
    /// Whether failures of that kind can happen in it at all.
    virtual bool Has(FaultKind kind) const = 0;

    /// Makes the host's own things. Nothing fails here.
    virtual void Begin() = 0;
    /// The work; what is armed fails in it.
    virtual void Run() = 0;
    /// Returns what is wrong about a run in which something failed, empty for nothing.
    virtual std::string Judge(const FaultReport &report) = 0;
    /// The same for a run in which nothing failed: everything must be exact.
    virtual std::string JudgeClean() = 0;
    /// Ends the host's things. The filter holds nothing afterwards.
    virtual void End() = 0;
};

using ScenarioList = std::vector<std::unique_ptr<Scenario>>;

} // namespace kowen::test
