#include "jpeg/quantize.h"

#include "jpeg/compress_env.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace kowen {

namespace {

// ceil(c / q - 0.5) in integers: the same for every 16-bit c and every q above 0, because the
// quotient is either a half exactly or at least 1 / (2 q) away from one.
int16_t RoundedQuotient(int32_t c, int32_t q) {
    const int32_t numerator = 2 * c - q;
    const int32_t denominator = 2 * q;
    return static_cast<int16_t>(numerator / denominator + (numerator % denominator > 0 ? 1 : 0));
}

void MakeDivisorOfZeros(QuantDivisors &divisors, int i) {
    divisors.reciprocal[i] = 0;
    divisors.scale[i] = 1;
    divisors.shift[i] = -1;
}

// Hardened: a quantiser that no setup's quality gives, from a record that something has written to,
// neither shifts too far nor overflows; every coefficient of the transform becomes 0 as by its
// quotient. Test: Divisors.OfQuantisersBeyondAnySetupGiveZeros.
void MakeDivisor(QuantDivisors &divisors, int i, uint32_t q) {
    if (q > kMaxDivisor)
        return MakeDivisorOfZeros(divisors, i);
    const auto k = std::max(1u, static_cast<uint32_t>(std::bit_width(q - 1)));
    divisors.reciprocal[i] =
        static_cast<int16_t>(std::min(((1u << (14 + k)) + q / 2) / q, 32767u)); // 32768 for 1
    divisors.scale[i] = static_cast<int16_t>(1u << (15 - k));
    divisors.shift[i] = static_cast<int16_t>(-1 - static_cast<int32_t>(k));
}

// The process's: those of a picture serve the next one of its quality.
constinit QuantDivisors lastDivisors[kQuantTables] = {};

} // namespace

int32_t QuantizeBlock(int16_t *block, const CompressEnv *env, int32_t number) noexcept {
    for (int i = 0; i < kBlockSize; ++i)
        block[i] = RoundedQuotient(block[i], env->quantTable[number][i]);
    return 0;
}

const QuantDivisors &Divisors(const CompressEnv *env, int32_t number) noexcept {
    QuantDivisors &divisors = lastDivisors[number];
    const uint16_t *quantTable = env->quantTable[number];
    const bool made = divisors.scale[0] != 0;
    if (made && std::memcmp(divisors.quantTable, quantTable, sizeof(divisors.quantTable)) == 0)
        return divisors;
    std::memcpy(divisors.quantTable, quantTable, sizeof(divisors.quantTable));
    for (int i = 0; i < kBlockSize; ++i)
        MakeDivisor(divisors, i, quantTable[i]);
    return divisors;
}

} // namespace kowen
