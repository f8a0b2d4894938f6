// Pictures for the tests of the program, and how near a result is to them.
#pragma once

#include "support/jpeg_decode.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace kowen::test {

using Rgb = std::array<uint8_t, 3>;

/// Top row first.
struct TestPicture {
    int width = 0;
    int height = 0;
    std::vector<Rgb> pixels;

    const Rgb &At(int x, int y) const { return pixels[static_cast<size_t>(y) * width + x]; }
};

inline TestPicture MakePicture(int width, int height, const std::function<Rgb(int, int)> &at) {
    TestPicture picture = {width, height, {}};
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            picture.pixels.push_back(at(x, y));
    }
    return picture;
}

/// Soft colours that differ in every corner, so that a flip, a turn or a swap of channels shows.
inline TestPicture MakeSoftPicture(int width, int height) {
    return MakePicture(width, height, [&](int x, int y) {
        return Rgb{static_cast<uint8_t>(40 + 170 * x / width),
                   static_cast<uint8_t>(60 + 150 * y / height),
                   static_cast<uint8_t>(200 - 120 * x / width)};
    });
}

inline std::string Ppm(const TestPicture &picture) {
    std::string text =
        "P6\n" + std::to_string(picture.width) + " " + std::to_string(picture.height) + "\n255\n";
    for (const Rgb &pixel : picture.pixels)
        text.append(pixel.begin(), pixel.end());
    return text;
}

/// Decibels between a decoded file and the picture, over the rows that both have.
inline double Psnr(const DecodedJpeg &jpeg, const TestPicture &picture) {
    if (jpeg.width != picture.width || jpeg.height < picture.height || jpeg.channels != 3)
        return 0;
    double sum = 0;
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            for (int c = 0; c < 3; ++c)
                sum += std::pow(jpeg.At(x, y)[c] - picture.At(x, y)[static_cast<size_t>(c)], 2);
        }
    }
    const double mean = sum / (3.0 * picture.width * picture.height);
    return mean == 0 ? 99 : 10 * std::log10(255.0 * 255.0 / mean);
}

} // namespace kowen::test
