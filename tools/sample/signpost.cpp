#include "signpost.h"

#include "noise.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <string_view>

namespace kowen::sample {
namespace {

// Seven rows of five dots, the leftmost in the highest bit.
struct Letter {
    char name;
    std::array<uint8_t, 7> rows;
};

constexpr Letter kLetters[] = {
    {'A', {14, 17, 17, 31, 17, 17, 17}}, {'E', {31, 16, 16, 30, 16, 16, 31}},
    {'K', {17, 18, 20, 24, 20, 18, 17}}, {'L', {16, 16, 16, 16, 16, 16, 31}},
    {'M', {17, 27, 21, 21, 17, 17, 17}}, {'N', {17, 25, 21, 19, 17, 17, 17}},
    {'O', {14, 17, 17, 17, 17, 17, 14}}, {'S', {15, 16, 16, 14, 1, 1, 30}},
    {'T', {31, 4, 4, 4, 4, 4, 4}},       {'W', {17, 17, 17, 21, 21, 27, 17}},
    {'I', {14, 4, 4, 4, 4, 4, 14}},      {'R', {30, 17, 17, 30, 20, 18, 17}},
    {'2', {14, 17, 1, 6, 8, 16, 31}},    {'4', {2, 6, 10, 18, 31, 2, 2}},
    {'7', {31, 1, 2, 4, 8, 8, 8}},       {'.', {0, 0, 0, 0, 0, 12, 12}},
};

bool OnLetter(char name, int column, int row) {
    for (const Letter &letter : kLetters) {
        if (letter.name == name)
            return (letter.rows[static_cast<size_t>(row)] >> (4 - column) & 1) != 0;
    }
    return false;
}

// Text whose dots are `dot` wide; (x, y) is measured from its top left corner.
bool OnText(std::string_view text, double x, double y, double dot) {
    const int column = static_cast<int>(std::floor(x / dot));
    const int row = static_cast<int>(std::floor(y / dot));
    if (column < 0 || row < 0 || row >= 7 || column >= static_cast<int>(text.size()) * 6)
        return false;
    return column % 6 < 5 && OnLetter(text[static_cast<size_t>(column / 6)], column % 6, row);
}

constexpr double kBoardLeft = 0.105;
constexpr double kBoardTop = 0.665;
constexpr double kBoardWidth = 0.275;
constexpr double kBoardHeight = 0.128;
constexpr double kMargin = 0.036;
constexpr double kPostLeft = 0.232;
constexpr double kPostWidth = 0.024;
constexpr double kPostBottom = 0.955;

Colour Grain(double along, double across, double seed) {
    const double rings = Layers(along * 9 + seed, across * 90, 4);
    const double fibre = Noise(along * 60, across * 900 + seed);
    const double line = 0.5 + 0.5 * std::sin((rings * 9 + across * 60) * 6.2831853);
    return Mix({0.30, 0.18, 0.09}, {0.66, 0.45, 0.26}, 0.55 * line + 0.45 * fibre);
}

bool OnRuler(double x, double y) {
    const double unit = 0.005;
    const int mark = static_cast<int>(std::floor(x / unit));
    const double tall = mark % 10 == 0 ? 0.013 : mark % 5 == 0 ? 0.0095 : 0.006;
    return x - mark * unit < 0.0014 && y >= 0 && y < tall;
}

Colour Board(double x, double y) {
    const double plank = y < kBoardHeight / 2 ? 3 : 8;
    Colour wood = Grain(x, y, plank) * 1.02;
    if (std::abs(y - kBoardHeight / 2) < 0.0012)
        wood = wood * 0.35; // the gap between the planks
    const double edge = std::min(std::min(x, kBoardWidth - x), std::min(y, kBoardHeight - y));
    wood = wood * (0.6 + 0.4 * Step(0, 0.006, edge));
    for (const double nailX : {0.012, kBoardWidth - 0.012}) {
        for (const double nailY : {0.014, kBoardHeight - 0.014}) {
            const double distance = std::hypot(x - nailX, y - nailY);
            if (distance < 0.0042)
                wood = Mix({0.75, 0.76, 0.80}, {0.20, 0.20, 0.22}, Step(0.0, 0.0042, distance));
        }
    }
    const double rulerX = x - kMargin;
    const bool onRuler = rulerX >= 0 && x < kBoardWidth - kMargin && OnRuler(rulerX, y - 0.101);
    const bool ink = OnText("KOWEN", x - 0.053, y - 0.013, 0.0058) ||
                     OnText("LAKE TRAIL 2.4 KM", x - kMargin, y - 0.077, 0.0020) || onRuler;
    return ink ? Mix(wood, {0.97, 0.95, 0.88}, 0.9) : wood;
}

bool OnBoard(double x, double y) {
    return x >= kBoardLeft && x < kBoardLeft + kBoardWidth && y >= kBoardTop &&
           y < kBoardTop + kBoardHeight;
}

} // namespace

bool OnSignpost(double x, double y) {
    if (OnBoard(x, y))
        return true;
    const double ragged = 0.012 * Noise(x * 700, 2);
    return x >= kPostLeft && x < kPostLeft + kPostWidth && y > kBoardTop - 0.03 &&
           y < kPostBottom - ragged;
}

Colour PaintSignpost(double x, double y) {
    if (OnBoard(x, y))
        return Board(x - kBoardLeft, y - kBoardTop);
    const double across = (x - kPostLeft) / kPostWidth;
    const double round = 0.45 + 0.65 * std::sin((across * 0.8 + 0.15) * 3.14159265);
    return Grain(y, x, 21) * round;
}

} // namespace kowen::sample
