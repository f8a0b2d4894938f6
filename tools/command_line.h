// The words and options of the command line.
#pragma once

#include <string>
#include <vector>

namespace kowen::cli {

/// Parses the arguments behind the program's name, runs the command and returns the exit status.
/// Wrong words are named on the standard error output, with the nearest known one and the help that
/// explains it. Throws what the command throws.
int RunCommandLine(std::vector<std::string> arguments);

} // namespace kowen::cli
