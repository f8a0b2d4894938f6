// kowen selftest: whether the filter that is in use makes every byte as it must on this machine.
#pragma once

#include "options.h"

namespace kowen::cli {

/// Returns the exit status: kExitFailure when one export of one variant is wrong. Throws Failure
/// when nothing could be tried.
int RunSelftest(const CommonOptions &options);

} // namespace kowen::cli
