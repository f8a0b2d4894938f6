// A module that is loaded for the first time, in a process of its own.
#pragma once

#include <string>
#include <vector>

namespace kowen::cli {

/// What a module is found to be.
struct LoadedModule {
    std::string path;
    std::string version;               ///< "2.0.5"
    std::vector<std::string> variants; ///< as VariantsOf has them
    std::vector<std::string> missing;  ///< entries that its table should have
};

/// Loads a module and looks at it; this process does not load it.
/// path  empty = where the library looks for it. Throws Failure when it cannot be loaded, or ends
/// the process that loads it; Cancelled when the user has asked to stop.
LoadedModule TryLoading(const std::string &path);

} // namespace kowen::cli
