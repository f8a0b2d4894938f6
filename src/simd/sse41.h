// Vectors of SSE4.1 (with SSSE3): 16 bytes, one block. What the operations mean: README.md.
#pragma once

#include <cstdint>
#include <smmintrin.h>

namespace kowen {
namespace {

inline __m128i LoadVector(const void *p) {
    return _mm_loadu_si128(static_cast<const __m128i *>(p));
}
inline void StoreVector(void *p, __m128i v) {
    _mm_storeu_si128(static_cast<__m128i *>(p), v);
}

struct Words {
    static constexpr uint32_t kBlocks = 1;
    static constexpr int kSumScaleBits = 5;
    static constexpr uint32_t kOrder[8] = {0, 2, 4, 6, 1, 3, 5, 7};
    __m128i v;

    static Words LoadBytePairs(const uint8_t *first, const uint8_t *second) {
        const __m128i rows =
            _mm_unpacklo_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(first)),
                               _mm_loadl_epi64(reinterpret_cast<const __m128i *>(second)));
        return {_mm_shuffle_epi8(
            rows, _mm_setr_epi8(0, 7, 8, 15, 1, 6, 9, 14, 2, 5, 10, 13, 3, 4, 11, 12))};
    }
    static Words EachBlock(const int16_t *p) { return {LoadVector(p)}; }
    static Words All(int x) { return {_mm_set1_epi16(static_cast<short>(x))}; }

    friend Words operator+(Words a, Words b) { return {_mm_add_epi16(a.v, b.v)}; }
    friend Words operator-(Words a, Words b) { return {_mm_sub_epi16(a.v, b.v)}; }
    friend Words operator|(Words a, Words b) { return {_mm_or_si128(a.v, b.v)}; }
    template <int N> Words ShiftLeft() const { return {_mm_slli_epi16(v, N)}; }
    template <int N> Words ShiftRight() const { return {_mm_srai_epi16(v, N)}; }

    Words HalvesByTurns() const {
        return {_mm_shuffle_epi8(
            v, _mm_setr_epi8(0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15))};
    }
    Words SumsOfPairs() const { return {_mm_maddubs_epi16(v, _mm_set1_epi16(0x2020))}; }
    Words DifferencesOfPairs() const {
        return {_mm_maddubs_epi16(v, _mm_set1_epi16(static_cast<short>(0xE020)))};
    }

    static Words UnpackLow16(Words a, Words b) { return {_mm_unpacklo_epi16(a.v, b.v)}; }
    static Words UnpackHigh16(Words a, Words b) { return {_mm_unpackhi_epi16(a.v, b.v)}; }
    static Words UnpackLow32(Words a, Words b) { return {_mm_unpacklo_epi32(a.v, b.v)}; }
    static Words UnpackHigh32(Words a, Words b) { return {_mm_unpackhi_epi32(a.v, b.v)}; }
    static Words UnpackLow64(Words a, Words b) { return {_mm_unpacklo_epi64(a.v, b.v)}; }
    static Words UnpackHigh64(Words a, Words b) { return {_mm_unpackhi_epi64(a.v, b.v)}; }
};

struct Wide {
    __m128i low, high;

    template <int N> Wide Plus() const {
        const __m128i n = _mm_set1_epi32(N);
        return {_mm_add_epi32(low, n), _mm_add_epi32(high, n)};
    }
    template <int, int N> Words Narrow() const {
        static_assert(N == 16);
        return {_mm_blend_epi16(_mm_srli_epi32(low, 16), high, 0xAA)};
    }
};

template <int...> struct Factors {
    template <int X, int Y> static Wide Products(Words x, Words y) {
        const __m128i factors =
            _mm_set1_epi32(static_cast<int>(static_cast<uint32_t>(Y) << 16 | (X & 0xFFFF)));
        return {_mm_madd_epi16(_mm_unpacklo_epi16(x.v, y.v), factors),
                _mm_madd_epi16(_mm_unpackhi_epi16(x.v, y.v), factors)};
    }
    template <int X, int Y> static Wide AddProducts(Wide sum, Words x, Words y) {
        const Wide products = Products<X, Y>(x, y);
        return {_mm_add_epi32(sum.low, products.low), _mm_add_epi32(sum.high, products.high)};
    }
};

inline Words ScaledQuotient(Words x, const int16_t *reciprocal, const int16_t *scale,
                            const int16_t *) {
    return {_mm_mulhrs_epi16(_mm_mulhi_epi16(x.v, LoadVector(reciprocal)), LoadVector(scale))};
}

/// Bit x of the result: byte x is not 0, of 16 words that are packed to bytes.
inline uint32_t NonZeroBits(Words low, Words high) {
    const __m128i bytes = _mm_packs_epi16(low.v, high.v);
    const int zero = _mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_setzero_si128()));
    return ~static_cast<uint32_t>(zero) & 0xFFFF;
}

struct Bytes {
    static constexpr uint32_t kCount = 16;
    __m128i v;

    static Bytes Load(const uint8_t *p) { return {LoadVector(p)}; }
    void Store(uint8_t *p) const { StoreVector(p, v); }
    static Bytes All(int x) { return {_mm_set1_epi8(static_cast<char>(x))}; }

    friend Bytes operator+(Bytes a, Bytes b) { return {_mm_add_epi8(a.v, b.v)}; }
    friend Bytes operator-(Bytes a, Bytes b) { return {_mm_sub_epi8(a.v, b.v)}; }
    friend Bytes operator&(Bytes a, Bytes b) { return {_mm_and_si128(a.v, b.v)}; }
    friend Bytes operator|(Bytes a, Bytes b) { return {_mm_or_si128(a.v, b.v)}; }
    uint32_t FirstOf255() const {
        const int found = _mm_movemask_epi8(_mm_cmpeq_epi8(v, _mm_set1_epi8(-1)));
        return static_cast<uint32_t>(__builtin_ctz(static_cast<uint32_t>(found) | 1u << 16));
    }
    static Bytes SubtractToZero(Bytes a, Bytes b) { return {_mm_subs_epu8(a.v, b.v)}; }
    template <int N> Bytes ShiftRight() const {
        return Bytes{_mm_srli_epi16(v, N)} & All(0xFF >> N);
    }
    static Bytes NegatedWhereLess(Bytes x, Bytes a, Bytes b) {
        const __m128i notLess = _mm_cmpeq_epi8(_mm_max_epu8(a.v, b.v), a.v);
        const __m128i less = _mm_xor_si128(notLess, _mm_set1_epi8(-1));
        return {_mm_sub_epi8(_mm_xor_si128(x.v, less), less)};
    }
    static Bytes WeighedTenth(Bytes a, Bytes b, Bytes c) {
        const __m128i weights = _mm_set1_epi16(0x0603);
        const __m128i zero = _mm_setzero_si128();
        const __m128i tenth = _mm_set1_epi16(6554);
        const __m128i low = _mm_add_epi16(_mm_maddubs_epi16(_mm_unpacklo_epi8(a.v, b.v), weights),
                                          _mm_unpacklo_epi8(c.v, zero));
        const __m128i high = _mm_add_epi16(_mm_maddubs_epi16(_mm_unpackhi_epi8(a.v, b.v), weights),
                                           _mm_unpackhi_epi8(c.v, zero));
        return {_mm_packus_epi16(_mm_mulhi_epu16(low, tenth), _mm_mulhi_epu16(high, tenth))};
    }
};

inline void StoreEven(Bytes a, Bytes b, uint8_t *toA, uint8_t *toB) {
    const __m128i low = _mm_set1_epi16(0xFF);
    const __m128i even = _mm_packus_epi16(_mm_and_si128(a.v, low), _mm_and_si128(b.v, low));
    _mm_storel_epi64(reinterpret_cast<__m128i *>(toA), even);
    _mm_storel_epi64(reinterpret_cast<__m128i *>(toB), _mm_srli_si128(even, 8));
}

struct Pixels {
    Bytes first, second, third;
};

inline Bytes Shuffle3(__m128i a, __m128i b, __m128i c, __m128i fromA, __m128i fromB,
                      __m128i fromC) {
    return {_mm_or_si128(_mm_or_si128(_mm_shuffle_epi8(a, fromA), _mm_shuffle_epi8(b, fromB)),
                         _mm_shuffle_epi8(c, fromC))};
}

inline Pixels LoadPixels(const uint8_t *p) {
    const __m128i a = LoadVector(p), b = LoadVector(p + 16), c = LoadVector(p + 32);
    constexpr char n = -1;
    return {
        Shuffle3(a, b, c, _mm_setr_epi8(0, 3, 6, 9, 12, 15, n, n, n, n, n, n, n, n, n, n),
                 _mm_setr_epi8(n, n, n, n, n, n, 2, 5, 8, 11, 14, n, n, n, n, n),
                 _mm_setr_epi8(n, n, n, n, n, n, n, n, n, n, n, 1, 4, 7, 10, 13)),
        Shuffle3(a, b, c, _mm_setr_epi8(1, 4, 7, 10, 13, n, n, n, n, n, n, n, n, n, n, n),
                 _mm_setr_epi8(n, n, n, n, n, 0, 3, 6, 9, 12, 15, n, n, n, n, n),
                 _mm_setr_epi8(n, n, n, n, n, n, n, n, n, n, n, 2, 5, 8, 11, 14)),
        Shuffle3(a, b, c, _mm_setr_epi8(2, 5, 8, 11, 14, n, n, n, n, n, n, n, n, n, n, n),
                 _mm_setr_epi8(n, n, n, n, n, 1, 4, 7, 10, 13, n, n, n, n, n, n),
                 _mm_setr_epi8(n, n, n, n, n, n, n, n, n, n, 0, 3, 6, 9, 12, 15)),
    };
}

inline void StorePixels(uint8_t *p, const Pixels &t) {
    constexpr char n = -1;
    Shuffle3(t.first.v, t.second.v, t.third.v,
             _mm_setr_epi8(0, n, n, 1, n, n, 2, n, n, 3, n, n, 4, n, n, 5),
             _mm_setr_epi8(n, 0, n, n, 1, n, n, 2, n, n, 3, n, n, 4, n, n),
             _mm_setr_epi8(n, n, 0, n, n, 1, n, n, 2, n, n, 3, n, n, 4, n))
        .Store(p);
    Shuffle3(t.first.v, t.second.v, t.third.v,
             _mm_setr_epi8(n, n, 6, n, n, 7, n, n, 8, n, n, 9, n, n, 10, n),
             _mm_setr_epi8(5, n, n, 6, n, n, 7, n, n, 8, n, n, 9, n, n, 10),
             _mm_setr_epi8(n, 5, n, n, 6, n, n, 7, n, n, 8, n, n, 9, n, n))
        .Store(p + 16);
    Shuffle3(t.first.v, t.second.v, t.third.v,
             _mm_setr_epi8(n, 11, n, n, 12, n, n, 13, n, n, 14, n, n, 15, n, n),
             _mm_setr_epi8(n, n, 11, n, n, 12, n, n, 13, n, n, 14, n, n, 15, n),
             _mm_setr_epi8(10, n, n, 11, n, n, 12, n, n, 13, n, n, 14, n, n, 15))
        .Store(p + 32);
}

} // namespace
} // namespace kowen
