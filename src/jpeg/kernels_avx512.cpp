// Kernels for AVX-512 with BW, CD, VL, VBMI and VBMI2.
#include "jpeg/dct_constants.h"
#include "jpeg/kernels.h"
#include "jpeg/quant_tables.h"

#ifdef KOWEN_X86_KERNELS

#include "simd/avx512.h"

namespace kowen {

namespace {

inline void GatherLanes(const Words v[4], __m512i blocks[4]) {
    const __m512i low01 = _mm512_shuffle_i32x4(v[0].v, v[1].v, 0x44);
    const __m512i low23 = _mm512_shuffle_i32x4(v[2].v, v[3].v, 0x44);
    const __m512i high01 = _mm512_shuffle_i32x4(v[0].v, v[1].v, 0xEE);
    const __m512i high23 = _mm512_shuffle_i32x4(v[2].v, v[3].v, 0xEE);
    blocks[0] = _mm512_shuffle_i32x4(low01, low23, 0x88);
    blocks[1] = _mm512_shuffle_i32x4(low01, low23, 0xDD);
    blocks[2] = _mm512_shuffle_i32x4(high01, high23, 0x88);
    blocks[3] = _mm512_shuffle_i32x4(high01, high23, 0xDD);
}

// Brings each block's rows together and puts them in zig-zag order.
inline void StoreBlocks(const Words v[8], int16_t *block, uint64_t *nonZero) {
    __m512i low[4], high[4]; // of each block: rows 0 to 3, rows 4 to 7
    GatherLanes(v, low);
    GatherLanes(v + 4, high);
    const __m512i first = _mm512_loadu_si512(ZZ);
    const __m512i second = _mm512_loadu_si512(ZZ + 32);
    for (int b = 0; b < 4; ++b) {
        const __m512i begin = _mm512_permutex2var_epi16(low[b], first, high[b]);
        const __m512i end = _mm512_permutex2var_epi16(low[b], second, high[b]);
        _mm512_storeu_si512(block + 64 * b, begin);
        _mm512_storeu_si512(block + 64 * b + 32, end);
        nonZero[b] =
            uint64_t{_mm512_test_epi16_mask(end, end)} << 32 | _mm512_test_epi16_mask(begin, begin);
    }
}

#include "jpeg/row_kernels.inl"
#include "jpeg/transform_kernel.inl"

inline uint32_t Place(uint32_t k) {
    return k;
}

#include "jpeg/byte_stuffing.inl"
#include "jpeg/pairs_avx2.inl"

#include "jpeg/entropy_kernel.inl"

#include "jpeg/symbol_mask.inl"

#include "jpeg/mcu_coder_avx512.inl"
#include "jpeg/variant.inl"

} // namespace

constinit const Kernels kAvx512Kernels = Variant("avx512", true);

} // namespace kowen

#endif
