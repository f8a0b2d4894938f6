// The options that CLI11 is told of, by command.
#pragma once

#include "options.h"

#include <CLI/CLI.hpp>

namespace kowen::cli {

/// Everything that the commands' options end in.
struct AllOptions {
    ExportOptions exporting;
    EstimateOptions estimate;
    SetupOptions setup;
    CommonOptions info;
    CommonOptions selftest;
};

/// Adds the commands. `status` gets what the one that runs returns.
void AddCommands(CLI::App *app, AllOptions *options, int *status);

} // namespace kowen::cli
