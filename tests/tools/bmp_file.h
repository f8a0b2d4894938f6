// Writes BMP files: a format that the picture library reads.
#pragma once

#include <cstdint>
#include <string>

namespace kowen::test {

/// A picture of two colours, 24 bits, bottom row first, at 100 dots per inch.
inline std::string Bmp(int width, int height) {
    const auto number = [](uint32_t value) {
        std::string text;
        for (int i = 0; i < 4; ++i)
            text += static_cast<char>(value >> (8 * i));
        return text;
    };
    const int padding = (4 - width * 3 % 4) % 4;
    std::string pixels;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            pixels += x < width / 2 ? "\x80\x70\x60" : "\x70\x80\x90";
        pixels += std::string(static_cast<size_t>(padding), '\0');
    }
    return "BM" + number(static_cast<uint32_t>(54 + pixels.size())) + number(0) + number(54) +
           number(40) + number(static_cast<uint32_t>(width)) +
           number(static_cast<uint32_t>(height)) + std::string("\x01\0\x18\0", 4) + number(0) +
           number(static_cast<uint32_t>(pixels.size())) + number(3937) + number(3937) + number(0) +
           number(0) + pixels;
}

} // namespace kowen::test
