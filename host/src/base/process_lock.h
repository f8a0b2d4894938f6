// The module's state is one for the process, and so is this lock.
#pragma once

namespace kowen::host {

/// Waits for the calls of other threads.
class ProcessLock {
public:
    /// Throws Failure (KOWEN_HOST_ERR_BUSY) when this thread has it: a callback called back.
    ProcessLock();
    ~ProcessLock();
    ProcessLock(const ProcessLock &) = delete;
    ProcessLock &operator=(const ProcessLock &) = delete;
};

} // namespace kowen::host
