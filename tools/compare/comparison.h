// Two pictures and what differs between them, side by side.
#pragma once

#include "compare/plain_picture.h"

namespace kowen::cli {

/// Makes a PNG: the picture, the result, and their difference eight times as strong around a middle
/// grey. A file of that name is not replaced. Throws Failure, and leaves no file then.
void WriteComparison(const std::string &path, const PlainPicture &picture,
                     const PlainPicture &result);

} // namespace kowen::cli
