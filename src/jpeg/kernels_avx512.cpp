// Kernels for AVX-512 (BW, VL): four blocks at a time.
#include "jpeg/dct_constants.h"
#include "jpeg/kernels.h"

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

    static void StoreRow(Vector a, int16_t *p) {
        _mm_storeu_si128(reinterpret_cast<__m128i *>(p), _mm512_castsi512_si128(a.v));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(p + 64), _mm512_extracti32x4_epi32(a.v, 1));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(p + 128), _mm512_extracti32x4_epi32(a.v, 2));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(p + 192), _mm512_extracti32x4_epi32(a.v, 3));
    }
    static void StoreNonZero(const Vector v[8], uint64_t *nonZero) {
        nonZero[0] = nonZero[1] = nonZero[2] = nonZero[3] = 0;
        for (int row = 0; row < 8; ++row) {
            const uint32_t bits = _mm512_test_epi16_mask(v[row].v, v[row].v);
            const uint64_t *ofRow = kZigZagBits.ofRow[row];
            nonZero[0] |= ofRow[bits & 0xFF];
            nonZero[1] |= ofRow[(bits >> 8) & 0xFF];
            nonZero[2] |= ofRow[(bits >> 16) & 0xFF];
            nonZero[3] |= ofRow[bits >> 24];
        }
    }
};

#include "jpeg/block_transform.inl"
#include "jpeg/pixel_rows_avx2.inl"

} // namespace

const Kernels kAvx512Kernels = {
    "avx512",          MapRgbToYcc, MapBgrToYcc, MapToGrey,
    SwapFirstAndThird, SplitRow422, SplitRow444, TransformBlocks<Vector>,
};

} // namespace kowen

#endif
