// The scenarios that are swept.
#pragma once

#include "faults/export_scenario.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace kowen::test {

struct NamedScenario {
    std::string name;
    std::function<std::unique_ptr<Scenario>()> make;
};

/// Tiny pictures, each with the length and checksum of its right file.
const std::vector<ExportCase> &SmallExports();

/// Every depth, colour format, operation, output, size and door, in larger pictures.
std::vector<ExportCase> LargeExports();

/// Exports and profiles; for every day, or all of them.
std::vector<NamedScenario> SmallScenarios();
std::vector<NamedScenario> LargeScenarios();

} // namespace kowen::test
