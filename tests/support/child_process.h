// Runs a piece of work in a child process whose standard input and output are the test's.
#pragma once

#include <cstdio>
#include <fcntl.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

struct ChildResult {
    int exitCode;       ///< what work returned, 0 to 255; -1 when a signal ended the child
    std::string output; ///< what came out of its standard output, when that was a pipe
};

namespace child_process {

inline void Redirect(const char *path, int flags, int descriptor) {
    const int file = open(path, flags, 0600);
    dup2(file, descriptor);
    close(file);
}

} // namespace child_process

/// Runs work, an int(), in a child with its standard output a pipe that is collected, or the file
/// outputPath (created), and its standard input a pipe that brings input.
template <typename Work>
ChildResult RunInChild(Work work, const std::string &input = "", const char *outputPath = nullptr) {
    int in[2];
    int out[2];
    if (pipe(in) != 0 || pipe(out) != 0)
        return {-1, "no pipe"};
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        dup2(in[0], STDIN_FILENO);
        dup2(out[1], STDOUT_FILENO);
        if (outputPath)
            child_process::Redirect(outputPath, O_RDWR | O_CREAT | O_TRUNC, STDOUT_FILENO);
        for (const int descriptor : {in[0], in[1], out[0], out[1]})
            close(descriptor);
        _exit(work());
    }
    close(in[0]);
    close(out[1]);
    ChildResult result = {-1, ""};
    if (write(in[1], input.data(), input.size()) != static_cast<ssize_t>(input.size()))
        result.output = "input not taken: ";
    close(in[1]);
    char piece[4096];
    for (ssize_t n; (n = read(out[0], piece, sizeof piece)) > 0;)
        result.output.append(piece, static_cast<std::size_t>(n));
    close(out[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFEXITED(status))
        result.exitCode = WEXITSTATUS(status);
    return result;
}
