// What the commands share.
#pragma once

#include <string>

namespace kowen::host {

/// Options of every command that needs the module or writes a report.
struct CommonOptions {
    std::string module; ///< path; empty = beside the program
    bool json = false;
    bool quiet = false;
};

/// The module's path: the one asked for, else the one beside the program.
std::string ModulePath(const CommonOptions &options);

} // namespace kowen::host
