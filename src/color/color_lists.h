// Which colours of a list can be nearest to any colour of a box: what a NearestFinder looks at.
#pragma once

#include "color/nearest_finder.h"

#include <cstdint>

namespace kowen {

/// A box of the colour cube: channel values from low to high, both inclusive.
struct ColorCube {
    int low[3];
    int high[3];
};

/// The box of a colour among those that bits bits per channel name.
ColorCube CubeOf(const uint8_t color[3], int bits) noexcept;

/// Its number, from 0 to 2^(3 bits) - 1.
uint32_t CubeNumber(const uint8_t color[3], int bits) noexcept;

/// Whether a box has colours that count as grey.
bool HasGreys(const ColorCube &cube) noexcept;

/// Writes to out those of a list that may be nearest to a colour of the box, in the same order;
/// every one that is nearest with the lowest index is among them. out has room for as many as list
/// has, its head included.
void ChooseCandidates(const ColorCube &cube, const NearestCandidate *list,
                      NearestCandidate *out) noexcept;

/// The nearest of a list, the first of equally near ones; 0 when it is empty.
uint32_t NearestOfList(const NearestCandidate *list, int red, int green, int blue) noexcept;

} // namespace kowen
