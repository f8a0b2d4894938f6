// Runs the example of the host guide as a user does.
#pragma once

#include "support/emulator.h"

#include <cstdlib>
#include <string>

/// Whatever the example prints goes to the file words. Returns 0 when the example succeeds.
inline int RunGuideExample(const std::string &module, const std::string &output,
                           const std::string &words) {
    const std::string command = std::string(kEmulator) + "'" + KOWEN_GUIDE_EXAMPLE + "' '" +
                                module + "' '" + output + "' >'" + words + "' 2>&1";
    return std::system(command.c_str());
}
