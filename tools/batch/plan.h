// Which pictures an export makes which files of.
#pragma once

#include "batch/job.h"

#include <cstddef>
#include <string>
#include <vector>

namespace kowen::cli {

struct Plan {
    std::vector<Job> jobs;
    std::vector<std::string> notes; ///< about what was left out
    size_t upToDate = 0;            ///< pictures whose JPEGs --update passes over
};

/// Works out the jobs, and makes the folder of --to and those below it that they need.
///
/// A JPEG lies beside its picture under the picture's name, or in the folder of --to; there it lies
/// as deep as the picture does in the folder that was named. Of two pictures that would make the
/// same file the second is refused, and so is a file that is one of the pictures; a
/// picture that is named twice is exported once. In a folder a
/// JPEG beside another picture of its name is passed over: it is what an earlier export made of
/// that.
///
/// Throws UsageFailure for names that do not go together, Failure for a folder that cannot be made.
Plan MakePlan(const ExportOptions &options);

/// Whether a name ends as a JPEG's does.
bool EndsAsJpeg(const std::string &name);

} // namespace kowen::cli
