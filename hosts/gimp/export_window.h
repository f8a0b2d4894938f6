// The windows in which one chooses and exports.
#pragma once

#include "save_image.h"

#include <libgimp/gimp.h>

namespace kowen::gimp {

enum class Answer {
    kSaved,
    kCancelled,
    kFailed ///< before there was a window; the result says why
};

/// Shows the window, exports when the user says so, and comes back to it when that fails.
///
/// path  null: the window asks for the file as well; else the file, chosen already.
Answer ExportFromWindow(gint32 image, const char *path, KowenResult *result);

} // namespace kowen::gimp
