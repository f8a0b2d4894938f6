#include "batch/worker.h"

#include "cancel.h"
#include "failure.h"
#include "readers/source.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kowen::cli {
namespace {

constexpr double kStep = 0.01; // of a picture, between two messages

// Nothing to do when the other end is gone: then so is the program.
bool Send(int pipe, const void *bytes, size_t count) {
    const auto *at = static_cast<const char *>(bytes);
    while (count != 0) {
        const ssize_t written = write(pipe, at, count);
        if (written < 0 && errno != EINTR)
            return false;
        if (written > 0) {
            at += written;
            count -= static_cast<size_t>(written);
        }
    }
    return true;
}

bool ReceiveJob(int pipe, size_t *job) {
    for (;;) {
        const ssize_t got = read(pipe, job, sizeof *job);
        if (got == static_cast<ssize_t>(sizeof *job))
            return true;
        if (got >= 0 || errno != EINTR || CancelSignal() != 0)
            return false;
    }
}

JobReport Failed(const Job &job, const std::string &error) {
    JobReport report;
    report.source = job.source;
    report.target = job.target;
    report.error = NamingPicture(NameOf(job.source), error);
    return report;
}

// A worker opens the filter with its first job.
class Works {
public:
    Works(const PoolTask &poolTask, int pipe) : task(poolTask), results(pipe) {}

    void Run(const Job &job) {
        last = 0;
        JobReport report;
        try {
            if (!module)
                module = std::make_unique<Module>(task.common->module);
            report = RunJob(job, *task.options, *module,
                            [this](const char *phase, double fraction) { Tell(phase, fraction); });
        } catch (const Failure &failure) {
            report = Failed(job, failure.what());
        }
        const std::string bytes = PackMessage({MessageKind::kReport, 1, PackReport(report)});
        Send(results, bytes.data(), bytes.size());
    }

private:
    void Tell(const char *phase, double fraction) {
        const bool reading = std::strcmp(phase, "reading") == 0;
        if (fraction < last + kStep && fraction >= last)
            return;
        last = fraction;
        const std::string bytes = PackMessage(
            {reading ? MessageKind::kReading : MessageKind::kExporting, fraction, std::string()});
        Send(results, bytes.data(), bytes.size());
    }

    const PoolTask &task;
    int results;
    double last = 0;
    std::unique_ptr<Module> module;
};

} // namespace

Worker::Worker(const PoolTask &task, const std::vector<std::unique_ptr<Worker>> &others) {
    int down[2];
    int up[2];
    if (pipe2(down, O_CLOEXEC) != 0)
        FailWith("cannot start a worker", errno);
    if (pipe2(up, O_CLOEXEC) != 0) {
        const int reason = errno;
        close(down[0]);
        close(down[1]);
        FailWith("cannot start a worker", reason);
    }
    std::fflush(nullptr);
    process = fork();
    if (process == 0) {
        for (const std::unique_ptr<Worker> &other : others) {
            close(other->commands);
            close(other->results);
        }
        close(down[1]);
        close(up[0]);
        Work(task, down[0], up[1]);
    }
    const int reason = errno;
    close(down[0]);
    close(up[1]);
    commands = down[1];
    results = up[0];
    if (process < 0)
        FailWith("cannot start a worker", reason);
}

Worker::~Worker() {
    if (commands >= 0)
        close(commands);
    if (results >= 0)
        close(results);
    if (process > 0)
        HowItEnded();
}

void Worker::Work(const PoolTask &task, int commands, int results) {
    // A worker must not outlive a program that was killed; it ends as for a request to stop.
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    Works works(task, results);
    for (size_t job = 0; ReceiveJob(commands, &job);)
        works.Run((*task.jobs)[job]);
    _exit(0);
}

void Worker::Start(size_t number) {
    job = number;
    Send(commands, &number, sizeof number);
}

bool Worker::Receive() {
    char piece[65536];
    const ssize_t got = read(results, piece, sizeof piece);
    if (got > 0)
        received.append(piece, static_cast<size_t>(got));
    return got > 0 || (got < 0 && errno == EINTR);
}

std::string Worker::HowItEnded() {
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR)
        continue;
    process = -1;
    if (WIFSIGNALED(status))
        return std::string("its worker was ended by a signal: ") + strsignal(WTERMSIG(status));
    return "its worker ended with status " + std::to_string(WEXITSTATUS(status));
}

void Worker::Signal(int number) const {
    if (process > 0)
        kill(process, number);
}

} // namespace kowen::cli
