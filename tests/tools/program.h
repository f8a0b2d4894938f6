// Runs the built kowen program as a user does: arguments in, exit status and output out.
#pragma once

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <poll.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace kowen::test {

struct ProgramResult {
    int exitCode = -1; ///< 128 + the signal's number when a signal ended it
    std::string output;
    std::string errors;
    long peakKilobytes = 0; ///< the most memory that it had, or a worker of it
};

/// How a run differs from a plain one.
struct ProgramSetting {
    std::string input;                 ///< standard input
    std::string directory;             ///< to run in; empty = the test's own
    std::string outputFile;            ///< standard output, instead of a pipe
    std::function<void()> beforeStart; ///< in the child
    std::vector<std::string> unset = {"INIDIR", "DISPLAYINFO"};
};

/// A program under way.
class Program {
public:
    explicit Program(const std::vector<std::string> &arguments,
                     const ProgramSetting &setting = {}) {
        int in[2], out[2], err[2];
        if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0)
            std::abort();
        std::fflush(nullptr);
        child = fork();
        if (child == 0)
            Become(arguments, setting, in[0], out[1], err[1]);
        for (const int mine : {in[0], out[1], err[1]})
            close(mine);
        inputPipe = in[1];
        outputPipe = out[0];
        errorPipe = err[0];
    }

    /// Gives it more of its standard input.
    void Feed(const std::string &bytes) const {
        for (size_t at = 0; at < bytes.size();) {
            const ssize_t n = write(inputPipe, bytes.data() + at, bytes.size() - at);
            if (n <= 0)
                return;
            at += static_cast<size_t>(n);
        }
    }

    void Signal(int number) const { kill(child, number); }

    /// Ends its input and waits for it.
    ProgramResult Wait() {
        close(inputPipe);
        Collect();
        int status = 0;
        rusage usage = {};
        wait4(child, &status, 0, &usage);
        result.peakKilobytes = usage.ru_maxrss;
        result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        return result;
    }

private:
    [[noreturn]] static void Become(const std::vector<std::string> &arguments,
                                    const ProgramSetting &setting, int in, int out, int err) {
        dup2(in, STDIN_FILENO);
        dup2(out, STDOUT_FILENO);
        dup2(err, STDERR_FILENO);
        if (!setting.outputFile.empty())
            dup2(open(setting.outputFile.c_str(), O_WRONLY), STDOUT_FILENO);
        if (!setting.directory.empty() && chdir(setting.directory.c_str()) != 0)
            _exit(99);
        for (const std::string &name : setting.unset)
            unsetenv(name.c_str());
        if (setting.beforeStart)
            setting.beforeStart();
        std::vector<char *> texts = {const_cast<char *>(KOWEN_PROGRAM)};
        for (const std::string &argument : arguments)
            texts.push_back(const_cast<char *>(argument.c_str()));
        texts.push_back(nullptr);
        execv(KOWEN_PROGRAM, texts.data());
        _exit(98);
    }

    void Collect() {
        pollfd ends[] = {{outputPipe, POLLIN, 0}, {errorPipe, POLLIN, 0}};
        std::string *texts[] = {&result.output, &result.errors};
        for (int open = 2; open > 0;) {
            poll(ends, 2, -1);
            for (int i = 0; i < 2; ++i) {
                if (ends[i].fd < 0 || ends[i].revents == 0)
                    continue;
                char piece[65536];
                const ssize_t n = read(ends[i].fd, piece, sizeof piece);
                if (n > 0) {
                    texts[i]->append(piece, static_cast<size_t>(n));
                    continue;
                }
                close(ends[i].fd);
                ends[i].fd = -1;
                --open;
            }
        }
    }

    pid_t child = -1;
    int inputPipe = -1;
    int outputPipe = -1;
    int errorPipe = -1;
    ProgramResult result;
};

/// Runs it to its end.
inline ProgramResult RunKowen(const std::vector<std::string> &arguments,
                              const ProgramSetting &setting = {}) {
    // A program that ends before it has read everything must not end the test.
    std::signal(SIGPIPE, SIG_IGN);
    Program program(arguments, setting);
    program.Feed(setting.input);
    return program.Wait();
}

/// Where root may write anywhere, permissions cannot fail.
inline bool IsRoot() {
    return geteuid() == 0;
}

} // namespace kowen::test
