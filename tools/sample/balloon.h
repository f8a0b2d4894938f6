// A striped balloon: strong colours, sharp edges and a soft round shade.
#pragma once

#include "colour.h"

namespace kowen::sample {

/// Whether the balloon, its ropes or its basket are at a place.
bool OnBalloon(double x, double y);

/// The colour of a place on it.
Colour PaintBalloon(double x, double y);

} // namespace kowen::sample
