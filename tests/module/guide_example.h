// Runs the example of the host guide as a user does.
#pragma once

#include "support/emulator.h"

#include <cstdlib>
#include <string>

/// Whatever the example prints goes to the file words.
inline std::string GuideCommand(const std::string &module, const std::string &output,
                                const std::string &words) {
    return std::string(kEmulator) + "'" + KOWEN_GUIDE_EXAMPLE + "' '" + module + "' '" + output +
           "' >'" + words + "' 2>&1";
}

/// Returns 0 when the example succeeds.
inline int RunGuideExample(const std::string &module, const std::string &output,
                           const std::string &words) {
    return std::system(GuideCommand(module, output, words).c_str());
}
