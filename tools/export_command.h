// kowen export: pictures to JPEG files.
#pragma once

#include "options.h"

namespace kowen::cli {

/// Returns the exit status. Throws Failure when nothing can be exported at all.
int RunExport(ExportOptions *options);

} // namespace kowen::cli
