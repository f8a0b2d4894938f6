// The question for a picture's size in pixels that several tests begin with.
#pragma once

#include "kowen/records.h"

namespace kowen {

/// 96 dpi displays, 100 dpi pictures where nothing else is said.
inline constexpr RasterQuery kQuery = {96, 0, 100, 200, 100, 960, 480};

} // namespace kowen
