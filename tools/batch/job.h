// One picture of an export: where it comes from, where it goes, what became of it.
#pragma once

#include "host_library.h"
#include "options.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace kowen::cli {

struct Job {
    std::string source;       ///< path, "-" = standard input
    std::string target;       ///< path, "-" = standard output
    bool replaceJpeg = false; ///< a JPEG of that name may be replaced
    std::string refusal;      ///< why it cannot even be tried; empty = it can
};

/// What became of a job.
struct JobReport {
    std::string source;
    std::string target;
    std::string error; ///< empty = the JPEG is there
    bool cancelled = false;
    bool begun = true;  ///< false: the export was cancelled before
    bool paler = false; ///< one of the notes says that colours come out paler
    uint64_t bytes = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t xDpi = 0;
    uint32_t yDpi = 0;
    bool grey = false;
    bool progressive = false;
    int32_t quality = 0;
    double clippedPercent = 0;
    std::vector<std::string> notes;
    double milliseconds = 0;

    bool Done() const { return error.empty(); }
};

/// Told what is under way, "reading" or "exporting", and which part of it is done.
using JobProgress = std::function<void(const char *phase, double fraction)>;

/// Exports one picture. A failure is in the report; only ReaderGone is thrown.
JobReport RunJob(const Job &job, const PictureOptions &options, const Module &module,
                 const JobProgress &progress);

} // namespace kowen::cli
