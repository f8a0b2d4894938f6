#include "picture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

namespace {

// A well-mixed number for a place of the noise lattice.
uint32_t Mix(uint32_t x, uint32_t y, uint32_t seed) {
    uint32_t h = x * 0x9E3779B1u ^ y * 0x85EBCA77u ^ seed * 0xC2B2AE3Du;
    h = (h ^ (h >> 15)) * 0x2C1B3C6Du;
    h = (h ^ (h >> 12)) * 0x297A2D39u;
    return h ^ (h >> 15);
}

// -1 to 1.
float Lattice(uint32_t x, uint32_t y, uint32_t seed) {
    return static_cast<float>(Mix(x, y, seed) >> 8) * (2.0f / 16777216.0f) - 1.0f;
}

float Smooth(float t) {
    return t * t * (3.0f - 2.0f * t);
}

// Noise that turns once in each cell of the given side.
float Noise(uint32_t x, uint32_t y, uint32_t side, uint32_t seed) {
    const uint32_t column = x / side;
    const uint32_t row = y / side;
    const float across = Smooth(static_cast<float>(x % side) / static_cast<float>(side));
    const float down = Smooth(static_cast<float>(y % side) / static_cast<float>(side));
    const float top = std::lerp(Lattice(column, row, seed), Lattice(column + 1, row, seed), across);
    const float bottom =
        std::lerp(Lattice(column, row + 1, seed), Lattice(column + 1, row + 1, seed), across);
    return std::lerp(top, bottom, down);
}

// Noise of every size from `coarsest` down to `finest`, each half as large as the one before and
// `persistence` times as strong. -2 to 2 at most.
float Texture(uint32_t x, uint32_t y, uint32_t coarsest, uint32_t finest, float persistence,
              uint32_t seed) {
    float sum = 0.0f;
    float strength = 1.0f;
    for (uint32_t side = coarsest; side >= finest; side /= 2) {
        sum += strength * Noise(x, y, side, seed + side);
        strength *= persistence;
    }
    return sum * (1.0f - persistence) * 2.0f;
}

// A round thing in the scene, lit from the upper left.
struct Ball {
    float x, y, radius; // in heights of the picture
    std::array<float, 3> colour;
    float roughness;
};

std::vector<Ball> MakeBalls() {
    constexpr uint32_t kBalls = 90;
    std::vector<Ball> balls;
    for (uint32_t i = 0; i < kBalls; ++i) {
        const auto value = [i](uint32_t what) { return Lattice(i, what, 77) * 0.5f + 0.5f; };
        const float far = value(2);
        balls.push_back(
            {value(0) * 1.5f,
             0.3f + value(1) * 0.7f,
             0.015f + 0.12f * far * far,
             {60.0f + 150.0f * value(3), 50.0f + 130.0f * value(4), 40.0f + 120.0f * value(5)},
             4.0f + 260.0f * value(6)});
    }
    return balls;
}

using Colour = std::array<float, 3>;

Colour Shade(const Colour &colour, float light) {
    return {colour[0] * light, colour[1] * light, colour[2] * light};
}

// What is seen at a place, before the texture; `roughness` is how strong that is.
Colour SceneAt(float x, float y, float hills, const std::vector<Ball> &balls, float *roughness) {
    for (const Ball &ball : balls) {
        const float dx = (x - ball.x) / ball.radius;
        const float dy = (y - ball.y) / ball.radius;
        const float distance = dx * dx + dy * dy;
        if (distance >= 1.0f)
            continue;
        *roughness = ball.roughness;
        const float depth = std::sqrt(1.0f - distance);
        return Shade(ball.colour, 0.35f + 0.75f * std::max(0.0f, (-dx - dy + 1.4f * depth) / 2.0f));
    }
    if (y < hills) {
        *roughness = 20.0f + 30.0f * y;
        return {120.0f + 90.0f * y, 160.0f + 60.0f * y, 225.0f - 15.0f * y};
    }
    *roughness = 300.0f;
    return Shade({96.0f, 112.0f, 60.0f}, 1.25f - 0.5f * y);
}

uint8_t Sample(float value) {
    return static_cast<uint8_t>(std::clamp(value + 0.5f, 0.0f, 255.0f));
}

void DrawPixel(uint32_t x, uint32_t y, uint32_t height, const std::vector<Ball> &balls,
               uint8_t *pixel) {
    const float scale = 1.0f / static_cast<float>(height);
    const float hills = 0.3f + 0.06f * Texture(x, 0, 512, 8, 0.5f, 11);
    float roughness = 0.0f;
    const Colour colour = SceneAt(static_cast<float>(x) * scale, static_cast<float>(y) * scale,
                                  hills, balls, &roughness);
    const float texture = roughness * Texture(x, y, 32, 2, 0.88f, 23);
    const float tint = 0.06f * roughness * Texture(x, y, 256, 16, 0.5f, 41);
    const float noise = 3.0f * Lattice(x, y, 53);
    pixel[0] = Sample(colour[0] + texture + noise + tint);
    pixel[1] = Sample(colour[1] + texture + noise);
    pixel[2] = Sample(colour[2] + texture + noise - tint);
}

[[noreturn]] void Give(const std::string &path, const char *why) {
    std::fprintf(stderr, "%s: %s\n", path.c_str(), why);
    std::exit(1);
}

// A number of a PPM's head, behind white space and comments.
uint32_t ReadNumber(std::istream &in) {
    while (in >> std::ws && in.peek() == '#')
        in.ignore(1 << 16, '\n');
    uint32_t number = 0;
    in >> number;
    return number;
}

} // namespace

Picture DrawPhotograph(uint32_t width, uint32_t height) {
    Picture picture{width, height, {}};
    picture.pixels.resize(picture.RowBytes() * height);
    const std::vector<Ball> balls = MakeBalls();
    for (uint32_t y = 0; y < height; ++y) {
        uint8_t *row = picture.pixels.data() + picture.RowBytes() * (height - 1 - y);
        for (uint32_t x = 0; x < width; ++x)
            DrawPixel(x, y, height, balls, row + size_t{x} * 3);
    }
    return picture;
}

Picture ReadPpm(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    std::string magic;
    in >> magic;
    const uint32_t width = ReadNumber(in);
    const uint32_t height = ReadNumber(in);
    const uint32_t maximum = ReadNumber(in);
    in.get();
    if (!in || magic != "P6" || maximum != 255 || width == 0 || height == 0 || width > 65535 ||
        height > 65535)
        Give(path, "not a binary PPM of 8 bits and at most 65535 x 65535");

    Picture picture{width, height, {}};
    picture.pixels.resize(picture.RowBytes() * height);
    for (uint32_t y = 0; y < height; ++y)
        in.read(
            reinterpret_cast<char *>(picture.pixels.data() + picture.RowBytes() * (height - 1 - y)),
            std::streamsize{width} * 3);
    if (!in)
        Give(path, "cut short");
    return picture;
}

Picture Indexed(const Picture &from, uint16_t depth) {
    Picture picture{from.width, from.height, {}, depth, {}};
    picture.pixels.resize(picture.RowBytes() * from.height);
    for (uint32_t y = 0; y < from.height; ++y) {
        const uint8_t *row = from.pixels.data() + from.RowBytes() * y;
        uint8_t *indices = picture.pixels.data() + picture.RowBytes() * y;
        for (uint32_t x = 0; x < from.width; ++x) {
            const unsigned index = row[x * 3 + 1] >> (8 - depth);
            const unsigned bit = x * depth;
            indices[bit / 8] |= static_cast<uint8_t>(index << (8 - depth - bit % 8));
        }
    }
    const int last = (1 << depth) - 1;
    for (int i = 0; i <= last; ++i)
        picture.palette.insert(picture.palette.end(), 3, static_cast<uint8_t>(i * 255 / last));
    return picture;
}

Picture Cut(const Picture &from, uint32_t column, uint32_t row, uint32_t width, uint32_t height) {
    Picture picture{width, height, {}};
    picture.pixels.resize(picture.RowBytes() * height);
    for (uint32_t y = 0; y < height; ++y)
        std::memcpy(picture.pixels.data() + picture.RowBytes() * y,
                    from.pixels.data() + from.RowBytes() * (row + y) + size_t{column} * 3,
                    size_t{width} * 3);
    return picture;
}
