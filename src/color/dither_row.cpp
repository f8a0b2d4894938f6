#include "color/dither_row.h"

#include <cstring>

namespace kowen {
namespace {

// One colour while it is worked on.
struct Color {
    int channel[3];
};

Color Load(const uint8_t *pixel) noexcept {
    return {{pixel[0], pixel[1], pixel[2]}};
}

void Store(const Color &color, uint8_t *pixel) noexcept {
    for (int i = 0; i < 3; ++i)
        pixel[i] = static_cast<uint8_t>(color.channel[i]);
}

int Limited(int x) noexcept {
    return x < 0 ? 0 : x > 255 ? 255 : x;
}

// color + s - q x share, where q = error / 8 and s = 7 error / 16, truncated toward zero. Shares 0
// to 3 stand for 7/16, 5/16, 3/16 and 1/16 of the error.
template <int Share> Color Spread(Color color, const Color &error) noexcept {
    for (int i = 0; i < 3; ++i) {
        const int e = error.channel[i];
        color.channel[i] = Limited(color.channel[i] + 7 * e / 16 - e / 8 * Share);
    }
    return color;
}

uint32_t FindNearestIn(NearestFinder *finder, uint8_t red, uint8_t green, uint8_t blue) noexcept {
    return finder->cellBits == 6   ? FindNearest<6>(finder, red, green, blue)
           : finder->cellBits == 5 ? FindNearest<5>(finder, red, green, blue)
                                   : FindNearest<0>(finder, red, green, blue);
}

Color EntryOf(const ColorTable &table, uint32_t index) noexcept {
    return index < table.count ? Load(table.entries + size_t{index} * kTableEntryBytes) : Color{};
}

} // namespace

void DitherRow(NearestFinder *finder, uint8_t *current, uint8_t *next, uint32_t width,
               uint8_t *indices) noexcept {
    if (width == 0)
        return;
    uint32_t index = 0;
    Color chosen = EntryOf(finder->table, 0);
    Color pixel = Load(current);
    Color below = next != nullptr ? Load(next) : Color{}; // so far, of this column
    for (uint32_t i = 0; i + 1 < width; ++i, current += 3) {
        index = FindNearestIn(finder, static_cast<uint8_t>(pixel.channel[0]),
                              static_cast<uint8_t>(pixel.channel[1]),
                              static_cast<uint8_t>(pixel.channel[2]));
        chosen = EntryOf(finder->table, index);
        Color error;
        for (int c = 0; c < 3; ++c)
            error.channel[c] = pixel.channel[c] - chosen.channel[c];
        if (indices != nullptr)
            indices[i] = static_cast<uint8_t>(index);
        Store(chosen, current);
        pixel = Spread<0>(Load(current + 3), error);
        if (next == nullptr)
            continue;
        if (i > 0)
            Store(Spread<2>(Load(next - 3), error), next - 3);
        Store(Spread<1>(below, error), next);
        below = Spread<3>(Load(next + 3), error);
        next += 3;
    }
    Store(chosen, current);
    if (indices != nullptr)
        indices[width - 1] = static_cast<uint8_t>(index);
    if (next != nullptr)
        Store(below, next);
}

} // namespace kowen
