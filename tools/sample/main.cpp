// kowen_sample: draws the picture that the demonstration exports.
//
//     kowen_sample OUT.ppm

#include "landscape.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

namespace kowen::sample {
namespace {

constexpr int kWidth = 1200;
constexpr int kHeight = 800;
constexpr int kSamples = 2; // each way in a pixel

uint8_t Byte(double light) {
    return static_cast<uint8_t>(std::lround(std::clamp(light, 0.0, 1.0) * 255));
}

Colour PixelAt(int column, int row) {
    Colour sum;
    for (int i = 0; i < kSamples * kSamples; ++i) {
        const double x = column + (i % kSamples + 0.5) / kSamples;
        const double y = row + (i / kSamples + 0.5) / kSamples;
        sum = sum + PaintAt(x * kAspect / kWidth, y / kHeight);
    }
    return sum * (1.0 / (kSamples * kSamples));
}

std::vector<uint8_t> Draw() {
    std::vector<uint8_t> pixels;
    pixels.reserve(size_t{kWidth} * kHeight * 3);
    for (int row = 0; row < kHeight; ++row) {
        for (int column = 0; column < kWidth; ++column) {
            const Colour colour = PixelAt(column, row);
            for (const double light : {colour.red, colour.green, colour.blue})
                pixels.push_back(Byte(light));
        }
    }
    return pixels;
}

bool Write(const char *path, const std::vector<uint8_t> &pixels) {
    std::FILE *file = std::fopen(path, "wb");
    if (file == nullptr)
        return false;
    bool written = std::fprintf(file, "P6\n%d %d\n255\n", kWidth, kHeight) > 0;
    written = written && std::fwrite(pixels.data(), 1, pixels.size(), file) == pixels.size();
    return std::fclose(file) == 0 && written;
}

} // namespace
} // namespace kowen::sample

int main(int argc, char **argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: kowen_sample OUT.ppm\n");
        return 2;
    }
    if (!kowen::sample::Write(argv[1], kowen::sample::Draw())) {
        std::fprintf(stderr, "kowen_sample: %s: %s\n", argv[1], std::strerror(errno));
        return 1;
    }
    return 0;
}
