// Two pictures and what differs between them, side by side.
#pragma once

#include "compare/plain_picture.h"

namespace kowen::cli {

/// Throws UsageFailure for a name that is no PNG's, Failure for one that cannot be made: a file of
/// that name is there already, or its folder is not.
void CheckComparisonName(const std::string &path);

/// Makes a PNG: the picture, the result, and their difference eight times as strong around a middle
/// grey. A file of that name is not replaced. Throws Failure, and leaves no file then.
void WriteComparison(const std::string &path, const PlainPicture &picture,
                     const PlainPicture &result);

} // namespace kowen::cli
