// A wooden signpost with lettering and a ruler: thin lines and hard contrasts.
#pragma once

#include "colour.h"

namespace kowen::sample {

/// Whether the board or the post are at a place.
bool OnSignpost(double x, double y);

/// The colour of a place on it.
Colour PaintSignpost(double x, double y);

} // namespace kowen::sample
