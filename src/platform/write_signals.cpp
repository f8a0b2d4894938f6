#include "platform/write_signals.h"

#include <cerrno>
#include <ctime>

namespace kowen {

namespace {
constexpr int kWriteSignals[] = {SIGPIPE, SIGXFSZ};
}

// On this system the mask of sigprocmask is the thread's.
WriteSignalsHeld::WriteSignalsHeld() noexcept {
    sigset_t pending, blocked;
    sigpending(&pending);
    sigprocmask(SIG_BLOCK, nullptr, &blocked);
    sigemptyset(&held_);
    for (const int number : kWriteSignals)
        if (sigismember(&pending, number) == 0 && sigismember(&blocked, number) == 0)
            sigaddset(&held_, number);
    sigprocmask(SIG_BLOCK, &held_, nullptr);
}

WriteSignalsHeld::~WriteSignalsHeld() {
    const int error = errno;
    constexpr timespec kNow = {};
    while (sigtimedwait(&held_, nullptr, &kNow) > 0)
        continue;
    sigprocmask(SIG_UNBLOCK, &held_, nullptr);
    errno = error;
}

} // namespace kowen
