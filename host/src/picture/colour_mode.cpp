#include "picture/colour_mode.h"

#include "kowen/codes.h"

#include <cstdlib>

namespace kowen::host {
namespace {

constexpr int kGreyTolerance = 10;

bool Near(int a, int b) {
    return std::abs(a - b) <= kGreyTolerance;
}

bool IsGrey(const uint8_t *c) {
    return Near(c[0], c[1]) && Near(c[1], c[2]) && Near(c[0], c[2]);
}

void Invert(uint8_t *c) {
    for (int i = 0; i < 3; ++i)
        c[i] = static_cast<uint8_t>(255 - c[i]);
}

void MakeGrey(uint8_t *c) {
    c[0] = c[1] = c[2] = static_cast<uint8_t>((3 * c[0] + 6 * c[1] + c[2]) / 10);
}

void ApplyTo(int32_t mode, uint8_t *colour) {
    switch (mode) {
    case KOWEN_COLOR_INVERTED:
        Invert(colour);
        break;
    case KOWEN_COLOR_GREYS_INVERTED:
        if (IsGrey(colour))
            Invert(colour);
        break;
    case KOWEN_COLOR_GREY_SCALE:
        MakeGrey(colour);
        break;
    case KOWEN_COLOR_GREY_SCALE_INVERTED:
        MakeGrey(colour);
        Invert(colour);
        break;
    default:
        break;
    }
}

} // namespace

void ApplyColourMode(int32_t mode, uint8_t *colours, size_t count) {
    if (mode == KOWEN_COLOR_UNCHANGED)
        return;
    for (size_t i = 0; i < count; ++i)
        ApplyTo(mode, colours + i * 3);
}

} // namespace kowen::host
