// The options that CLI11 is told of, by command.
#pragma once

#include "options.h"

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace kowen::cli {

/// Everything that the commands' options end in.
struct AllOptions {
    ExportOptions exporting;
    EstimateOptions estimate;
    SetupOptions setup;
    CommonOptions info;
    CommonOptions selftest;
};

/// Adds the commands, and the options of those that are among the words of the command line: making
/// all of them would take a quarter of a small export's time. `status` gets what the one that runs
/// returns.
void AddCommands(CLI::App *app, const std::vector<std::string> &words, AllOptions *options,
                 int *status);

} // namespace kowen::cli
