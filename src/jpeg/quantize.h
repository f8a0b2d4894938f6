// Quantisation of DCT coefficients.
#pragma once

#include <cstdint>

namespace kowen {

struct CompressEnv;

/// The largest magnitude of a coefficient that the kernels divide exactly. ForwardDCT gives up to
/// 1024.
inline constexpr int32_t kMaxCoefficient = 1800;

/// The largest quantiser that coefficients of the transform, up to 1024, are divided by; by a
/// larger one they all give 0.
inline constexpr uint32_t kMaxDivisor = 2048;

/// A quantisation table as the kernels divide by it: exact for coefficients up to kMaxCoefficient
/// and quantisers 1..448, those that a setup gives, and for coefficients up to 1024 and any other
/// (a test tries them all).
///
/// ceil(c / q - 0.5) is floor((16 c + 8 q - 4) / 16 q), and 4 / 16 q at least away from any other
/// integer, so a rounded reciprocal will do:
///   quotient = ((16 c + bias) x reciprocal) >> (15 - shift), in steps of 16 bits where the scale
///   stands in for the last shift.
struct QuantDivisors {
    uint16_t quantTable[64]; ///< the table these were made of
    int16_t bias[64];        ///< 8 q - 4
    int16_t reciprocal[64];  ///< 2^(12 + k) / q, rounded, where 2^(k - 3) < q <= 2^(k - 2)
    int16_t scale[64];       ///< 2^(16 - k)
    int16_t shift[64];       ///< -1 - k
};

/// Quantises one block in place: each coefficient becomes ceil(c / q - 0.5).
///
/// block   64 coefficients, row-major; replaced by the quantised values.
/// env     read only; its quantisers are never 0.
/// number  0 luminance, 1 chrominance.
/// Returns 0.
///
/// Kept deliberately: halves round toward minus infinity (2.5 -> 2, -2.5 -> -3).
/// Test: QuantizeBlock.HalvesRoundTowardMinusInfinity.
/// Not on the export path.
int32_t QuantizeBlock(int16_t *block, const CompressEnv *env, int32_t number) noexcept;

/// Returns the divisors of a table of the environment, rebuilt if the table has changed. Its
/// quantisers are never 0.
const QuantDivisors &Divisors(CompressEnv *env, int32_t number) noexcept;

} // namespace kowen
