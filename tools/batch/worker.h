// One worker process and the pipes to it.
#pragma once

#include "batch/job_message.h"
#include "batch/worker_pool.h"

#include <optional>
#include <string>
#include <sys/types.h>

namespace kowen::cli {

class Worker {
public:
    /// Starts the process. Throws Failure.
    /// others  workers of this process; the new one closes its copies of their pipes.
    Worker(const PoolTask &task, const std::vector<std::unique_ptr<Worker>> &others);

    /// Ends the process: it finishes what it is at and goes.
    ~Worker();
    Worker(const Worker &) = delete;
    Worker &operator=(const Worker &) = delete;

    /// Gives it a job by its number.
    void Start(size_t job);

    /// The job that it is at.
    const std::optional<size_t> &Job() const { return job; }
    void Finished() { job.reset(); }

    /// What it sends arrives here.
    int Pipe() const { return results; }

    /// Reads what has arrived. Returns false when the process has gone.
    bool Receive();
    bool Take(JobMessage *message) { return TakeMessage(&received, message); }

    /// Waits for the end of a process that has gone, and says how it ended.
    std::string HowItEnded();

    void Signal(int number) const;

private:
    [[noreturn]] static void Work(const PoolTask &task, int commands, int results);

    pid_t process = -1;
    int commands = -1;
    int results = -1;
    std::optional<size_t> job;
    std::string received;
};

} // namespace kowen::cli
