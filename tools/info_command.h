// kowen info: what the module offers.
#pragma once

#include "command.h"

namespace kowen::host {

/// Throws HostError.
void RunInfo(const CommonOptions &options);

} // namespace kowen::host
