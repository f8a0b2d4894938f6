// The promise: whenever the power fails, the old file or the new one is there, whole.
#pragma once

#include "power/disk_model.h"

#include <optional>
#include <string>
#include <vector>

namespace kowen::test {

/// What was asked for: a file's name, what it was (nothing for none) and what it becomes.
struct Replacement {
    std::string name;
    std::optional<FileState> before;
    FileState after;
};

/// Looks at every state after every beginning of the calls. Returns what breaks the promise first,
/// empty when nothing does: the file is neither the old nor the new one, another file has changed,
/// or something new has a name that does not begin with ".kowen-".
/// isSafeAtTheEnd  after all calls there must be the new file only.
std::string WhatIsLost(const FolderState &folder, const std::vector<DiskCall> &calls,
                       const Replacement &asked, bool isSafeAtTheEnd);

} // namespace kowen::test
