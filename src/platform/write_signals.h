// Signals that a write may raise.
#pragma once

#include <csignal>

namespace kowen {

/// While it lives, a pipe that nobody reads and a file at the process's size limit are failures of
/// this thread's writes, and no signals: a host that exports a picture must not end of it. What the
/// host does about those signals stays as it is, also one that is pending.
///
/// Hardened: SIGPIPE and SIGXFSZ end a process that does not provide for them.
/// Test: Limits.AFileSizeLimitDoesNotEndTheHost.
class WriteSignalsHeld {
public:
    WriteSignalsHeld() noexcept;
    ~WriteSignalsHeld();
    WriteSignalsHeld(const WriteSignalsHeld &) = delete;
    WriteSignalsHeld &operator=(const WriteSignalsHeld &) = delete;

private:
    sigset_t held_; ///< that neither were blocked nor pending before
};

} // namespace kowen
