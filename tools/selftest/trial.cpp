#include "selftest/trial.h"

#include "cancel.h"
#include "failure.h"
#include "golden/golden_host.h"
#include "selftest/checksum.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kowen::cli {
namespace {

// Of the whole set, which takes a fraction of a second.
constexpr unsigned kMostSeconds = 60;
// What the process says of each export, in order; a failure to begin is told in words.
constexpr char kRight = '+';
constexpr char kWrong = '-';

void Say(int pipe, const void *text, size_t length) {
    // Nobody to tell when the other end is gone.
    [[maybe_unused]] const ssize_t written = write(pipe, text, length);
}

void MakeExports(int pipe, const std::string &modulePath,
                 const std::vector<golden::Export> &exports) {
    const golden::Host host(modulePath);
    for (const golden::Export &what : exports) {
        const char verdict = Sha256(host.Make(what)) == what.digest ? kRight : kWrong;
        Say(pipe, &verdict, 1);
    }
}

// What it makes goes nowhere, so a request to stop ends it at once. What the caller has the program
// ignore stays ignored.
void EndAtSignals() {
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action = {};
        if (sigaction(number, nullptr, &action) == 0 && action.sa_handler != SIG_IGN)
            std::signal(number, SIG_DFL);
    }
    std::signal(SIGALRM, SIG_DFL);
    alarm(kMostSeconds);
}

// No profile and no display of the machine's own, and the variant.
[[noreturn]] void Become(int pipe, const std::string &modulePath, const std::string &variant,
                         const std::vector<golden::Export> &exports) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    EndAtSignals();
    unsetenv("INIDIR");
    unsetenv("DISPLAYINFO");
    if (variant.empty())
        unsetenv("KOWEN_KERNELS");
    else
        setenv("KOWEN_KERNELS", variant.c_str(), 1);
    try {
        MakeExports(pipe, modulePath, exports);
    } catch (const std::exception &failure) {
        Say(pipe, failure.what(), std::strlen(failure.what()));
    }
    _exit(0);
}

// All that the process says; it is ended when the user has asked to stop.
std::string ReadAll(int pipe, pid_t child) {
    std::string text;
    char piece[4096];
    for (;;) {
        if (CancelSignal() != 0)
            kill(child, SIGKILL);
        const ssize_t got = read(pipe, piece, sizeof piece);
        if (got > 0)
            text.append(piece, static_cast<size_t>(got));
        else if (got == 0 || errno != EINTR)
            return text;
    }
}

std::string HowItEnded(int status, const std::string &words) {
    if (WIFSIGNALED(status))
        return std::string("ended by a signal: ") + strsignal(WTERMSIG(status));
    return words.empty() ? "ended with status " + std::to_string(WEXITSTATUS(status)) : words;
}

} // namespace

Trial TryVariant(const std::string &modulePath, const std::string &variant,
                 const std::vector<golden::Export> &exports) {
    int ends[2];
    if (pipe(ends) != 0)
        FailWith("cannot start a process", errno);
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        Become(ends[1], modulePath, variant, exports);
    }
    const int reason = errno;
    close(ends[1]);
    const std::string said = child > 0 ? ReadAll(ends[0], child) : "";
    close(ends[0]);
    if (child < 0)
        FailWith("cannot start a process", reason);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR)
        continue;
    StopIfCancelled();
    Trial trial;
    trial.variant = variant;
    size_t tried = 0;
    for (; tried < said.size() && tried < exports.size(); ++tried) {
        if (said[tried] == kRight)
            ++trial.right;
        else if (said[tried] == kWrong)
            trial.wrong.push_back(exports[tried].name);
        else
            break;
    }
    if (tried < exports.size() || status != 0)
        trial.ended = HowItEnded(status, said.substr(tried));
    return trial;
}

} // namespace kowen::cli
