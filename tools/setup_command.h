// kowen setup: the settings that a profile keeps.
#pragma once

#include "command.h"

#include <string>
#include <vector>

namespace kowen::host {

struct SetupOptions {
    CommonOptions common;
    std::string file;
    std::string section;
    std::vector<std::string> assignments; ///< key=value
};

/// Each throws HostError.
void RunSetupShow(const SetupOptions &options);
void RunSetupSet(const SetupOptions &options);
void RunSetupSections(const SetupOptions &options);

} // namespace kowen::host
