// Kernels for SSE2: one block at a time.
#include "jpeg/dct_constants.h"
#include "jpeg/kernels.h"

#ifdef KOWEN_X86_KERNELS

#include <emmintrin.h>

namespace kowen {

namespace {

struct Vector {
    static constexpr uint32_t kLanes = 1;
    __m128i v;

    static Vector Load(const uint8_t *p) {
        const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(p));
        return {_mm_unpacklo_epi8(bytes, _mm_setzero_si128())};
    }
    static Vector EachLane(const uint16_t *p) {
        return {_mm_loadu_si128(reinterpret_cast<const __m128i *>(p))};
    }
    static Vector All16(int x) { return {_mm_set1_epi16(static_cast<short>(x))}; }
    static Vector All32(int x) { return {_mm_set1_epi32(x)}; }
    static Vector Pair(int x, int y) {
        return {_mm_set1_epi32(static_cast<int>((static_cast<uint32_t>(y) << 16) |
                                                (static_cast<uint32_t>(x) & 0xFFFF)))};
    }
    static Vector Add(Vector a, Vector b) { return {_mm_add_epi16(a.v, b.v)}; }
    static Vector Sub(Vector a, Vector b) { return {_mm_sub_epi16(a.v, b.v)}; }
    static Vector Add32(Vector a, Vector b) { return {_mm_add_epi32(a.v, b.v)}; }
    static Vector And(Vector a, Vector b) { return {_mm_and_si128(a.v, b.v)}; }
    static Vector Xor(Vector a, Vector b) { return {_mm_xor_si128(a.v, b.v)}; }
    static Vector MulHigh(Vector a, Vector b) { return {_mm_mulhi_epu16(a.v, b.v)}; }
    static Vector MulAdd(Vector a, Vector b) { return {_mm_madd_epi16(a.v, b.v)}; }
    static Vector UnpackLo16(Vector a, Vector b) { return {_mm_unpacklo_epi16(a.v, b.v)}; }
    static Vector UnpackHi16(Vector a, Vector b) { return {_mm_unpackhi_epi16(a.v, b.v)}; }
    static Vector UnpackLo32(Vector a, Vector b) { return {_mm_unpacklo_epi32(a.v, b.v)}; }
    static Vector UnpackHi32(Vector a, Vector b) { return {_mm_unpackhi_epi32(a.v, b.v)}; }
    static Vector UnpackLo64(Vector a, Vector b) { return {_mm_unpacklo_epi64(a.v, b.v)}; }
    static Vector UnpackHi64(Vector a, Vector b) { return {_mm_unpackhi_epi64(a.v, b.v)}; }
    static Vector Pack32(Vector a, Vector b) { return {_mm_packs_epi32(a.v, b.v)}; }
    template <int N> static Vector ShiftLeft16(Vector a) { return {_mm_slli_epi16(a.v, N)}; }
    template <int N> static Vector ShiftRight16(Vector a) { return {_mm_srai_epi16(a.v, N)}; }
    template <int N> static Vector ShiftRight32(Vector a) { return {_mm_srai_epi32(a.v, N)}; }

    static void StoreBlocks(const Vector v[8], int16_t *block, uint64_t *nonZero) {
        for (int row = 0; row < 8; ++row)
            _mm_storeu_si128(reinterpret_cast<__m128i *>(block + 8 * row), v[row].v);
        uint64_t bits = 0;
        for (int row = 0; row < 8; row += 2) {
            const __m128i bytes = _mm_packs_epi16(v[row].v, v[row + 1].v);
            const int zero = _mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_setzero_si128()));
            bits |= kZigZagBits.ofRow[row][~zero & 0xFF];
            bits |= kZigZagBits.ofRow[row + 1][(~zero >> 8) & 0xFF];
        }
        *nonZero = bits;
    }
};

#include "jpeg/block_transform.inl"
#include "jpeg/pixels_sse2.inl"

#include "jpeg/pixel_rows.inl"

} // namespace

const Kernels kSse2Kernels = {
    .name = "sse2",
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
    .codeMcus = scalar::CodeMcus,
    .packBlocks = scalar::PackBlocks,
    .codeDcs = scalar::CodeDcs,
    .codeAcs = scalar::CodeAcs,
    .endAcs = scalar::EndAcs,
};

} // namespace kowen

#endif
