// Colour kernels for AVX2.
#include "color/kernels.h"

#ifdef KOWEN_X86_KERNELS

#include <immintrin.h>

#include <cstddef>

namespace kowen {
namespace {

struct Vector {
    static constexpr uint32_t kRows = 8;
    __m256i v;

    static Vector Load(const uint32_t *words) {
        return {_mm256_load_si256(reinterpret_cast<const __m256i *>(words))};
    }
    void Store(uint32_t *words) const { _mm256_store_si256(reinterpret_cast<__m256i *>(words), v); }
    static Vector All16(int x) { return {_mm256_set1_epi16(static_cast<short>(x))}; }
    static Vector All32(int x) { return {_mm256_set1_epi32(x)}; }
    static Vector Pair(int low, int high) {
        return {_mm256_set1_epi32(static_cast<int>(static_cast<uint32_t>(high) << 16 |
                                                   (static_cast<uint32_t>(low) & 0xFFFF)))};
    }
    static Vector Add(Vector a, Vector b) { return {_mm256_add_epi16(a.v, b.v)}; }
    static Vector Sub(Vector a, Vector b) { return {_mm256_sub_epi16(a.v, b.v)}; }
    static Vector Min(Vector a, Vector b) { return {_mm256_min_epi16(a.v, b.v)}; }
    static Vector Max(Vector a, Vector b) { return {_mm256_max_epi16(a.v, b.v)}; }
    static Vector And(Vector a, Vector b) { return {_mm256_and_si256(a.v, b.v)}; }
    static Vector Or(Vector a, Vector b) { return {_mm256_or_si256(a.v, b.v)}; }
    static Vector Add32(Vector a, Vector b) { return {_mm256_add_epi32(a.v, b.v)}; }
    static Vector Min32(Vector a, Vector b) { return {_mm256_min_epi32(a.v, b.v)}; }
    static Vector MultiplyAdd(Vector a, Vector b) { return {_mm256_madd_epi16(a.v, b.v)}; }
    static Vector MultiplyAddBytes(Vector a, Vector b) { return {_mm256_maddubs_epi16(a.v, b.v)}; }
    static Vector Less32(Vector a, Vector b) { return {_mm256_cmpgt_epi32(b.v, a.v)}; }
    static Vector Select(Vector mask, Vector yes, Vector no) {
        return {_mm256_blendv_epi8(no.v, yes.v, mask.v)};
    }
    template <int N> static Vector ShiftLeft(Vector a) { return {_mm256_slli_epi16(a.v, N)}; }
    template <int N> static Vector ShiftRight(Vector a) { return {_mm256_srai_epi16(a.v, N)}; }
    template <int N> static Vector ShiftLeft32(Vector a) { return {_mm256_slli_epi32(a.v, N)}; }
    template <int N> static Vector ShiftRight32(Vector a) { return {_mm256_srli_epi32(a.v, N)}; }

    // The words of a table of 16 by their numbers.
    static Vector LookUp(const uint32_t table[16], Vector index) {
        const Vector lower = {_mm256_permutevar8x32_epi32(Load(table).v, index.v)};
        const Vector upper = {_mm256_permutevar8x32_epi32(Load(table + 8).v, index.v)};
        return Select(Less32(All32(7), index), upper, lower);
    }
    // Bytes 0 and 1 of each word as its halves; byte 2 as its lower half.
    static Vector RedGreenOf(Vector pixels) {
        return Shuffled(pixels,
                        _mm_setr_epi8(0, -1, 1, -1, 4, -1, 5, -1, 8, -1, 9, -1, 12, -1, 13, -1));
    }
    static Vector BlueOf(Vector pixels) {
        return Shuffled(
            pixels, _mm_setr_epi8(2, -1, -1, -1, 6, -1, -1, -1, 10, -1, -1, -1, 14, -1, -1, -1));
    }
    // Each row's word to the row below it, and the last row's to the first.
    static Vector Rotated(Vector a) {
        return {_mm256_permutevar8x32_epi32(a.v, _mm256_setr_epi32(7, 0, 1, 2, 3, 4, 5, 6))};
    }
    uint32_t First() const {
        return static_cast<uint32_t>(_mm_cvtsi128_si32(_mm256_castsi256_si128(v)));
    }
    static Vector WithFirst(Vector a, Vector first) {
        return {_mm256_blend_epi32(a.v, first.v, 1)};
    }
    // The pixel that each row takes first: in step -1.
    static Vector FirstPlaces() { return {_mm256_setr_epi32(-1, -3, -5, -7, -9, -11, -13, -15)}; }

    void StoreLowBytes(uint8_t *bytes) const {
        const Vector lowest = Shuffled(
            *this, _mm_setr_epi8(0, 4, 8, 12, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1));
        const __m128i together = _mm_unpacklo_epi32(_mm256_castsi256_si128(lowest.v),
                                                    _mm256_extracti128_si256(lowest.v, 1));
        _mm_storel_epi64(reinterpret_cast<__m128i *>(bytes), together);
    }
    // 8 pixels of 3 bytes as words. 28 bytes are read.
    static Vector Pixels(const uint8_t *pixels) {
        return Shuffled(
            {_mm256_inserti128_si256(_mm256_castsi128_si256(Bytes(pixels)), Bytes(pixels + 12), 1)},
            PixelWords());
    }

    // Four pixels of each row, each row lag bytes before the one above, as four steps take them.
    static void Transpose(const uint8_t *const rows[], int64_t offset, int64_t lag,
                          Vector pixels[4]) {
        __m256i v[4];
        for (int i = 0; i < 4; ++i)
            v[i] = Shuffled({TwoRows(rows + i, offset - i * lag, lag)}, PixelWords()).v;
        const __m256i a = _mm256_unpacklo_epi32(v[0], v[1]), b = _mm256_unpacklo_epi32(v[2], v[3]);
        const __m256i c = _mm256_unpackhi_epi32(v[0], v[1]), d = _mm256_unpackhi_epi32(v[2], v[3]);
        pixels[0].v = _mm256_unpacklo_epi64(a, b);
        pixels[1].v = _mm256_unpackhi_epi64(a, b);
        pixels[2].v = _mm256_unpacklo_epi64(c, d);
        pixels[3].v = _mm256_unpackhi_epi64(c, d);
    }

private:
    static __m128i PixelWords() {
        return _mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1);
    }
    static __m128i Bytes(const uint8_t *bytes) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes));
    }
    // 16 bytes of two rows, four rows apart.
    static __m256i TwoRows(const uint8_t *const rows[], int64_t offset, int64_t lag) {
        return _mm256_inserti128_si256(_mm256_castsi128_si256(Bytes(rows[0] + offset)),
                                       Bytes(rows[4] + offset - 4 * lag), 1);
    }
    static Vector Shuffled(Vector a, __m128i order) {
        return {_mm256_shuffle_epi8(a.v, _mm256_broadcastsi128_si256(order))};
    }
};

#include "color/cubes.inl"
#include "color/dither_wave.inl"

} // namespace

const ColorKernels kAvx2ColorKernels = {"AVX2",       CountColors,   FillCube,
                                        LookUpColors, Vector::kRows, DitherWave};

} // namespace kowen

#endif
