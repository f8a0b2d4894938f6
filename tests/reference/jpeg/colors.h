// Red, green and blue to the three bytes that the block coder reads.
#pragma once

#include <array>
#include <cstdint>

namespace kowen::reference {

using Pixel = std::array<uint8_t, 3>;

/// colorFormat 222 swaps, 215 makes grey, any other makes luminance and two chroma bytes.
/// bgr: the pixel's bytes are blue, green, red; the swap and grey do not ask.
inline Pixel Mapped(const Pixel &pixel, int colorFormat, bool bgr = false) {
    const int b0 = pixel[0];
    const int b1 = pixel[1];
    const int b2 = pixel[2];
    if (colorFormat == 222)
        return {pixel[2], pixel[1], pixel[0]};
    if (colorFormat == 215) {
        const auto grey = static_cast<uint8_t>((3 * b2 + 6 * b1 + b0) / 10);
        return {grey, grey, grey};
    }
    const int red = bgr ? b2 : b0;
    const int blue = bgr ? b0 : b2;
    const int y = (3 * red + 6 * b1 + blue) / 10;
    return {static_cast<uint8_t>(y), static_cast<uint8_t>((blue - y) / 2 + 128),
            static_cast<uint8_t>((red - y) * 10 / 16 + 128)};
}

} // namespace kowen::reference
