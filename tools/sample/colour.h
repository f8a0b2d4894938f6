// Colours as the painting mixes them: light from 0 to 1 a channel.
#pragma once

#include <cmath>

namespace kowen::sample {

struct Colour {
    double red = 0;
    double green = 0;
    double blue = 0;
};

inline Colour operator*(const Colour &c, double k) {
    return {c.red * k, c.green * k, c.blue * k};
}

inline Colour operator+(const Colour &a, const Colour &b) {
    return {a.red + b.red, a.green + b.green, a.blue + b.blue};
}

/// share 0 gives a, 1 gives b.
inline Colour Mix(const Colour &a, const Colour &b, double share) {
    return {std::lerp(a.red, b.red, share), std::lerp(a.green, b.green, share),
            std::lerp(a.blue, b.blue, share)};
}

} // namespace kowen::sample
