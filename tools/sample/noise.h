// Smooth pseudo-random values that depend on the place only.
#pragma once

#include <cstdint>

namespace kowen::sample {

/// A value from 0 to 1 for a cell of the grid.
double CellValue(int32_t x, int32_t y);

/// Smooth noise from 0 to 1; one feature to a unit.
double Noise(double x, double y);

/// Noise of several octaves from 0 to 1: each finer one half as strong.
double Layers(double x, double y, int octaves);

/// 0 below `low`, 1 above `high`, a soft step between.
double Step(double low, double high, double value);

} // namespace kowen::sample
