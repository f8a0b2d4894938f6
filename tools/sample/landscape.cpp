#include "landscape.h"

#include "balloon.h"
#include "noise.h"
#include "signpost.h"

#include <algorithm>
#include <cmath>

namespace kowen::sample {
namespace {

constexpr double kShore = 0.60;   // where land and water meet
constexpr double kMeadow = 0.845; // where the near bank begins
constexpr double kSunX = 1.06;    // behind the mountains
constexpr double kSunY = 0.40;

constexpr Colour kSunlight = {1.0, 0.86, 0.62};

Colour Sky(double x, double y) {
    const double down = Step(0, kSunY, y);
    Colour sky = Mix({0.17, 0.33, 0.64}, {0.98, 0.72, 0.50}, std::pow(down, 1.6));
    const double distance = std::hypot(x - kSunX, y - kSunY);
    sky = sky + kSunlight * (0.55 * std::exp(-distance * 6));
    const double puff = Layers(x * 2.6 + 3, y * 7.5, 6);
    const double cloud = Step(0.52, 0.72, puff) * Step(0.6, 0.12, y) * 0.9;
    const double lit = Step(0.0, 0.22, Layers(x * 2.6 + 3.05, y * 7.5 + 0.12, 6) - puff + 0.1);
    return Mix(sky, Mix({1.0, 0.88, 0.78}, {0.52, 0.47, 0.58}, lit), cloud);
}

// Height of a ridge line above the shore.
double Ridge(double x, double scale, double height, double seed) {
    return height * (0.35 + Layers(x * scale + seed, seed, 7));
}

struct Range {
    double scale;
    double height;
    double seed;
    Colour rock;
    double haze;
    double snowLine; // height above the shore
};

// The nearer one first.
constexpr Range kRanges[] = {
    {3.4, 0.19, 41.7, {0.30, 0.30, 0.38}, 0.22, 0.80},
    {2.3, 0.33, 11.2, {0.42, 0.43, 0.55}, 0.45, 0.22},
};

Colour Rock(const Range &range, double x, double y, double above) {
    // The slope toward the sun comes from the difference between two nearby heights of the stone.
    const double here = Layers(x * 26 + range.seed, y * 30, 5);
    const double beside = Layers((x + 0.004) * 26 + range.seed, (y - 0.003) * 30, 5);
    const double light = std::clamp(0.5 + (here - beside) * 5, 0.0, 1.0);
    Colour stone = Mix(range.rock * 0.55, range.rock * 1.35 + kSunlight * 0.12, light);
    const double snow =
        Step(range.snowLine - 0.02, range.snowLine + 0.03, above + (here - 0.5) * 0.16);
    stone = Mix(stone, Mix({0.66, 0.70, 0.84}, {1.0, 0.93, 0.86}, light), snow);
    return Mix(stone, {0.93, 0.74, 0.62}, range.haze * Step(0.25, 0.0, above) + 0.06);
}

// A row of spruces along the far shore: how high the wood reaches at x.
double TreeTop(double x, double width, double tallest, int row) {
    double top = 0;
    const auto cell = static_cast<int32_t>(std::floor(x / width));
    for (int32_t i = cell - 1; i <= cell + 1; ++i) {
        const double middle = (i + 0.2 + 0.6 * CellValue(i, row)) * width;
        const double tall = tallest * (0.55 + 0.45 * CellValue(i, row + 1));
        const double off = std::abs(x - middle) / width;
        const double ragged = 0.10 * (CellValue(static_cast<int32_t>(x * 1400), row + 2) - 0.5);
        top = std::max(top, tall * (1 - off * 1.25 + ragged));
    }
    return top;
}

Colour Wood(double x, double y, double depth) {
    const double needles = Layers(x * 160, y * 220, 3);
    const Colour leaf = Mix({0.03, 0.07, 0.06}, {0.20, 0.27, 0.14}, needles * depth);
    return leaf + kSunlight * (0.10 * Step(0.62, 0.8, needles));
}

bool InNearWood(double x, double above) {
    return above < 0.09 &&
           above < 0.012 + TreeTop(x, 0.026, 0.085, 9) * Step(0.25, 0.7, Noise(x * 4, 5));
}

bool InFarWood(double x, double above) {
    return above < 0.15 && above < 0.035 + TreeTop(x, 0.017, 0.050, 3) + 0.05 * Layers(x * 3, 7, 2);
}

Colour Mountains(double x, double y) {
    const double above = kShore - y;
    for (const Range &range : kRanges) {
        if (above < Ridge(x, range.scale, range.height, range.seed))
            return Rock(range, x, y, above);
    }
    return Sky(x, y);
}

// All that stands above the water, the nearest first.
Colour Land(double x, double y) {
    const double above = kShore - y;
    if (InNearWood(x, above))
        return Wood(x, y, 1.0);
    if (InFarWood(x, above))
        return Mix(Wood(x, y, 0.8), {0.55, 0.45, 0.42}, 0.25);
    if (OnBalloon(x, y))
        return PaintBalloon(x, y);
    return Mountains(x, y);
}

Colour Water(double x, double y) {
    const double depth = (y - kShore) / (kMeadow - kShore);
    const double scale = 1 / (0.12 + depth);
    const double ripple = Layers(x * 14 * scale, y * 150 * scale, 4) - 0.5;
    const double mirroredY = 2 * kShore - y - 0.05 * depth * ripple - 0.004;
    const Colour mirrored = Land(x + ripple * 0.035 * (0.2 + depth), std::max(mirroredY, 0.0));
    Colour water = Mix(mirrored * 0.82, {0.06, 0.16, 0.22}, 0.22 + 0.30 * depth);
    const double path = std::exp(-std::pow((x - kSunX) / (0.05 + 0.16 * depth), 2));
    const double glint = Step(0.60, 0.74, Layers(x * 40 * scale, y * 420 * scale, 2));
    return water + kSunlight * (glint * (0.04 + 0.75 * path));
}

double BankTop(double x) {
    return kMeadow - 0.03 * std::sin(x * 2.1 + 0.6) - 0.012 * Noise(x * 9, 3);
}

// One layer of grass blades: each leans a little and thins toward its tip.
bool OnBlade(double x, double y, int layer, double root, double *shade) {
    const double width = 0.0065 + 0.0012 * layer;
    const auto cell = static_cast<int32_t>(std::floor(x / width));
    for (int32_t i = cell - 3; i <= cell + 3; ++i) {
        const double tall = (0.020 + 0.014 * layer) * (0.4 + 0.9 * CellValue(i, layer * 7 + 50));
        const double up = (root - y) / tall;
        if (up < 0 || up > 1)
            continue;
        const double lean = (CellValue(i, layer * 7 + 51) - 0.5) * 4.5 * width;
        const double middle = (i + CellValue(i, layer * 7 + 52)) * width + lean * up * up;
        if (std::abs(x - middle) < 0.20 * width * (1.05 - up)) {
            *shade = 0.30 + 0.70 * up * CellValue(i, layer * 7 + 53) + 0.12 * up;
            return true;
        }
    }
    return false;
}

bool OnFlower(double x, double y, Colour *colour) {
    constexpr double kCell = 0.034;
    constexpr double kPetals = 5;
    const auto column = static_cast<int32_t>(std::floor(x / kCell));
    const auto row = static_cast<int32_t>(std::floor(y / kCell));
    if (CellValue(column, row + 900) < 0.62)
        return false;
    const double centreX = (column + 0.3 + 0.4 * CellValue(column, row + 901)) * kCell;
    const double centreY = (row + 0.3 + 0.4 * CellValue(column, row + 902)) * kCell;
    const double distance = std::hypot(x - centreX, (y - centreY) * 1.25);
    const double angle = std::atan2(y - centreY, x - centreX);
    const double radius = 0.0075 * (0.62 + 0.38 * std::abs(std::cos(angle * kPetals / 2)));
    if (distance > radius)
        return false;
    const Colour petals[] = {{0.93, 0.20, 0.16}, {0.98, 0.93, 0.90}, {0.46, 0.32, 0.80}};
    const auto kind = static_cast<size_t>(CellValue(column, row + 903) * 2.999);
    *colour = distance < 0.0021 ? Colour{0.98, 0.80, 0.20}
                                : petals[kind] * (0.72 + 0.30 * distance / radius);
    return true;
}

Colour Meadow(double x, double y) {
    const double ground = Layers(x * 60, y * 60, 4);
    Colour colour = Mix({0.07, 0.13, 0.05}, {0.25, 0.31, 0.10}, ground);
    for (int layer = 0; layer < 7; ++layer) {
        const double row = BankTop(x) + 0.012 + 0.036 * layer;
        double shade = 0;
        if (OnBlade(x, y, layer, row + 0.01, &shade))
            colour = Mix({0.10, 0.20, 0.05}, {0.72, 0.74, 0.28}, shade * (0.55 + 0.1 * layer));
    }
    Colour flower;
    if (y > BankTop(x) + 0.035 && OnFlower(x, y, &flower))
        colour = flower;
    return colour;
}

bool OnMeadow(double x, double y) {
    if (y < kShore)
        return false;
    double shade = 0;
    return y > BankTop(x) || OnBlade(x, y, 0, BankTop(x) + 0.022, &shade);
}

} // namespace

Colour PaintAt(double x, double y) {
    if (OnSignpost(x, y))
        return PaintSignpost(x, y);
    if (OnMeadow(x, y))
        return Meadow(x, y);
    return y < kShore + 0.002 * Noise(x * 60, 1) ? Land(x, y) : Water(x, y);
}

} // namespace kowen::sample
