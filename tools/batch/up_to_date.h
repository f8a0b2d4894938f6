// Whether an earlier export's JPEG still does.
#pragma once

#include <string>

namespace kowen::cli {

/// Whether there is a JPEG at `target` that is not older than the picture at `source`. False for
/// what is no whole file, for an empty one and where either cannot be looked at.
bool IsUpToDate(const std::string &target, const std::string &source);

} // namespace kowen::cli
