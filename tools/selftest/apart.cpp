#include "selftest/apart.h"

#include "cancel.h"
#include "failure.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kowen::cli {
namespace {

// Of the whole set, which takes a fraction of a second.
constexpr unsigned kMostSeconds = 60;

// Requests to stop are the program's to hear, which ends this process then: a signal that the
// terminal sends to both is no fault of the module.
void LeaveSignalsToTheProgram() {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
        std::signal(number, SIG_IGN);
    std::signal(SIGALRM, SIG_DFL);
    alarm(kMostSeconds);
}

[[noreturn]] void Become(int pipe, const std::function<void(const Saying &)> &work) {
    LeaveSignalsToTheProgram();
    // The standard output is the report's alone.
    dup2(STDERR_FILENO, STDOUT_FILENO);
    unsetenv("INIDIR");
    unsetenv("DISPLAYINFO");
    work([pipe](std::string_view text) {
        // Nobody to tell when the other end is gone.
        [[maybe_unused]] const ssize_t written = write(pipe, text.data(), text.size());
    });
    std::fflush(nullptr);
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

// It may have closed its end of the pipe and go on.
int StatusOf(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR)
        if (CancelSignal() != 0)
            kill(child, SIGKILL);
    return status;
}

} // namespace

ApartEnd RunApart(const std::function<void(const Saying &)> &work) {
    int ends[2];
    if (pipe(ends) != 0)
        FailWith("cannot start a process", errno);
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        Become(ends[1], work);
    }
    const int reason = errno;
    close(ends[1]);
    ApartEnd end = {child > 0 ? ReadAll(ends[0], child) : "", 0};
    close(ends[0]);
    if (child < 0)
        FailWith("cannot start a process", reason);
    end.status = StatusOf(child);
    StopIfCancelled();
    return end;
}

std::string HowItEnded(int status) {
    if (!WIFSIGNALED(status))
        return "ended with status " + std::to_string(WEXITSTATUS(status));
    if (WTERMSIG(status) == SIGALRM)
        return "was not done after " + std::to_string(kMostSeconds) + " seconds";
    return std::string("ended by a signal: ") + strsignal(WTERMSIG(status));
}

} // namespace kowen::cli
