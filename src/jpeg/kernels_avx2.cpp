// Kernels for AVX2: two blocks at a time.
#include "jpeg/dct_constants.h"
#include "jpeg/kernels.h"
#include "jpeg/quant_tables.h"

#ifdef KOWEN_X86_KERNELS

#include <immintrin.h>

namespace kowen {

namespace {

struct Vector {
    static constexpr uint32_t kLanes = 2;
    __m256i v;

    static Vector Load(const uint8_t *p) {
        return {_mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i *>(p)))};
    }
    static Vector EachLane(const uint16_t *p) {
        return {_mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i *>(p)))};
    }
    static Vector All16(int x) { return {_mm256_set1_epi16(static_cast<short>(x))}; }
    static Vector All32(int x) { return {_mm256_set1_epi32(x)}; }
    static Vector Pair(int x, int y) {
        return {_mm256_set1_epi32(static_cast<int>((static_cast<uint32_t>(y) << 16) |
                                                   (static_cast<uint32_t>(x) & 0xFFFF)))};
    }
    static Vector Add(Vector a, Vector b) { return {_mm256_add_epi16(a.v, b.v)}; }
    static Vector Sub(Vector a, Vector b) { return {_mm256_sub_epi16(a.v, b.v)}; }
    static Vector Add32(Vector a, Vector b) { return {_mm256_add_epi32(a.v, b.v)}; }
    static Vector And(Vector a, Vector b) { return {_mm256_and_si256(a.v, b.v)}; }
    static Vector Xor(Vector a, Vector b) { return {_mm256_xor_si256(a.v, b.v)}; }
    static Vector MulHigh(Vector a, Vector b) { return {_mm256_mulhi_epu16(a.v, b.v)}; }
    static Vector MulAdd(Vector a, Vector b) { return {_mm256_madd_epi16(a.v, b.v)}; }
    static Vector UnpackLo16(Vector a, Vector b) { return {_mm256_unpacklo_epi16(a.v, b.v)}; }
    static Vector UnpackHi16(Vector a, Vector b) { return {_mm256_unpackhi_epi16(a.v, b.v)}; }
    static Vector UnpackLo32(Vector a, Vector b) { return {_mm256_unpacklo_epi32(a.v, b.v)}; }
    static Vector UnpackHi32(Vector a, Vector b) { return {_mm256_unpackhi_epi32(a.v, b.v)}; }
    static Vector UnpackLo64(Vector a, Vector b) { return {_mm256_unpacklo_epi64(a.v, b.v)}; }
    static Vector UnpackHi64(Vector a, Vector b) { return {_mm256_unpackhi_epi64(a.v, b.v)}; }
    static Vector Pack32(Vector a, Vector b) { return {_mm256_packs_epi32(a.v, b.v)}; }
    template <int N> static Vector ShiftLeft16(Vector a) { return {_mm256_slli_epi16(a.v, N)}; }
    template <int N> static Vector ShiftRight16(Vector a) { return {_mm256_srai_epi16(a.v, N)}; }
    template <int N> static Vector ShiftRight32(Vector a) { return {_mm256_srai_epi32(a.v, N)}; }

    static void StoreBlocks(const Vector v[8], int16_t *block, uint64_t *nonZero) {
        nonZero[0] = nonZero[1] = 0;
        for (int row = 0; row < 8; row += 2) {
            auto *low = reinterpret_cast<__m256i *>(block + 8 * row);
            auto *high = reinterpret_cast<__m256i *>(block + 64 + 8 * row);
            _mm256_storeu_si256(low, _mm256_permute2x128_si256(v[row].v, v[row + 1].v, 0x20));
            _mm256_storeu_si256(high, _mm256_permute2x128_si256(v[row].v, v[row + 1].v, 0x31));
            const __m256i bytes = _mm256_packs_epi16(v[row].v, v[row + 1].v);
            const auto bits = ~static_cast<uint32_t>(
                _mm256_movemask_epi8(_mm256_cmpeq_epi8(bytes, _mm256_setzero_si256())));
            const uint64_t *of0 = kZigZagBits.ofRow[row];
            const uint64_t *of1 = kZigZagBits.ofRow[row + 1];
            nonZero[0] |= of0[bits & 0xFF] | of1[(bits >> 8) & 0xFF];
            nonZero[1] |= of0[(bits >> 16) & 0xFF] | of1[bits >> 24];
        }
    }
};

#include "jpeg/block_transform.inl"
#include "jpeg/pixels_avx2.inl"

#include "jpeg/pixel_rows.inl"

inline uint32_t Place(uint32_t k) {
    return static_cast<uint32_t>(ZZ[k]);
}

#include "jpeg/code_mcus.inl"

} // namespace

const Kernels kAvx2Kernels = {
    .name = "avx2",
    .zigZag = false,
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
