// How often each rule was broken, and which of the reports the host's author reads one by one.
#pragma once

#include "rules.h"

#include <map>
#include <set>
#include <string>

namespace kowen::check {

/// A broken rule as it is reported.
struct Report {
    int number; ///< of the call; 0 outside of every call
    const char *function;
    Rule rule;
    std::string how;
};

enum class Telling {
    kWhole,   ///< in full
    kAreMore, ///< the first one that is not told, so that is said
    kNot,
};

/// Reports that differ in nothing, or in their numbers alone, are likely of one cause. Of those a
/// call has one told, and all calls together three, each with other words.
class Tally {
public:
    /// Counts a report, and says whether it is told.
    Telling Count(const Report &report);

    int Reports() const { return reports_; }
    /// "write-answer 54, unload 1".
    std::string ByRule() const;

private:
    struct Kind {
        std::set<std::string> told;
        int lastCall = 0;
        bool saidThatThereAreMore = false;
    };

    int reports_ = 0;
    std::map<Rule, int> byRule_;
    std::map<std::string, Kind> kinds_;
};

} // namespace kowen::check
