// The loops of adjust.h, compiled once for each instruction set. What is written out here for one
// pixel is what every form gives.

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace kowen::host {
namespace {

constexpr uint32_t kBlock = 32; // pixels at a time, where compilers make the vectors
constexpr size_t kPixel = 3;

// Fractions of 32768. Each row of the matrix keeps its sum: 1 for Y, 0 for Cb and Cr.
constexpr int kYr = 9798, kYg = 19235, kYb = 3735;
constexpr int kCbR = -5529, kCbG = -10855, kCbB = 16384;
constexpr int kCrR = 16384, kCrG = -13720, kCrB = -2664;
constexpr int kShift = 15;
constexpr int kHalf = 1 << (kShift - 1);

constexpr int kSlack = 16; // levels outside a byte that nobody sees missing

struct Samples {
    uint8_t r[kBlock], g[kBlock], b[kBlock];
};

inline void Load(const uint8_t *row, Samples *block) {
    for (uint32_t i = 0; i < kBlock; ++i) {
        block->r[i] = row[i * kPixel];
        block->g[i] = row[i * kPixel + 1];
        block->b[i] = row[i * kPixel + 2];
    }
}

inline void Store(const Samples &block, uint8_t *row) {
    for (uint32_t i = 0; i < kBlock; ++i) {
        row[i * kPixel] = block.r[i];
        row[i * kPixel + 1] = block.g[i];
        row[i * kPixel + 2] = block.b[i];
    }
}

inline int Luminance(int r, int g, int b) {
    return (kYr * r + kYg * g + kYb * b + kHalf) >> kShift;
}

inline int Byte(int value) {
    return value < 0 ? 0 : value > 255 ? 255 : value;
}

inline int Outside(int value) {
    return (value < -kSlack) | (value > 255 + kSlack);
}

// 1.6 x chroma, rounded away from zero: 8 / 5 by a factor of 2^-16 that is exact up to 128.
constexpr int kFifth = 13108, kFifthUp = 4;

inline int RedAway(int chroma) {
    const int size = chroma < 0 ? -chroma : chroma;
    const int away = ((size * 8 + kFifthUp) * kFifth) >> 16;
    return chroma < 0 ? -away : away;
}

// Rounded up; numerators are from -1020 to 2550, and 10923 / 2^16 is exact for them.
constexpr int kSixth = 10923, kSixthUp = 5;
constexpr int kSixthLift = 6 * 256; // makes it positive

inline int SixthUp(int numerator) {
    return (((numerator + kSixthUp + kSixthLift) * kSixth) >> 16) - kSixthLift / 6;
}

// Writes the pixel for these samples; cb and cr are without their 128.
inline int Solve(int y, int cb, int cr, uint8_t *r, uint8_t *g, uint8_t *b) {
    const int red = y + RedAway(cr);
    const int blue = y + 2 * cb;
    const int redByte = Byte(red);
    const int blueByte = Byte(blue);
    const int green = SixthUp(10 * y - 3 * redByte - blueByte);
    *r = static_cast<uint8_t>(redByte);
    *g = static_cast<uint8_t>(Byte(green));
    *b = static_cast<uint8_t>(blueByte);
    return Outside(red) | Outside(green) | Outside(blue);
}

inline uint32_t SolvePairs(Samples *block) {
    int clipped = 0;
    int even[kBlock / 2], odd[kBlock / 2];
    for (uint32_t i = 0; i < kBlock / 2; ++i) {
        even[i] = Luminance(block->r[2 * i], block->g[2 * i], block->b[2 * i]);
        odd[i] = Luminance(block->r[2 * i + 1], block->g[2 * i + 1], block->b[2 * i + 1]);
    }
    for (uint32_t i = 0; i < kBlock / 2; ++i) {
        const int r = block->r[2 * i] + block->r[2 * i + 1];
        const int g = block->g[2 * i] + block->g[2 * i + 1];
        const int b = block->b[2 * i] + block->b[2 * i + 1];
        const int cb = (kCbR * r + kCbG * g + kCbB * b + 2 * kHalf) >> (kShift + 1);
        const int cr = (kCrR * r + kCrG * g + kCrB * b + 2 * kHalf) >> (kShift + 1);
        uint8_t red, green, blue;
        clipped += 2 * Solve(even[i], cb, cr, &red, &green, &blue);
        block->r[2 * i] = red;
        block->g[2 * i] = green;
        block->b[2 * i] = blue;
        block->r[2 * i + 1] = static_cast<uint8_t>(odd[i]);
        block->g[2 * i + 1] = static_cast<uint8_t>(odd[i]);
        block->b[2 * i + 1] = static_cast<uint8_t>(odd[i]);
    }
    return static_cast<uint32_t>(clipped);
}

inline uint32_t SolveSingle(Samples *block) {
    int clipped = 0;
    for (uint32_t i = 0; i < kBlock; ++i) {
        const int r = block->r[i], g = block->g[i], b = block->b[i];
        const int cb = (kCbR * r + kCbG * g + kCbB * b + kHalf) >> kShift;
        const int cr = (kCrR * r + kCrG * g + kCrB * b + kHalf) >> kShift;
        clipped += Solve(Luminance(r, g, b), cb, cr, &block->r[i], &block->g[i], &block->b[i]);
    }
    return static_cast<uint32_t>(clipped);
}

inline uint32_t MakeGrey(Samples *block) {
    for (uint32_t i = 0; i < kBlock; ++i) {
        const auto y = static_cast<uint8_t>(Luminance(block->r[i], block->g[i], block->b[i]));
        block->r[i] = block->g[i] = block->b[i] = y;
    }
    return 0;
}

// A block's pixels, changed in place by one of the functions above.
template <uint32_t (*solve)(Samples *)> inline uint32_t InPlace(uint8_t *pixels) {
    Samples block;
    Load(pixels, &block);
    const uint32_t clipped = solve(&block);
    Store(block, pixels);
    return clipped;
}

// Whole blocks where the row has them, its end in a block of its own that is filled up with black,
// which is never clipped.
template <uint32_t kPixels, uint32_t (*solve)(uint8_t *)>
uint32_t EachBlock(uint8_t *row, uint32_t width) {
    constexpr size_t kBytes = size_t{kPixels} * kPixel;
    uint32_t clipped = 0;
    for (; width >= kPixels; width -= kPixels, row += kBytes)
        clipped += solve(row);
    if (width == 0)
        return clipped;
    uint8_t end[kBytes] = {};
    std::memcpy(end, row, width * kPixel);
    clipped += solve(end);
    std::memcpy(row, end, width * kPixel);
    return clipped;
}

inline uint32_t SingleRow(uint8_t *row, uint32_t width) {
    return EachBlock<kBlock, InPlace<SolveSingle>>(row, width);
}

inline uint32_t GreyRow(uint8_t *row, uint32_t width) {
    return EachBlock<kBlock, InPlace<MakeGrey>>(row, width);
}

// The second pixel of a pair with the chroma of both, as the first one has it.
inline void SolveSecond(const uint8_t *pair, uint8_t *pixel) {
    const int r = pair[0] + pair[3], g = pair[1] + pair[4], b = pair[2] + pair[5];
    const int cb = (kCbR * r + kCbG * g + kCbB * b + 2 * kHalf) >> (kShift + 1);
    const int cr = (kCrR * r + kCrG * g + kCrB * b + 2 * kHalf) >> (kShift + 1);
    Solve(Luminance(pair[3], pair[4], pair[5]), cb, cr, pixel, pixel + 1, pixel + 2);
}

// An odd last column has nobody to share its chroma with. An even one is repeated by the filter up
// to a whole number of blocks, in progressive files with its own chroma, so it gets that too.
template <uint32_t kPixels, uint32_t (*solve)(uint8_t *)>
uint32_t PairsRow(uint8_t *row, uint32_t width) {
    const uint32_t paired = width & ~uint32_t{1};
    uint8_t *end = row + size_t{paired} * kPixel;
    if (paired != width)
        return EachBlock<kPixels, solve>(row, paired) + SingleRow(end, 1);
    uint8_t last[2 * kPixel];
    std::memcpy(last, end - sizeof last, sizeof last);
    const uint32_t clipped = EachBlock<kPixels, solve>(row, paired);
    SolveSecond(last, end - kPixel);
    return clipped;
}

} // namespace
} // namespace kowen::host
