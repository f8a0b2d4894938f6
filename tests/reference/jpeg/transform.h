// Samples to quantised coefficients, one block of 64 at a time.
#pragma once

#include "reference/jpeg/tables.h"

#include <array>
#include <cmath>
#include <cstdint>

namespace kowen::reference {

/// 64 samples or coefficients, row by row.
using Block = std::array<int16_t, 64>;

/// ceil(base x (3700 - 36 x quality) / 1000), without limits.
inline QuantTable Quantisers(const QuantTable &base, int quality) {
    const double scale = (3700.0 - 36.0 * quality) / 1000.0;
    QuantTable table{};
    for (size_t i = 0; i < 64; ++i)
        table[i] = static_cast<int>(std::ceil(base[i] * scale));
    return table;
}

/// Halves go toward minus infinity.
inline int16_t Quantised(int coefficient, int quantiser) {
    return static_cast<int16_t>(
        std::ceil(static_cast<double>(coefficient) / static_cast<double>(quantiser) - 0.5));
}

inline void Quantise(Block &block, const QuantTable &table) {
    for (size_t i = 0; i < 64; ++i)
        block[i] = Quantised(block[i], table[i]);
}

/// One 8-point transform in 13-bit fixed point, not yet scaled back: each output is 8192 sqrt(8)
/// times the orthonormal DCT of the inputs. C. Loeffler, A. Ligtenberg, G. Moschytz, ICASSP 1989.
inline std::array<int64_t, 8> FixedPointDct(const std::array<int64_t, 8> &x) {
    std::array<int64_t, 8> sum{};
    std::array<int64_t, 8> difference{};
    for (size_t i = 0; i < 4; ++i) {
        sum[i] = x[i] + x[7 - i];
        difference[i] = x[i] - x[7 - i];
    }
    const int64_t outer = sum[0] - sum[3];
    const int64_t inner = sum[1] - sum[2];
    const int64_t evenTurn = 4433 * (inner + outer); // 0.541196100

    // The pairs of the odd part, from the middle outwards.
    const int64_t d4 = difference[3];
    const int64_t d5 = difference[2];
    const int64_t d6 = difference[1];
    const int64_t d7 = difference[0];
    const int64_t oddTurn = 9633 * (d4 + d5 + d6 + d7); // 1.175875602

    std::array<int64_t, 8> y{};
    y[0] = 8192 * (sum[0] + sum[1] + sum[2] + sum[3]);
    y[4] = 8192 * (sum[0] - sum[1] - sum[2] + sum[3]);
    y[2] = evenTurn + 6270 * outer;  // 0.765366865
    y[6] = evenTurn - 15137 * inner; // 1.847759065
    // 12299 = 1.501321110, 25172 = 3.072711026, 16819 = 2.053119869, 2446 = 0.298631336;
    // 7373 = 0.899976223, 20995 = 2.562915447, 16069 = 1.961570560, 3196 = 0.390180644.
    y[1] = 12299 * d7 - 7373 * (d4 + d7) - 3196 * (d5 + d7) + oddTurn;
    y[3] = 25172 * d6 - 20995 * (d5 + d6) - 16069 * (d4 + d6) + oddTurn;
    y[5] = 16819 * d5 - 20995 * (d5 + d6) - 3196 * (d5 + d7) + oddTurn;
    y[7] = 2446 * d4 - 7373 * (d4 + d7) - 16069 * (d4 + d6) + oddTurn;
    return y;
}

/// value / 2^bits, halves up.
inline int16_t Rounded(int64_t value, int bits) {
    return static_cast<int16_t>((value + (int64_t{1} << (bits - 1))) >> bits);
}

/// Rows first, keeping 2 extra bits, then columns; each pass stores 16-bit values.
inline void ForwardDct(Block &block) {
    for (size_t row = 0; row < 8; ++row) {
        std::array<int64_t, 8> line{};
        for (size_t i = 0; i < 8; ++i)
            line[i] = block[row * 8 + i];
        const auto y = FixedPointDct(line);
        for (size_t i = 0; i < 8; ++i)
            block[row * 8 + i] = Rounded(y[i], 13 - 2);
    }
    for (size_t column = 0; column < 8; ++column) {
        std::array<int64_t, 8> line{};
        for (size_t i = 0; i < 8; ++i)
            line[i] = block[i * 8 + column];
        const auto y = FixedPointDct(line);
        for (size_t i = 0; i < 8; ++i)
            block[i * 8 + column] = Rounded(y[i], 13 + 2 + 3);
    }
}

} // namespace kowen::reference
