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
/// ceil(c / q - 0.5) is (4 c - 1) / 4 q rounded, which is 1 / 4 q at least away from any half, so a
/// rounded reciprocal will do:
///   quotient = (4 c - 1) x reciprocal / 2^(15 - shift), rounded; in steps of 16 bits, of which the
///   last one rounds, by the shift or by a product with the scale.
struct QuantDivisors {
    uint16_t quantTable[64]; ///< the table these were made of
    int16_t reciprocal[64];  ///< 2^(14 + k) / q, rounded, where 2^(k - 1) < q <= 2^k
    int16_t scale[64];       ///< 2^(15 - k)
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

/// Returns the divisors of a table of the environment, whose quantisers are never 0; they hold
/// until those of another table are asked for. Rebuilt when that is not the last one that had the
/// number.
const QuantDivisors &Divisors(const CompressEnv *env, int32_t number) noexcept;

} // namespace kowen
