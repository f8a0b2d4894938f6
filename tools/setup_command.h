// kowen setup: the settings that a profile keeps.
#pragma once

#include "options.h"

namespace kowen::cli {

/// Each throws Failure.
void RunSetupShow(const SetupOptions &options);
void RunSetupSet(const SetupOptions &options);
void RunSetupSections(const SetupOptions &options);

} // namespace kowen::cli
