// Ctrl-C and its relatives.
#pragma once

namespace kowen::cli {

/// Catches SIGINT, SIGTERM and SIGHUP. The first one is remembered, so that what is under way can
/// end in order; a second one ends the process at once, unless an output file is open, which is
/// removed first. Also makes a closed pipe and a full file ordinary write errors.
void InstallCancelHandlers();

/// The signal that asked to stop, or 0.
int CancelSignal();

/// Throws Cancelled when the user has asked to stop.
void StopIfCancelled();

/// Ends the process as the signal ends one that does not catch it, so that a shell knows.
[[noreturn]] void EndBySignal(int signal);

/// While one lives, a second signal waits for the first to be heard.
class OutputOpen {
public:
    OutputOpen();
    ~OutputOpen();
    OutputOpen(const OutputOpen &) = delete;
    OutputOpen &operator=(const OutputOpen &) = delete;
};

} // namespace kowen::cli
