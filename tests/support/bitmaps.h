// Small pictures made of integers only, the same on every machine.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

/// A bitmap as a host hands it over: bottom row first, rows padded to a multiple of 4 bytes.
struct TestBitmap {
    int depth = 24;
    int width = 0;
    int height = 0;
    std::vector<uint8_t> pixels;
    std::vector<uint8_t> palette; ///< red, green, blue; empty for none

    /// Bytes of a row.
    int Stride() const { return (width * depth + 31) / 32 * 4; }

    /// A pixel of a 24-bit or 32-bit bitmap; row 0 is the first in memory.
    uint8_t *Pixel(int x, int row) {
        return pixels.data() + static_cast<size_t>(row) * static_cast<size_t>(Stride()) +
               static_cast<size_t>(x * (depth / 8));
    }
    const uint8_t *Pixel(int x, int row) const {
        return const_cast<TestBitmap *>(this)->Pixel(x, row);
    }
};

/// A linear congruential generator (Numerical Recipes); its high bits are good enough for noise.
class TestRandom {
public:
    explicit TestRandom(uint32_t seed) : state_(seed) {}

    uint32_t Next() {
        state_ = state_ * 1664525u + 1013904223u;
        return state_ >> 8;
    }
    /// From low to high, both included.
    int Between(int low, int high) {
        return low + static_cast<int>(Next() % static_cast<uint32_t>(high - low + 1));
    }
    uint8_t Byte() { return static_cast<uint8_t>(Next() >> 8); }

private:
    uint32_t state_;
};

/// Every byte of the rows 0, the padding included.
inline TestBitmap MakeBlank(int width, int height, int depth = 24) {
    TestBitmap bitmap{depth, width, height, {}, {}};
    bitmap.pixels.resize(static_cast<size_t>(bitmap.Stride()) * static_cast<size_t>(height));
    return bitmap;
}

/// One colour all over.
inline TestBitmap MakeFlat(int width, int height, uint8_t red, uint8_t green, uint8_t blue) {
    TestBitmap bitmap = MakeBlank(width, height);
    for (int row = 0; row < height; ++row)
        for (int x = 0; x < width; ++x) {
            uint8_t *p = bitmap.Pixel(x, row);
            p[0] = red;
            p[1] = green;
            p[2] = blue;
        }
    return bitmap;
}

/// Red grows to the right, green upwards, blue along the diagonal.
inline TestBitmap MakeGradient(int width, int height) {
    TestBitmap bitmap = MakeBlank(width, height);
    for (int row = 0; row < height; ++row)
        for (int x = 0; x < width; ++x) {
            uint8_t *p = bitmap.Pixel(x, row);
            p[0] = static_cast<uint8_t>(255 * x / width);
            p[1] = static_cast<uint8_t>(255 * row / height);
            p[2] = static_cast<uint8_t>(255 * (x + row) / (width + height));
        }
    return bitmap;
}

/// Independent random bytes, those of the row padding too.
inline TestBitmap MakeNoise(int width, int height, uint32_t seed = 1, int depth = 24) {
    TestBitmap bitmap = MakeBlank(width, height, depth);
    TestRandom random(seed);
    for (uint8_t &byte : bitmap.pixels)
        byte = random.Byte();
    return bitmap;
}

/// Squares of 3 x 3 pixels in pure black, white, red and blue: the steepest edges there are.
inline TestBitmap MakeChecks(int width, int height) {
    static constexpr uint8_t kColors[4][3] = {{0, 0, 0}, {255, 255, 255}, {255, 0, 0}, {0, 0, 255}};
    TestBitmap bitmap = MakeBlank(width, height);
    for (int row = 0; row < height; ++row)
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < 3; ++c)
                bitmap.Pixel(x, row)[c] = kColors[x / 3 % 2 + row / 3 % 2 * 2][c];
    return bitmap;
}

/// A soft picture that compresses as photographs do: a gradient with a little noise on it.
inline TestBitmap MakeSoft(int width, int height, uint32_t seed = 1) {
    TestBitmap bitmap = MakeGradient(width, height);
    TestRandom random(seed);
    for (int row = 0; row < height; ++row)
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < 3; ++c) {
                uint8_t &byte = bitmap.Pixel(x, row)[c];
                byte = static_cast<uint8_t>(byte * 7 / 8 + random.Between(8, 23));
            }
    return bitmap;
}

/// Random palette indices of 1, 4 or 8 bits with a palette of 2^depth random colours.
inline TestBitmap MakeIndexed(int depth, int width, int height, uint32_t seed = 1) {
    TestBitmap bitmap = MakeNoise(width, height, seed, depth);
    TestRandom random(seed + 1);
    bitmap.palette.resize(static_cast<size_t>(3) << depth);
    for (uint8_t &byte : bitmap.palette)
        byte = random.Byte();
    return bitmap;
}
