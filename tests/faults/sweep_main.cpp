// Sweeps all scenarios and prints a table:
//
//     fault_sweep [--small] [NAME...]     scenarios whose names contain one of the words
//
// Each row is swept in a process of its own, so that a crash is a number in the table and not its
// end. The exit status is 0 when nothing was found, and 2 when no scenario is of that name.
#include "faults/scenarios.h"
#include "faults/sweep.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

namespace {

using namespace kowen::test;

struct Row {
    int64_t points;
    int64_t leaks;
    int64_t findings;
    int64_t crashes;
    char finding[600];
};

Row &operator+=(Row &sum, const Row &row) {
    sum.points += row.points;
    sum.leaks += row.leaks;
    sum.findings += row.findings;
    sum.crashes += row.crashes;
    return sum;
}

bool LibraryFindsLeaks() {
#if defined(__SANITIZE_ADDRESS__)
    return __lsan_do_recoverable_leak_check() != 0;
#else
    return false;
#endif
}

Row SweepRow(Scenario &scenario, FaultKind kind, FaultMode mode) {
    SweepOptions options;
    options.diskFullPoints = 400;
    const SweepResult result = Sweep(scenario, kind, mode, options);
    Row row = {result.points, result.leaks, result.findings, 0, {}};
    std::snprintf(row.finding, sizeof row.finding, "%s", result.firstFinding.c_str());
    if (!result.ended) {
        ++row.findings;
        std::snprintf(row.finding, sizeof row.finding, "the sweep did not come to its end");
    }
    return row;
}

/// A child whose row does not come back has crashed.
Row SweepInChild(const NamedScenario &named, FaultKind kind, FaultMode mode) {
    int channel[2];
    if (pipe(channel) != 0)
        std::abort();
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        close(channel[0]);
        Row row;
        {
            const auto scenario = named.make();
            row = SweepRow(*scenario, kind, mode);
        }
        row.leaks += LibraryFindsLeaks() ? 1 : 0;
        const bool sent = write(channel[1], &row, sizeof row) == sizeof row;
        _exit(sent ? 0 : 1);
    }
    close(channel[1]);
    Row row = {};
    if (read(channel[0], &row, sizeof row) != sizeof row)
        row = {0, 0, 0, 1, "crashed"};
    close(channel[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (row.crashes == 0 && !(WIFEXITED(status) && WEXITSTATUS(status) == 0))
        row.crashes = 1;
    return row;
}

bool IsBad(const Row &row) {
    return row.leaks != 0 || row.findings != 0 || row.crashes != 0;
}

void Print(const std::string &name, const std::string &kind, const std::string &mode,
           const Row &row) {
    std::printf("%-58s %-14s %-14s %9lld %7lld %5lld %8lld\n", name.c_str(), kind.c_str(),
                mode.c_str(), static_cast<long long>(row.points),
                static_cast<long long>(row.crashes), static_cast<long long>(row.leaks),
                static_cast<long long>(row.findings));
    if (row.finding[0] != '\0')
        std::printf("    %s\n", row.finding);
}

bool IsWanted(const std::string &name, const std::vector<std::string> &words) {
    for (const std::string &word : words)
        if (name.find(word) != std::string::npos)
            return true;
    return words.empty();
}

} // namespace

int main(int argc, char **argv) {
    std::vector<std::string> words(argv + 1, argv + argc);
    const bool small = !words.empty() && words.front() == "--small";
    if (small)
        words.erase(words.begin());
    std::printf("%-58s %-14s %-14s %9s %7s %5s %8s\n", "scenario", "failure", "mode", "points",
                "crashes", "leaks", "findings");
    Row total = {};
    int64_t rows = 0;
    for (const NamedScenario &named : small ? SmallScenarios() : LargeScenarios()) {
        if (!IsWanted(named.name, words))
            continue;
        const auto scenario = named.make();
        for (const FaultKind kind : kAllKinds)
            for (const FaultMode mode : ModesOf(kind)) {
                if (!scenario->Has(kind))
                    continue;
                const Row row = SweepInChild(named, kind, mode);
                Print(named.name, NameOf(kind), NameOf(mode), row);
                total += row;
                ++rows;
            }
    }
    if (rows == 0) {
        std::fprintf(stderr, "no scenario has such a name\n");
        return 2;
    }
    Print("total: " + std::to_string(rows) + " rows", "", "", total);
    return IsBad(total) ? 1 : 0;
}
