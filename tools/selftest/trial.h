// One variant's exports of the golden set, in a process of its own.
#pragma once

#include "golden/golden_set.h"

#include <string>
#include <vector>

namespace kowen::cli {

struct Trial {
    std::string variant; ///< empty = the one that the module chooses
    size_t right = 0;
    std::vector<std::string> wrong; ///< names of the exports with other bytes, or none
    std::string ended;              ///< how it came to an early end; empty when it did not

    bool Passed() const { return wrong.empty() && ended.empty(); }
};

/// Makes every export with a module. What the module does, a crash too, ends up in the trial.
/// Throws Failure when there is no process to be had, Cancelled when the user has asked to stop.
Trial TryVariant(const std::string &modulePath, const std::string &variant,
                 const std::vector<golden::Export> &exports);

} // namespace kowen::cli
