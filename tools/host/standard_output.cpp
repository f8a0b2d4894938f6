#include "host/standard_output.h"

#include "host/error.h"
#include "host/file.h"

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace kowen::host {

StandardOutputGuard::StandardOutputGuard() : saved(-1) {
    std::fflush(stdout);
    saved = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
    if (saved >= 0)
        dup2(STDERR_FILENO, STDOUT_FILENO);
}

StandardOutputGuard::~StandardOutputGuard() {
    std::fflush(stdout);
    if (saved < 0)
        return;
    dup2(saved, STDOUT_FILENO);
    close(saved);
}

void PrintLine(const std::string &text) {
    const std::string line = text + "\n";
    if (const int failed = WriteDescriptor(STDOUT_FILENO, line.data(), line.size()); failed != 0)
        FailWith("standard output", failed);
}

} // namespace kowen::host
