#include "host/cancel.h"

#include "host/error.h"

#include <climits>
#include <csignal>
#include <cstring>
#include <unistd.h>

namespace kowen::host {
namespace {

constexpr int kSlots = 8;

// Read by the signal handler: fixed memory, and a slot is in use only while its flag is set.
struct TemporarySlot {
    char path[PATH_MAX];
    volatile std::sig_atomic_t used;
};

TemporarySlot temporaries[kSlots];
volatile std::sig_atomic_t cancelRequested = 0;

void OnSignal(int) {
    if (!cancelRequested) {
        cancelRequested = 1;
        return;
    }
    // Files first, then the directories that held them.
    for (const TemporarySlot &slot : temporaries) {
        if (slot.used)
            unlink(slot.path);
    }
    for (const TemporarySlot &slot : temporaries) {
        if (slot.used)
            rmdir(slot.path);
    }
    _exit(kExitCancelled);
}

} // namespace

void InstallCancelHandlers() {
    struct sigaction action = {};
    action.sa_handler = OnSignal;
    sigemptyset(&action.sa_mask);
    // No SA_RESTART: a read from a terminal or a pipe returns, so that the request is seen.
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        // What the caller has us ignore (nohup, a job in the background) stays ignored.
        struct sigaction before = {};
        if (sigaction(number, nullptr, &before) == 0 && before.sa_handler == SIG_IGN)
            continue;
        sigaction(number, &action, nullptr);
    }
    struct sigaction ignore = {};
    ignore.sa_handler = SIG_IGN;
    for (const int number : {SIGPIPE, SIGXFSZ})
        sigaction(number, &ignore, nullptr);
}

bool CancelRequested() {
    return cancelRequested != 0;
}

void StopIfCancelled() {
    if (CancelRequested())
        throw Cancelled();
}

int RememberTemporary(const std::string &path) {
    if (path.size() >= PATH_MAX)
        return -1;
    for (int i = 0; i < kSlots; ++i) {
        if (temporaries[i].used)
            continue;
        std::memcpy(temporaries[i].path, path.c_str(), path.size() + 1);
        temporaries[i].used = 1;
        return i;
    }
    return -1;
}

void ForgetTemporary(int slot) {
    if (slot >= 0)
        temporaries[slot].used = 0;
}

} // namespace kowen::host
