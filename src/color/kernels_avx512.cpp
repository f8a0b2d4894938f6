// Colour kernels for AVX-512 with BW and VL.
#include "color/kernels.h"

#ifdef KOWEN_X86_KERNELS

#include <immintrin.h>

#include <cstddef>

namespace kowen {
namespace {

struct Vector {
    static constexpr uint32_t kRows = 16;
    __m512i v;

    static Vector Load(const uint32_t *words) { return {_mm512_load_si512(words)}; }
    void Store(uint32_t *words) const { _mm512_store_si512(words, v); }
    static Vector All16(int x) { return {_mm512_set1_epi16(static_cast<short>(x))}; }
    static Vector All32(int x) { return {_mm512_set1_epi32(x)}; }
    static Vector Pair(int low, int high) {
        return {_mm512_set1_epi32(static_cast<int>(static_cast<uint32_t>(high) << 16 |
                                                   (static_cast<uint32_t>(low) & 0xFFFF)))};
    }
    static Vector Add(Vector a, Vector b) { return {_mm512_add_epi16(a.v, b.v)}; }
    static Vector Sub(Vector a, Vector b) { return {_mm512_sub_epi16(a.v, b.v)}; }
    static Vector Min(Vector a, Vector b) { return {_mm512_min_epi16(a.v, b.v)}; }
    static Vector Max(Vector a, Vector b) { return {_mm512_max_epi16(a.v, b.v)}; }
    static Vector And(Vector a, Vector b) { return {_mm512_and_si512(a.v, b.v)}; }
    static Vector Or(Vector a, Vector b) { return {_mm512_or_si512(a.v, b.v)}; }
    static Vector Add32(Vector a, Vector b) { return {_mm512_add_epi32(a.v, b.v)}; }
    static Vector Min32(Vector a, Vector b) { return {_mm512_min_epi32(a.v, b.v)}; }
    static Vector MultiplyAdd(Vector a, Vector b) { return {_mm512_madd_epi16(a.v, b.v)}; }
    static Vector MultiplyAddBytes(Vector a, Vector b) { return {_mm512_maddubs_epi16(a.v, b.v)}; }
    static Vector Less32(Vector a, Vector b) {
        return {_mm512_maskz_set1_epi32(_mm512_cmplt_epi32_mask(a.v, b.v), -1)};
    }
    static Vector Select(Vector mask, Vector yes, Vector no) {
        return {_mm512_ternarylogic_epi32(mask.v, yes.v, no.v, 0xCA)};
    }
    template <int N> static Vector ShiftLeft(Vector a) { return {_mm512_slli_epi16(a.v, N)}; }
    template <int N> static Vector ShiftRight(Vector a) { return {_mm512_srai_epi16(a.v, N)}; }
    template <int N> static Vector ShiftLeft32(Vector a) { return {_mm512_slli_epi32(a.v, N)}; }
    template <int N> static Vector ShiftRight32(Vector a) { return {_mm512_srli_epi32(a.v, N)}; }

    // The words of a table of 16 by their numbers.
    static Vector LookUp(const uint32_t table[16], Vector index) {
        return {_mm512_permutexvar_epi32(index.v, _mm512_load_si512(table))};
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
    static Vector Rotated(Vector a) { return {_mm512_alignr_epi32(a.v, a.v, 15)}; }
    uint32_t First() const {
        return static_cast<uint32_t>(_mm_cvtsi128_si32(_mm512_castsi512_si128(v)));
    }
    static Vector WithFirst(Vector a, Vector first) {
        return {_mm512_mask_mov_epi32(a.v, 1, first.v)};
    }
    // The pixel that each row takes first: in step -1.
    static Vector FirstPlaces() {
        return {_mm512_setr_epi32(-1, -3, -5, -7, -9, -11, -13, -15, -17, -19, -21, -23, -25, -27,
                                  -29, -31)};
    }

    void StoreLowBytes(uint8_t *bytes) const {
        _mm_storeu_si128(reinterpret_cast<__m128i *>(bytes), _mm512_cvtepi32_epi8(v));
    }
    // 16 pixels of 3 bytes as words. 64 bytes are read.
    static Vector Pixels(const uint8_t *pixels) {
        const __m512i lanes = _mm512_setr_epi32(0, 1, 2, 2, 3, 4, 5, 5, 6, 7, 8, 8, 9, 10, 11, 11);
        return Shuffled({_mm512_permutexvar_epi32(lanes, _mm512_loadu_si512(pixels))},
                        PixelWords());
    }

    // Four pixels of each row, each row lag bytes before the one above, as four steps take them.
    static void Transpose(const uint8_t *const rows[], int64_t offset, int64_t lag,
                          Vector pixels[4]) {
        __m512i v[4];
        for (int i = 0; i < 4; ++i)
            v[i] = Shuffled({FourRows(rows + i, offset - i * lag, lag)}, PixelWords()).v;
        const __m512i a = _mm512_unpacklo_epi32(v[0], v[1]), b = _mm512_unpacklo_epi32(v[2], v[3]);
        const __m512i c = _mm512_unpackhi_epi32(v[0], v[1]), d = _mm512_unpackhi_epi32(v[2], v[3]);
        pixels[0].v = _mm512_unpacklo_epi64(a, b);
        pixels[1].v = _mm512_unpackhi_epi64(a, b);
        pixels[2].v = _mm512_unpacklo_epi64(c, d);
        pixels[3].v = _mm512_unpackhi_epi64(c, d);
    }

private:
    static __m128i PixelWords() {
        return _mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1);
    }
    static __m128i Bytes(const uint8_t *bytes) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes));
    }
    // 16 bytes of four rows, four rows apart.
    static __m512i FourRows(const uint8_t *const rows[], int64_t offset, int64_t lag) {
        __m512i v = _mm512_castsi128_si512(Bytes(rows[0] + offset));
        v = _mm512_inserti32x4(v, Bytes(rows[4] + offset - 4 * lag), 1);
        v = _mm512_inserti32x4(v, Bytes(rows[8] + offset - 8 * lag), 2);
        return _mm512_inserti32x4(v, Bytes(rows[12] + offset - 12 * lag), 3);
    }
    static Vector Shuffled(Vector a, __m128i order) {
        return {_mm512_shuffle_epi8(a.v, _mm512_broadcast_i32x4(order))};
    }
};

#include "color/cubes.inl"
#include "color/dither_wave.inl"

} // namespace

const ColorKernels kAvx512ColorKernels = {"AVX-512",    CountColors,   FillCube,
                                          LookUpColors, Vector::kRows, DitherWave};

} // namespace kowen

#endif
