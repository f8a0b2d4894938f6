// What commands print: lines for people, objects for programs.
#pragma once

#include "batch/job.h"

#include <string>

namespace kowen::cli {

/// Writes a line to the standard output at once. Throws Failure when it cannot be written.
void PrintLine(const std::string &line);

/// Prints a job's outcome: a line on the standard output, or on the standard error output when the
/// JPEG went to the standard output; notes and failures on the standard error output. With --json
/// one object in one line.
void PrintReport(const JobReport &report, const CommonOptions &options);

} // namespace kowen::cli
