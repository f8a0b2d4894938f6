// kowen estimate: what each quality costs, and how it looks.
#pragma once

#include "options.h"

namespace kowen::cli {

/// Throws Failure.
void RunEstimate(EstimateOptions *options);

} // namespace kowen::cli
