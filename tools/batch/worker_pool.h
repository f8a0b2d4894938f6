// Exports in processes of their own, because the filter's state belongs to the process.
#pragma once

#include "batch/job.h"

#include <functional>
#include <vector>

namespace kowen::cli {

/// What a pool needs to know.
struct PoolTask {
    const std::vector<Job> *jobs = nullptr;
    const PictureOptions *options = nullptr;
    const CommonOptions *common = nullptr;
    int workers = 1;

    /// A job's outcome; in the order of the jobs.
    std::function<void(const JobReport &)> report;

    /// How far it is: the picture heard of last, what is done to it, how many are finished, and
    /// which part of the next ones.
    std::function<void(const Job &, const char *phase, size_t finished, double fraction)> progress;
};

/// Runs all jobs. A worker that dies takes its picture with it and is replaced. After a request to
/// stop no job is started, and those that were not are reported as cancelled. No worker is left
/// when this returns or throws.
void RunPool(const PoolTask &task);

} // namespace kowen::cli
