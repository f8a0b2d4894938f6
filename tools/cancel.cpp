#include "cancel.h"

#include "failure.h"

#include <csignal>
#include <sys/time.h>
#include <unistd.h>

namespace kowen::cli {
namespace {

constexpr int kSignalStatus = 128;
constexpr long kInterruptMicroseconds = 20000;

volatile std::sig_atomic_t cancelSignal = 0;
volatile std::sig_atomic_t outputOpen = 0;

// The request may come just before a call that waits, which would not notice it: from now on
// waiting calls are interrupted again and again.
void InterruptWaiting() {
    itimerval interval = {};
    interval.it_interval.tv_usec = interval.it_value.tv_usec = kInterruptMicroseconds;
    setitimer(ITIMER_REAL, &interval, nullptr);
}

void OnAlarm(int) {}

void OnSignal(int number) {
    if (cancelSignal == 0) {
        cancelSignal = number;
        InterruptWaiting();
    } else if (!outputOpen) {
        _exit(kSignalStatus + cancelSignal);
    }
}

void Handle(int number, void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    // No SA_RESTART: a call that waits returns, so that the request is seen.
    sigaction(number, &action, nullptr);
}

} // namespace

void InstallCancelHandlers() {
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        // What the caller has us ignore (nohup, a job in the background) stays ignored.
        struct sigaction before = {};
        if (sigaction(number, nullptr, &before) == 0 && before.sa_handler == SIG_IGN)
            continue;
        Handle(number, OnSignal);
    }
    Handle(SIGALRM, OnAlarm);
    for (const int number : {SIGPIPE, SIGXFSZ})
        Handle(number, SIG_IGN);
}

int CancelSignal() {
    return cancelSignal;
}

void StopIfCancelled() {
    if (cancelSignal != 0)
        throw Cancelled();
}

void EndBySignal(int signal) {
    Handle(signal, SIG_DFL);
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
