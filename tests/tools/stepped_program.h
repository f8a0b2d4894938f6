// Runs the built program up to one of its system calls and sends it a signal there: every moment at
// which something can have changed on disk, one after the other.
#pragma once

#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace kowen::test {

struct SteppedRun {
    bool possible = true; ///< false: processes cannot be traced here
    bool reached = false; ///< it came to that call
    size_t calls = 0;     ///< that it made up to there
    int exitCode = -1;    ///< 128 + the signal's number when a signal ended it
};

[[noreturn]] inline void BecomeTraced(const std::vector<std::string> &arguments,
                                      const std::string &directory) {
    const int null = open("/dev/null", O_RDWR);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        dup2(null, stream);
    // What looks for leaks at the end cannot do so in a process that is traced.
    setenv("ASAN_OPTIONS", "detect_leaks=0", 1);
    unsetenv("INIDIR");
    if (chdir(directory.c_str()) != 0 || ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0)
        _exit(97);
    std::vector<char *> texts = {const_cast<char *>(KOWEN_PROGRAM)};
    for (const std::string &argument : arguments)
        texts.push_back(const_cast<char *>(argument.c_str()));
    texts.push_back(nullptr);
    execv(KOWEN_PROGRAM, texts.data());
    _exit(98);
}

/// Sends the signal when the program is about to make the system call of that number, from 0.
inline SteppedRun SignalAtCall(const std::vector<std::string> &arguments,
                               const std::string &directory, size_t call, int signal) {
    SteppedRun run;
    const pid_t child = fork();
    if (child == 0)
        BecomeTraced(arguments, directory);
    int status = 0;
    waitpid(child, &status, 0); // the stop at its start
    const auto ended = [&] { return WIFEXITED(status) || WIFSIGNALED(status); };
    run.possible = !ended() && ptrace(PTRACE_SETOPTIONS, child, nullptr,
                                      PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL) == 0;
    constexpr int kCallStop = SIGTRAP | 0x80;
    bool leaving = true;
    for (; run.possible && !ended() && !run.reached;) {
        const int passedOn =
            WSTOPSIG(status) == kCallStop || WSTOPSIG(status) == SIGTRAP ? 0 : WSTOPSIG(status);
        ptrace(PTRACE_SYSCALL, child, nullptr, passedOn);
        waitpid(child, &status, 0);
        if (ended() || WSTOPSIG(status) != kCallStop)
            continue;
        leaving = !leaving; // every call stops twice
        run.reached = !leaving && run.calls++ == call;
    }
    if (!ended()) {
        kill(child, run.possible ? signal : SIGKILL);
        ptrace(PTRACE_DETACH, child, nullptr, nullptr);
        waitpid(child, &status, 0);
    }
    run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return run;
}

} // namespace kowen::test
