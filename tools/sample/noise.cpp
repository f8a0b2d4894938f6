#include "noise.h"

#include <algorithm>
#include <cmath>

namespace kowen::sample {

double CellValue(int32_t x, int32_t y) {
    uint32_t mixed =
        static_cast<uint32_t>(x) * 0x9E3779B1U ^ static_cast<uint32_t>(y) * 0x85EBCA77U;
    mixed = (mixed ^ mixed >> 15) * 0x2C1B3C6DU;
    mixed = (mixed ^ mixed >> 12) * 0x297A2D39U;
    return (mixed ^ mixed >> 15) / 4294967295.0;
}

double Noise(double x, double y) {
    const double column = std::floor(x);
    const double row = std::floor(y);
    const auto cx = static_cast<int32_t>(column);
    const auto cy = static_cast<int32_t>(row);
    const double u = Step(0, 1, x - column);
    const double v = Step(0, 1, y - row);
    const double top = std::lerp(CellValue(cx, cy), CellValue(cx + 1, cy), u);
    const double bottom = std::lerp(CellValue(cx, cy + 1), CellValue(cx + 1, cy + 1), u);
    return std::lerp(top, bottom, v);
}

double Layers(double x, double y, int octaves) {
    double sum = 0;
    double weight = 0.5;
    double total = 0;
    for (int i = 0; i < octaves; ++i) {
        sum += weight * Noise(x, y);
        total += weight;
        weight /= 2;
        x = x * 2 + 17.3;
        y = y * 2 + 9.7;
    }
    return sum / total;
}

double Step(double low, double high, double value) {
    const double t = std::clamp((value - low) / (high - low), 0.0, 1.0);
    return t * t * (3 - 2 * t);
}

} // namespace kowen::sample
