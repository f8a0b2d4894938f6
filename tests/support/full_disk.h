// A directory on a disk that has no space left, for programs that a test runs.
#pragma once

#include "support/temp_directory.h"

#include <cstdlib>
#include <string>
#include <sys/wait.h>

/// Runs a shell command in a mount name space of its own, where `directory` is a full disk: files
/// can be made there, but hold no byte. Returns the command's exit status; -1 where nobody may
/// mount, which takes root.
inline int RunOnFullDisk(const TempDirectory &directory, const std::string &command) {
    constexpr int kCannotMount = 77;
    const std::string script = directory.Write(
        "run.sh", "mount -t tmpfs -o size=4k none '" + directory.Path() + "' 2>&- || exit 77\n" +
                      "cat /dev/zero >'" + directory.File("filler") + "' 2>&-\n" + command + "\n");
    const int status =
        std::system(("unset LD_PRELOAD; unshare -m sh '" + script + "' 2>&1").c_str());
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 1;
    const bool unshareRefused = code == 1 && std::system("unshare -m true 2>&-") != 0;
    return code == kCannotMount || unshareRefused ? -1 : code;
}
