// What can be said against options before any picture is read.
#pragma once

#include "options.h"

namespace kowen::cli {

/// Throws UsageFailure for options that do not go together or that would do nothing. The profile's
/// settings are in them already.
void CheckOptions(const PictureOptions &options);

/// Prints a note to the standard error output unless the user wants none.
void PrintNote(const CommonOptions &options, const std::string &note);

} // namespace kowen::cli
