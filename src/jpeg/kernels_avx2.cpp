// Kernels for AVX2.
#include "jpeg/dct_constants.h"
#include "jpeg/kernels.h"
#include "jpeg/quant_tables.h"

#ifdef KOWEN_X86_KERNELS

#include "simd/avx2.h"

namespace kowen {

namespace {

inline void StoreBlocks(const Words v[8], int16_t *block, uint64_t *nonZero) {
    nonZero[0] = nonZero[1] = 0;
    for (int row = 0; row < 8; row += 2) {
        const __m256i first = v[row].v, second = v[row + 1].v;
        StoreVector(block + 8 * row, _mm256_permute2x128_si256(first, second, 0x20));
        StoreVector(block + 64 + 8 * row, _mm256_permute2x128_si256(first, second, 0x31));
        const __m256i bytes = _mm256_packs_epi16(first, second);
        const auto bits = ~static_cast<uint32_t>(
            _mm256_movemask_epi8(_mm256_cmpeq_epi8(bytes, _mm256_setzero_si256())));
        const uint64_t *of0 = kZigZagBits.ofRow[row];
        const uint64_t *of1 = kZigZagBits.ofRow[row + 1];
        nonZero[0] |= of0[bits & 0xFF] | of1[(bits >> 8) & 0xFF];
        nonZero[1] |= of0[(bits >> 16) & 0xFF] | of1[bits >> 24];
    }
}

#include "jpeg/row_kernels.inl"
#include "jpeg/transform_kernel.inl"

inline uint32_t Place(uint32_t k) {
    return static_cast<uint32_t>(ZZ[k]);
}

#include "jpeg/byte_stuffing.inl"
#include "jpeg/pairs_avx2.inl"

#include "jpeg/entropy_kernel.inl"

#include "jpeg/symbol_mask.inl"

#include "jpeg/mcu_coder_avx2.inl"
#include "jpeg/variant.inl"

} // namespace

constinit const Kernels kAvx2Kernels = Variant("avx2", false);

} // namespace kowen

#endif
