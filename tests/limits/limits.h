// Limits of a process, and pipes whose other end is slow.
#pragma once

#include "support/emulator.h"

#include <csignal>
#include <cstddef>
#include <cstdio>
#include <fcntl.h>
#include <sched.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kowen::test {

/// Sets the limit that counts; the highest one that may be set stays.
inline bool SetLimit(decltype(RLIMIT_NOFILE) what, rlim_t value) {
    rlimit limit = {};
    getrlimit(what, &limit);
    limit.rlim_cur = value;
    return setrlimit(what, &limit) == 0;
}

/// Bytes of this process's address space.
inline size_t AddressSpace() {
    size_t pages = 0;
    if (std::FILE *file = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(file, "%zu", &pages) != 1)
            pages = 0;
        std::fclose(file);
    }
    return pages * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

/// What a writer sent through a pipe of 4096 bytes, and its exit status.
struct SlowPipe {
    std::string bytes;
    int status = -1; ///< -1: a signal ended it
};

/// Waits until a process waits for something itself, or has ended.
inline void AwaitAsleep(pid_t process) {
    const std::string path = "/proc/" + std::to_string(process) + "/stat";
    for (char state = 'R'; state == 'R'; sched_yield()) {
        std::FILE *file = std::fopen(path.c_str(), "r");
        if (file == nullptr || std::fscanf(file, "%*d (%*[^)]) %c", &state) != 1)
            state = 'Z';
        if (file != nullptr)
            std::fclose(file);
    }
}

/// Runs work(int) in a child with a pipe's end; it writes there or to its standard output, which is
/// the same. Its other end takes few bytes at a time, each time after a signal to the writer, which
/// waits then and which nothing restarts.
/// waits  whether the writer's end waits by itself.
template <typename Work> SlowPipe ReadSlowly(bool waits, Work work) {
    struct sigaction action = {}, before = {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, &before);
    int ends[2];
    SlowPipe result;
    if (pipe2(ends, O_CLOEXEC) != 0)
        return result;
    fcntl(ends[1], F_SETPIPE_SZ, 4096);
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], STDOUT_FILENO);
        close(ends[0]);
        if (!waits)
            fcntl(ends[1], F_SETFL, O_WRONLY | O_NONBLOCK);
        const int status = work(ends[1]);
        fcntl(ends[1], F_SETFL, O_WRONLY);
        std::fflush(nullptr);
        _exit(status);
    }
    close(ends[1]);
    char piece[777];
    for (ssize_t n = 1; n > 0;) {
        AwaitAsleep(child);
        kill(child, SIGUSR1);
        n = read(ends[0], piece, sizeof piece);
        if (n > 0)
            result.bytes.append(piece, static_cast<size_t>(n));
    }
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    sigaction(SIGUSR1, &before, nullptr);
    return result;
}

/// A pipe of 4096 bytes that is full. The writing end waits by itself or does not.
class FullPipe {
public:
    explicit FullPipe(bool waits) {
        if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0)
            return;
        fcntl(ends[1], F_SETPIPE_SZ, 4096);
        while (write(ends[1], "f", 1) == 1)
            ++filled;
        fcntl(ends[0], F_SETFL, O_RDONLY);
        if (waits)
            fcntl(ends[1], F_SETFL, O_WRONLY);
    }
    ~FullPipe() {
        close(ends[0]);
        CloseWriter();
    }
    FullPipe(const FullPipe &) = delete;
    FullPipe &operator=(const FullPipe &) = delete;

    int Writer() const { return ends[1]; }
    void CloseWriter() {
        if (ends[1] >= 0)
            close(ends[1]);
        ends[1] = -1;
    }
    /// All that comes behind the bytes that filled it.
    std::string Rest() const {
        std::string bytes;
        char piece[4096];
        for (ssize_t n; (n = read(ends[0], piece, sizeof piece)) > 0;)
            bytes.append(piece, static_cast<size_t>(n));
        return bytes.substr(filled);
    }

private:
    int ends[2] = {-1, -1};
    size_t filled = 0;
};

} // namespace kowen::test
