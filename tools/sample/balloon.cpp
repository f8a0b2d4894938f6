#include "balloon.h"

#include "noise.h"

#include <algorithm>
#include <cmath>

namespace kowen::sample {
namespace {

constexpr double kX = 0.40;
constexpr double kY = 0.205;
constexpr double kRadius = 0.098;
constexpr double kBasketY = kY + kRadius * 1.78;
constexpr double kBasketHalf = 0.0145;
constexpr double kBasketHeight = 0.020;
constexpr double kMouth = 1.42; // in radii below the middle
constexpr int kGores = 12;

constexpr Colour kRope = {0.15, 0.12, 0.10};

constexpr Colour kStripes[] = {{0.86, 0.13, 0.12}, {0.97, 0.82, 0.18}, {0.10, 0.30, 0.70}};

// Half the envelope's width at a height; a ball above, a cone below.
double HalfWidth(double down) {
    if (down < 0.25)
        return std::sqrt(std::max(0.0, 1 - down * down));
    return std::max(0.0, std::sqrt(1 - 0.0625) * (1 - (down - 0.25) / 1.5));
}

Colour Envelope(double across, double down) {
    const double turn = std::asin(std::clamp(across, -1.0, 1.0)) + 0.35;
    const double gore = (turn / 3.14159265358979 + 1) * kGores;
    const auto stripe = static_cast<size_t>(gore) % 3;
    const double seam = Step(0.06, 0.0, std::abs(gore - std::round(gore)));
    Colour cloth = kStripes[stripe];
    if (down > -0.12 && down < 0.12)
        cloth = std::fmod(gore * 2, 2) < 1 ? Colour{0.97, 0.95, 0.90} : Colour{0.16, 0.14, 0.18};
    const double light = 0.52 + 0.58 * Step(-1.0, 0.9, across * 0.8 - down * 0.45);
    const double shine =
        0.30 * std::exp(-(std::pow(across - 0.42, 2) + std::pow(down + 0.5, 2)) * 14);
    return (cloth * light * (1 - 0.35 * seam)) + Colour{1, 0.95, 0.85} * shine;
}

Colour Wicker(double x, double y) {
    const auto column = static_cast<int>(std::floor(x * 620));
    const auto row = static_cast<int>(std::floor(y * 620));
    return Colour{0.50, 0.33, 0.16} * ((column + row) % 2 == 0 ? 1.15 : 0.70);
}

bool OnEnvelope(double x, double y) {
    const double down = (y - kY) / kRadius;
    return down > -1 && down < kMouth && std::abs(x - kX) < HalfWidth(down) * kRadius;
}

bool OnBasket(double x, double y) {
    return std::abs(x - kX) < kBasketHalf && y > kBasketY && y < kBasketY + kBasketHeight;
}

// Ropes run from the mouth of the envelope to the basket.
bool OnRope(double x, double y) {
    const double mouthY = kY + kMouth * kRadius;
    if (y < mouthY || y > kBasketY)
        return false;
    const double share = (y - mouthY) / (kBasketY - mouthY);
    const double spread = std::lerp(0.020, kBasketHalf * 0.95, share);
    for (const double place : {-1.0, -0.33, 0.33, 1.0}) {
        if (std::abs(x - kX - place * spread) < 0.0008)
            return true;
    }
    return false;
}

} // namespace

bool OnBalloon(double x, double y) {
    return OnEnvelope(x, y) || OnBasket(x, y) || OnRope(x, y);
}

Colour PaintBalloon(double x, double y) {
    if (OnBasket(x, y))
        return Wicker(x, y);
    if (!OnEnvelope(x, y))
        return kRope;
    const double down = (y - kY) / kRadius;
    return Envelope((x - kX) / (HalfWidth(down) * kRadius), down);
}

} // namespace kowen::sample
