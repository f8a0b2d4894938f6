// Quantisation of DCT coefficients.
#pragma once

#include <cstdint>

namespace kowen {

struct CompressEnv;

/// One quantisation table in the form the kernels divide with: exact for coefficients of a
/// magnitude up to 16000 and quantisers 1..448 (a test tries them all).
///
/// For a magnitude a and bias b: quotient = (((a + b) x 4 x reciprocal) >> 16) x scale >> 16.
struct QuantDivisors {
    uint16_t quantTable[64];   ///< the table these were made of
    uint16_t reciprocal[64];   ///< ceil(2^(14 + k) / q), where 2^(k - 1) <= q < 2^k
    uint16_t scale[64];        ///< 2^(16 - k)
    uint16_t positiveBias[64]; ///< (q - 1) / 2: halves of positive values go down
    uint16_t negativeBias[64]; ///< q / 2: halves of negative values go away from zero
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
int32_t QuantizeBlock(int16_t *block, const CompressEnv *env, int32_t number) noexcept;

/// Returns the divisors of a table of the environment, rebuilt if the table has changed.
const QuantDivisors &Divisors(CompressEnv *env, int32_t number) noexcept;

} // namespace kowen
