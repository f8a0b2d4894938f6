#include "cancel.h"

#include "failure.h"

#include <csignal>
#include <unistd.h>

namespace kowen::cli {
namespace {

constexpr int kSignalStatus = 128;

volatile std::sig_atomic_t cancelSignal = 0;
volatile std::sig_atomic_t outputOpen = 0;

void OnSignal(int number) {
    if (cancelSignal == 0)
        cancelSignal = number;
    else if (!outputOpen)
        _exit(kSignalStatus + cancelSignal);
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

int CancelSignal() {
    return cancelSignal;
}

void StopIfCancelled() {
    if (cancelSignal != 0)
        throw Cancelled();
}

void EndBySignal(int signal) {
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    sigaction(signal, &action, nullptr);
    raise(signal);
    _exit(kSignalStatus + signal);
}

OutputOpen::OutputOpen() {
    outputOpen = 1;
}

OutputOpen::~OutputOpen() {
    outputOpen = 0;
}

} // namespace kowen::cli
