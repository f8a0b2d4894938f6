// Vectors of AVX2: 32 bytes, two blocks. What the operations mean: README.md.
#pragma once

#include <cstdint>
#include <immintrin.h>

namespace kowen {
namespace {

inline __m256i LoadVector(const void *p) {
    return _mm256_loadu_si256(static_cast<const __m256i *>(p));
}
inline void StoreVector(void *p, __m256i v) {
    _mm256_storeu_si256(static_cast<__m256i *>(p), v);
}
inline __m128i LoadHalf(const void *p) {
    return _mm_loadu_si128(static_cast<const __m128i *>(p));
}
inline void StoreHalf(void *p, __m128i v) {
    _mm_storeu_si128(static_cast<__m128i *>(p), v);
}

struct Words {
    static constexpr uint32_t kBlocks = 2;
    static constexpr int kSumScaleBits = 5;
    static constexpr uint32_t kOrder[8] = {0, 2, 4, 6, 1, 3, 5, 7};
    __m256i v;

    static Words LoadBytePairs(const uint8_t *first, const uint8_t *second) {
        const __m256i rows =
            _mm256_inserti128_si256(_mm256_castsi128_si256(LoadHalf(first)), LoadHalf(second), 1);
        const __m256i ofBlocks = _mm256_permute4x64_epi64(rows, 0xD8);
        return {_mm256_shuffle_epi8(
            ofBlocks, _mm256_broadcastsi128_si256(
                          _mm_setr_epi8(0, 7, 8, 15, 1, 6, 9, 14, 2, 5, 10, 13, 3, 4, 11, 12)))};
    }
    static Words EachBlock(const int16_t *p) { return {_mm256_broadcastsi128_si256(LoadHalf(p))}; }
    static Words All(int x) { return {_mm256_set1_epi16(static_cast<short>(x))}; }

    friend Words operator+(Words a, Words b) { return {_mm256_add_epi16(a.v, b.v)}; }
    friend Words operator-(Words a, Words b) { return {_mm256_sub_epi16(a.v, b.v)}; }
    friend Words operator|(Words a, Words b) { return {_mm256_or_si256(a.v, b.v)}; }
    template <int N> Words ShiftLeft() const { return {_mm256_slli_epi16(v, N)}; }
    template <int N> Words ShiftRight() const { return {_mm256_srai_epi16(v, N)}; }

    Words HalvesByTurns() const {
        return {_mm256_shuffle_epi8(v, _mm256_broadcastsi128_si256(_mm_setr_epi8(
                                           0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15)))};
    }
    Words SumsOfPairs() const { return {_mm256_maddubs_epi16(v, _mm256_set1_epi16(0x2020))}; }
    Words DifferencesOfPairs() const {
        return {_mm256_maddubs_epi16(v, _mm256_set1_epi16(static_cast<short>(0xE020)))};
    }

    static Words UnpackLow16(Words a, Words b) { return {_mm256_unpacklo_epi16(a.v, b.v)}; }
    static Words UnpackHigh16(Words a, Words b) { return {_mm256_unpackhi_epi16(a.v, b.v)}; }
    static Words UnpackLow32(Words a, Words b) { return {_mm256_unpacklo_epi32(a.v, b.v)}; }
    static Words UnpackHigh32(Words a, Words b) { return {_mm256_unpackhi_epi32(a.v, b.v)}; }
    static Words UnpackLow64(Words a, Words b) { return {_mm256_unpacklo_epi64(a.v, b.v)}; }
    static Words UnpackHigh64(Words a, Words b) { return {_mm256_unpackhi_epi64(a.v, b.v)}; }
};

struct Wide {
    __m256i low, high;

    template <int N> Wide Plus() const {
        const __m256i n = _mm256_set1_epi32(N);
        return {_mm256_add_epi32(low, n), _mm256_add_epi32(high, n)};
    }
    template <int, int N> Words Narrow() const {
        static_assert(N == 16);
        return {_mm256_blend_epi16(_mm256_srli_epi32(low, 16), high, 0xAA)};
    }
};

template <int...> struct Factors {
    template <int X, int Y> static Wide Products(Words x, Words y) {
        const __m256i factors =
            _mm256_set1_epi32(static_cast<int>(static_cast<uint32_t>(Y) << 16 | (X & 0xFFFF)));
        return {_mm256_madd_epi16(_mm256_unpacklo_epi16(x.v, y.v), factors),
                _mm256_madd_epi16(_mm256_unpackhi_epi16(x.v, y.v), factors)};
    }
    template <int X, int Y> static Wide AddProducts(Wide sum, Words x, Words y) {
        const Wide products = Products<X, Y>(x, y);
        return {_mm256_add_epi32(sum.low, products.low), _mm256_add_epi32(sum.high, products.high)};
    }
};

inline Words ScaledQuotient(Words x, const int16_t *reciprocal, const int16_t *scale,
                            const int16_t *) {
    return {_mm256_mulhrs_epi16(_mm256_mulhi_epi16(x.v, Words::EachBlock(reciprocal).v),
                                Words::EachBlock(scale).v)};
}

struct Bytes {
    static constexpr uint32_t kCount = 32;
    __m256i v;

    static Bytes Load(const uint8_t *p) { return {LoadVector(p)}; }
    void Store(uint8_t *p) const { StoreVector(p, v); }
    static Bytes All(int x) { return {_mm256_set1_epi8(static_cast<char>(x))}; }

    friend Bytes operator+(Bytes a, Bytes b) { return {_mm256_add_epi8(a.v, b.v)}; }
    friend Bytes operator-(Bytes a, Bytes b) { return {_mm256_sub_epi8(a.v, b.v)}; }
    friend Bytes operator&(Bytes a, Bytes b) { return {_mm256_and_si256(a.v, b.v)}; }
    friend Bytes operator|(Bytes a, Bytes b) { return {_mm256_or_si256(a.v, b.v)}; }
    uint32_t FirstOf255() const {
        const int found = _mm256_movemask_epi8(_mm256_cmpeq_epi8(v, _mm256_set1_epi8(-1)));
        return static_cast<uint32_t>(__builtin_ctzll(static_cast<uint32_t>(found) | 1ull << 32));
    }
    static Bytes SubtractToZero(Bytes a, Bytes b) { return {_mm256_subs_epu8(a.v, b.v)}; }
    template <int N> Bytes ShiftRight() const {
        return Bytes{_mm256_srli_epi16(v, N)} & All(0xFF >> N);
    }
    static Bytes NegatedWhereLess(Bytes x, Bytes a, Bytes b) {
        const __m256i notLess = _mm256_cmpeq_epi8(_mm256_max_epu8(a.v, b.v), a.v);
        const __m256i less = _mm256_xor_si256(notLess, _mm256_set1_epi8(-1));
        return {_mm256_sub_epi8(_mm256_xor_si256(x.v, less), less)};
    }
    static Bytes WeighedTenth(Bytes a, Bytes b, Bytes c) {
        const __m256i weights = _mm256_set1_epi16(0x0603);
        const __m256i zero = _mm256_setzero_si256();
        const __m256i tenth = _mm256_set1_epi16(6554);
        const __m256i low =
            _mm256_add_epi16(_mm256_maddubs_epi16(_mm256_unpacklo_epi8(a.v, b.v), weights),
                             _mm256_unpacklo_epi8(c.v, zero));
        const __m256i high =
            _mm256_add_epi16(_mm256_maddubs_epi16(_mm256_unpackhi_epi8(a.v, b.v), weights),
                             _mm256_unpackhi_epi8(c.v, zero));
        return {
            _mm256_packus_epi16(_mm256_mulhi_epu16(low, tenth), _mm256_mulhi_epu16(high, tenth))};
    }
};

inline void StoreEven(Bytes a, Bytes b, uint8_t *toA, uint8_t *toB) {
    const __m256i low = _mm256_set1_epi16(0xFF);
    const __m256i even =
        _mm256_packus_epi16(_mm256_and_si256(a.v, low), _mm256_and_si256(b.v, low));
    const __m256i inOrder = _mm256_permute4x64_epi64(even, 0xD8);
    StoreHalf(toA, _mm256_castsi256_si128(inOrder));
    StoreHalf(toB, _mm256_extracti128_si256(inOrder, 1));
}

// The low half has the first 16.
struct Pixels {
    Bytes first, second, third;
};

inline __m256i LoadTwo(const uint8_t *low, const uint8_t *high) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(LoadHalf(low)), LoadHalf(high), 1);
}

// Bytes 0, 3, 6, ... of a, 1, 4, 7, ... of b and 2, 5, 8, ... of c, counted in each half.
inline __m256i ByTurns(__m256i a, __m256i b, __m256i c) {
    constexpr char y = -1;
    const __m128i ofB = _mm_setr_epi8(0, y, 0, 0, y, 0, 0, y, 0, 0, y, 0, 0, y, 0, 0);
    const __m128i ofC = _mm_setr_epi8(0, 0, y, 0, 0, y, 0, 0, y, 0, 0, y, 0, 0, y, 0);
    const __m256i ofAAndB = _mm256_blendv_epi8(a, b, _mm256_broadcastsi128_si256(ofB));
    return _mm256_blendv_epi8(ofAAndB, c, _mm256_broadcastsi128_si256(ofC));
}

inline __m256i ShuffleHalves(__m256i v, __m128i from) {
    return _mm256_shuffle_epi8(v, _mm256_broadcastsi128_si256(from));
}

// 16 bytes of one kind stand at places of their own, whichever of three vectors they are in: they
// are blended together, then one shuffle puts them in order.
inline Pixels LoadPixels(const uint8_t *p) {
    const __m256i a = LoadTwo(p, p + 48);
    const __m256i b = LoadTwo(p + 16, p + 64);
    const __m256i c = LoadTwo(p + 32, p + 80);
    return {
        {ShuffleHalves(ByTurns(a, c, b),
                       _mm_setr_epi8(0, 3, 6, 9, 12, 15, 2, 5, 8, 11, 14, 1, 4, 7, 10, 13))},
        {ShuffleHalves(ByTurns(b, a, c),
                       _mm_setr_epi8(1, 4, 7, 10, 13, 0, 3, 6, 9, 12, 15, 2, 5, 8, 11, 14))},
        {ShuffleHalves(ByTurns(c, b, a),
                       _mm_setr_epi8(2, 5, 8, 11, 14, 1, 4, 7, 10, 13, 0, 3, 6, 9, 12, 15))},
    };
}

inline void StoreTwo(uint8_t *low, uint8_t *high, __m256i bytes) {
    StoreHalf(low, _mm256_castsi256_si128(bytes));
    StoreHalf(high, _mm256_extracti128_si256(bytes, 1));
}

inline void StorePixels(uint8_t *p, const Pixels &t) {
    const __m256i first = ShuffleHalves(
        t.first.v, _mm_setr_epi8(0, 11, 6, 1, 12, 7, 2, 13, 8, 3, 14, 9, 4, 15, 10, 5));
    const __m256i second = ShuffleHalves(
        t.second.v, _mm_setr_epi8(5, 0, 11, 6, 1, 12, 7, 2, 13, 8, 3, 14, 9, 4, 15, 10));
    const __m256i third = ShuffleHalves(
        t.third.v, _mm_setr_epi8(10, 5, 0, 11, 6, 1, 12, 7, 2, 13, 8, 3, 14, 9, 4, 15));
    StoreTwo(p, p + 48, ByTurns(first, second, third));
    StoreTwo(p + 16, p + 64, ByTurns(second, third, first));
    StoreTwo(p + 32, p + 80, ByTurns(third, first, second));
}

} // namespace
} // namespace kowen
