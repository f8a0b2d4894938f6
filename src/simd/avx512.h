// Vectors of AVX-512 with BW, VL, VBMI and VBMI2: 64 bytes, four blocks. What the operations mean:
// README.md.
#pragma once

#include <cstdint>
#include <immintrin.h>

namespace kowen {
namespace {

inline __m512i LoadVector(const void *p) {
    return _mm512_loadu_si512(p);
}
inline void StoreVector(void *p, __m512i v) {
    _mm512_storeu_si512(p, v);
}

inline __m256i LoadHalf(const void *p) {
    return _mm256_loadu_si256(static_cast<const __m256i *>(p));
}

// Of 8 bytes of two rows of each block, which come one row behind the other: a byte and its mirror
// image, of the rows by turns.
struct BytePairs {
    alignas(64) uint8_t from[64];
};
constexpr BytePairs MakeBytePairs() {
    BytePairs pairs = {};
    for (int i = 0; i < 64; ++i) {
        const int block = i / 16, row = i / 2 % 2, column = i % 16 / 4;
        pairs.from[i] =
            static_cast<uint8_t>(32 * row + 8 * block + (i % 2 == 0 ? column : 7 - column));
    }
    return pairs;
}
constexpr BytePairs kBytePairs = MakeBytePairs();

struct Words {
    static constexpr uint32_t kBlocks = 4;
    static constexpr int kSumScaleBits = 5;
    static constexpr uint32_t kOrder[8] = {0, 2, 4, 6, 1, 3, 5, 7};
    __m512i v;

    static Words LoadBytePairs(const uint8_t *first, const uint8_t *second) {
        const __m512i rows =
            _mm512_inserti64x4(_mm512_castsi256_si512(LoadHalf(first)), LoadHalf(second), 1);
        return {_mm512_permutexvar_epi8(_mm512_load_si512(kBytePairs.from), rows)};
    }
    static Words EachBlock(const int16_t *p) {
        return {_mm512_broadcast_i32x4(_mm_loadu_si128(reinterpret_cast<const __m128i *>(p)))};
    }
    static Words All(int x) { return {_mm512_set1_epi16(static_cast<short>(x))}; }

    friend Words operator+(Words a, Words b) { return {_mm512_add_epi16(a.v, b.v)}; }
    friend Words operator-(Words a, Words b) { return {_mm512_sub_epi16(a.v, b.v)}; }
    friend Words operator|(Words a, Words b) { return {_mm512_or_si512(a.v, b.v)}; }
    template <int N> Words ShiftLeft() const { return {_mm512_slli_epi16(v, N)}; }
    template <int N> Words ShiftRight() const { return {_mm512_srai_epi16(v, N)}; }

    Words HalvesByTurns() const {
        return {_mm512_shuffle_epi8(v, _mm512_broadcast_i32x4(_mm_setr_epi8(
                                           0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15)))};
    }
    Words SumsOfPairs() const { return {_mm512_maddubs_epi16(v, _mm512_set1_epi16(0x2020))}; }
    Words DifferencesOfPairs() const {
        return {_mm512_maddubs_epi16(v, _mm512_set1_epi16(static_cast<short>(0xE020)))};
    }

    static Words UnpackLow16(Words a, Words b) { return {_mm512_unpacklo_epi16(a.v, b.v)}; }
    static Words UnpackHigh16(Words a, Words b) { return {_mm512_unpackhi_epi16(a.v, b.v)}; }
    static Words UnpackLow32(Words a, Words b) { return {_mm512_unpacklo_epi32(a.v, b.v)}; }
    static Words UnpackHigh32(Words a, Words b) { return {_mm512_unpackhi_epi32(a.v, b.v)}; }
    static Words UnpackLow64(Words a, Words b) { return {_mm512_unpacklo_epi64(a.v, b.v)}; }
    static Words UnpackHigh64(Words a, Words b) { return {_mm512_unpackhi_epi64(a.v, b.v)}; }
};

struct Wide {
    __m512i low, high;

    template <int N> Wide Plus() const {
        const __m512i n = _mm512_set1_epi32(N);
        return {_mm512_add_epi32(low, n), _mm512_add_epi32(high, n)};
    }
    template <int, int N> Words Narrow() const {
        static_assert(N == 16);
        return {_mm512_mask_blend_epi16(0xAAAAAAAA, _mm512_srli_epi32(low, 16), high)};
    }
};

template <int...> struct Factors {
    template <int X, int Y> static Wide Products(Words x, Words y) {
        const __m512i factors =
            _mm512_set1_epi32(static_cast<int>(static_cast<uint32_t>(Y) << 16 | (X & 0xFFFF)));
        return {_mm512_madd_epi16(_mm512_unpacklo_epi16(x.v, y.v), factors),
                _mm512_madd_epi16(_mm512_unpackhi_epi16(x.v, y.v), factors)};
    }
    template <int X, int Y> static Wide AddProducts(Wide sum, Words x, Words y) {
        const Wide products = Products<X, Y>(x, y);
        return {_mm512_add_epi32(sum.low, products.low), _mm512_add_epi32(sum.high, products.high)};
    }
};

inline Words ScaledQuotient(Words x, const int16_t *reciprocal, const int16_t *scale,
                            const int16_t *) {
    return {_mm512_mulhrs_epi16(_mm512_mulhi_epi16(x.v, Words::EachBlock(reciprocal).v),
                                Words::EachBlock(scale).v)};
}

struct Bytes {
    static constexpr uint32_t kCount = 64;
    __m512i v;

    static Bytes Load(const uint8_t *p) { return {LoadVector(p)}; }
    void Store(uint8_t *p) const { StoreVector(p, v); }
    static Bytes All(int x) { return {_mm512_set1_epi8(static_cast<char>(x))}; }

    friend Bytes operator+(Bytes a, Bytes b) { return {_mm512_add_epi8(a.v, b.v)}; }
    friend Bytes operator-(Bytes a, Bytes b) { return {_mm512_sub_epi8(a.v, b.v)}; }
    friend Bytes operator&(Bytes a, Bytes b) { return {_mm512_and_si512(a.v, b.v)}; }
    friend Bytes operator|(Bytes a, Bytes b) { return {_mm512_or_si512(a.v, b.v)}; }
    uint32_t FirstOf255() const {
        const uint64_t found = _mm512_cmpeq_epi8_mask(v, _mm512_set1_epi8(-1));
        return found == 0 ? kCount : static_cast<uint32_t>(__builtin_ctzll(found));
    }
    static Bytes SubtractToZero(Bytes a, Bytes b) { return {_mm512_subs_epu8(a.v, b.v)}; }
    template <int N> Bytes ShiftRight() const {
        return Bytes{_mm512_srli_epi16(v, N)} & All(0xFF >> N);
    }
    static Bytes NegatedWhereLess(Bytes x, Bytes a, Bytes b) {
        return {_mm512_mask_sub_epi8(x.v, _mm512_cmplt_epu8_mask(a.v, b.v), _mm512_setzero_si512(),
                                     x.v)};
    }
    static Bytes WeighedTenth(Bytes a, Bytes b, Bytes c) {
        const __m512i weights = _mm512_set1_epi16(0x0603);
        const __m512i zero = _mm512_setzero_si512();
        const __m512i tenth = _mm512_set1_epi16(6554);
        const __m512i low =
            _mm512_add_epi16(_mm512_maddubs_epi16(_mm512_unpacklo_epi8(a.v, b.v), weights),
                             _mm512_unpacklo_epi8(c.v, zero));
        const __m512i high =
            _mm512_add_epi16(_mm512_maddubs_epi16(_mm512_unpackhi_epi8(a.v, b.v), weights),
                             _mm512_unpackhi_epi8(c.v, zero));
        return {
            _mm512_packus_epi16(_mm512_mulhi_epu16(low, tenth), _mm512_mulhi_epu16(high, tenth))};
    }
};

inline void StoreEven(Bytes a, Bytes b, uint8_t *toA, uint8_t *toB) {
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(toA), _mm512_cvtepi16_epi8(a.v));
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(toB), _mm512_cvtepi16_epi8(b.v));
}

struct Pixels {
    Bytes first, second, third;
};

// Where the bytes of a shuffle come from: byte i is byte from[i] of a and b, one behind the other,
// or of c where fromC says so.
struct Shuffle3 {
    alignas(64) uint8_t from[64];
    uint64_t fromC;

    Bytes operator()(__m512i a, __m512i b, __m512i c) const {
        const __m512i indices = _mm512_load_si512(from);
        const __m512i ofAAndB = _mm512_permutex2var_epi8(a, indices, b);
        return {_mm512_mask_permutexvar_epi8(ofAAndB, fromC, indices, c)};
    }
};

// Takes each third byte of 192, from the first-th on.
constexpr Shuffle3 EachThird(int first) {
    Shuffle3 shuffle = {};
    for (int i = 0; i < 64; ++i) {
        const int place = 3 * i + first;
        shuffle.from[i] = static_cast<uint8_t>(place < 128 ? place : place - 128);
        shuffle.fromC |= uint64_t{place >= 128} << i;
    }
    return shuffle;
}

// Bytes part x 64 to part x 64 + 63 of three times 64, interleaved.
constexpr Shuffle3 Interleaved(int part) {
    Shuffle3 shuffle = {};
    for (int i = 0; i < 64; ++i) {
        const int place = part * 64 + i;
        shuffle.from[i] = static_cast<uint8_t>(place / 3 + (place % 3 == 1 ? 64 : 0));
        shuffle.fromC |= uint64_t{place % 3 == 2} << i;
    }
    return shuffle;
}

constexpr Shuffle3 kEachThird[3] = {EachThird(0), EachThird(1), EachThird(2)};
constexpr Shuffle3 kInterleaved[3] = {Interleaved(0), Interleaved(1), Interleaved(2)};

inline Pixels LoadPixels(const uint8_t *p) {
    const __m512i a = LoadVector(p), b = LoadVector(p + 64), c = LoadVector(p + 128);
    return {kEachThird[0](a, b, c), kEachThird[1](a, b, c), kEachThird[2](a, b, c)};
}

inline void StorePixels(uint8_t *p, const Pixels &t) {
    for (int part = 0; part < 3; ++part)
        kInterleaved[part](t.first.v, t.second.v, t.third.v).Store(p + 64 * part);
}

} // namespace
} // namespace kowen
