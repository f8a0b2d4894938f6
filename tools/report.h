// What commands print: lines for people, objects for programs.
#pragma once

#include "batch/job.h"

#include <string>

namespace kowen::cli {

/// Writes a line to the standard output at once, on a terminal without control characters. Throws
/// ReaderGone when nobody reads it, Failure when it cannot be written.
void PrintLine(const std::string &line);

/// The same for text that has its line ends.
void PrintText(const std::string &text);

/// A number with so many digits behind the point, for programs that read it.
double Rounded(double value, int digits);

/// Prints a job's outcome: a line on the standard output, or on the standard error output when the
/// JPEG went to the standard output; notes and failures on the standard error output. With --json
/// one object in one line.
void PrintReport(const JobReport &report, const CommonOptions &options);

} // namespace kowen::cli
