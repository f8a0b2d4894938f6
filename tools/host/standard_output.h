// The standard output: what a command prints, and what must not get there.
#pragma once

#include <string>

namespace kowen::host {

/// Sends what the module prints by itself to the standard error while it lives, so that a picture
/// or a report on the standard output stays clean.
class StandardOutputGuard {
public:
    StandardOutputGuard();
    ~StandardOutputGuard();
    StandardOutputGuard(const StandardOutputGuard &) = delete;
    StandardOutputGuard &operator=(const StandardOutputGuard &) = delete;

private:
    int saved;
};

/// Prints a line. Throws HostError when it cannot be written.
void PrintLine(const std::string &text);

} // namespace kowen::host
