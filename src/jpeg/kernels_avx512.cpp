// Kernels for AVX-512 with BW, CD, VL and VBMI2: four blocks at a time.
#include "jpeg/dct_constants.h"
#include "jpeg/kernels.h"
#include "jpeg/quant_tables.h"

#ifdef KOWEN_X86_KERNELS

#include <immintrin.h>

namespace kowen {

namespace {

struct Vector {
    static constexpr uint32_t kLanes = 4;
    __m512i v;

    static Vector Load(const uint8_t *p) {
        return {_mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i *>(p)))};
    }
    static Vector EachLane(const uint16_t *p) {
        return {_mm512_broadcast_i32x4(_mm_loadu_si128(reinterpret_cast<const __m128i *>(p)))};
    }
    static Vector All16(int x) { return {_mm512_set1_epi16(static_cast<short>(x))}; }
    static Vector All32(int x) { return {_mm512_set1_epi32(x)}; }
    static Vector Pair(int x, int y) {
        return {_mm512_set1_epi32(static_cast<int>((static_cast<uint32_t>(y) << 16) |
                                                   (static_cast<uint32_t>(x) & 0xFFFF)))};
    }
    static Vector Add(Vector a, Vector b) { return {_mm512_add_epi16(a.v, b.v)}; }
    static Vector Sub(Vector a, Vector b) { return {_mm512_sub_epi16(a.v, b.v)}; }
    static Vector Add32(Vector a, Vector b) { return {_mm512_add_epi32(a.v, b.v)}; }
    static Vector And(Vector a, Vector b) { return {_mm512_and_si512(a.v, b.v)}; }
    static Vector Xor(Vector a, Vector b) { return {_mm512_xor_si512(a.v, b.v)}; }
    static Vector MulHigh(Vector a, Vector b) { return {_mm512_mulhi_epu16(a.v, b.v)}; }
    static Vector MulAdd(Vector a, Vector b) { return {_mm512_madd_epi16(a.v, b.v)}; }
    static Vector UnpackLo16(Vector a, Vector b) { return {_mm512_unpacklo_epi16(a.v, b.v)}; }
    static Vector UnpackHi16(Vector a, Vector b) { return {_mm512_unpackhi_epi16(a.v, b.v)}; }
    static Vector UnpackLo32(Vector a, Vector b) { return {_mm512_unpacklo_epi32(a.v, b.v)}; }
    static Vector UnpackHi32(Vector a, Vector b) { return {_mm512_unpackhi_epi32(a.v, b.v)}; }
    static Vector UnpackLo64(Vector a, Vector b) { return {_mm512_unpacklo_epi64(a.v, b.v)}; }
    static Vector UnpackHi64(Vector a, Vector b) { return {_mm512_unpackhi_epi64(a.v, b.v)}; }
    static Vector Pack32(Vector a, Vector b) { return {_mm512_packs_epi32(a.v, b.v)}; }
    template <int N> static Vector ShiftLeft16(Vector a) { return {_mm512_slli_epi16(a.v, N)}; }
    template <int N> static Vector ShiftRight16(Vector a) { return {_mm512_srai_epi16(a.v, N)}; }
    template <int N> static Vector ShiftRight32(Vector a) { return {_mm512_srai_epi32(a.v, N)}; }

    // Brings each block's rows together and puts them in zig-zag order.
    static void StoreBlocks(const Vector v[8], int16_t *block, uint64_t *nonZero) {
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
            nonZero[b] = uint64_t{_mm512_test_epi16_mask(end, end)} << 32 |
                         _mm512_test_epi16_mask(begin, begin);
        }
    }

    static void GatherLanes(const Vector v[4], __m512i blocks[4]) {
        const __m512i low01 = _mm512_shuffle_i32x4(v[0].v, v[1].v, 0x44);
        const __m512i low23 = _mm512_shuffle_i32x4(v[2].v, v[3].v, 0x44);
        const __m512i high01 = _mm512_shuffle_i32x4(v[0].v, v[1].v, 0xEE);
        const __m512i high23 = _mm512_shuffle_i32x4(v[2].v, v[3].v, 0xEE);
        blocks[0] = _mm512_shuffle_i32x4(low01, low23, 0x88);
        blocks[1] = _mm512_shuffle_i32x4(low01, low23, 0xDD);
        blocks[2] = _mm512_shuffle_i32x4(high01, high23, 0x88);
        blocks[3] = _mm512_shuffle_i32x4(high01, high23, 0xDD);
    }
};

#include "jpeg/block_transform.inl"
#include "jpeg/pixels_avx2.inl"

#include "jpeg/pixel_rows.inl"

inline uint32_t Place(uint32_t k) {
    return k;
}

#include "jpeg/code_mcus_avx512.inl"

} // namespace

const Kernels kAvx512Kernels = {
    .name = "avx512",
    .zigZag = true,
    .mapRgbToYcc = MapRgbToYcc,
    .mapBgrToYcc = MapBgrToYcc,
    .mapToGrey = MapToGrey,
    .swapFirstAndThird = SwapFirstAndThird,
    .deinterleave422 = Deinterleave422,
    .deinterleave444 = Deinterleave444,
    .mapAndDeinterleave422 = MapAndDeinterleave422,
    .mapAndDeinterleave444 = MapAndDeinterleave444,
    .mapAndExtractGrey = MapAndExtractGrey,
    .transformBlocks = TransformBlocks<Vector>,
    .codeMcus = CodeMcus,
    .packBlocks = PackBlocks,
    .codeDcs = CodeDcs,
    .codeAcs = CodeAcs,
    .endAcs = EndAcs,
};

} // namespace kowen

#endif
