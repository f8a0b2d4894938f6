// The sample picture: a lake in the mountains after sunset, with a balloon and a signpost.
#pragma once

#include "colour.h"

namespace kowen::sample {

/// Width of the picture; its height is 1.
inline constexpr double kAspect = 1.5;

/// The colour at a place. x from 0 to kAspect to the right, y from 0 to 1 downwards.
Colour PaintAt(double x, double y);

} // namespace kowen::sample
