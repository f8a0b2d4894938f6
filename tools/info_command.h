// kowen info: the filter that is in use, and the formats that are read.
#pragma once

#include "options.h"

namespace kowen::cli {

/// Throws Failure.
void RunInfo(const CommonOptions &options);

} // namespace kowen::cli
