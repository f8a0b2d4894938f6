// With AVX2, pairs in words of 16 bits. A block is two halves of 16 pixels, one in each half of the
// registers; these take four pixels from 12 bytes.
#include "picture/adjust.h"

#include "picture/adjust.inl"

#include <immintrin.h>

namespace kowen::host {
namespace {

constexpr uint32_t kPixels = 32;
constexpr size_t kQuadBytes = 4 * kPixel;
constexpr size_t kHalfBytes = kPixels / 2 * kPixel;

inline __m128i LoadHalf(const uint8_t *bytes) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes));
}

inline __m256i Join(__m128i low, __m128i high) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
}

inline __m256i Twice(__m128i half) {
    return _mm256_broadcastsi128_si256(half);
}

// Two factors of 16 bits, for each pair of words.
inline __m256i Factors(int first, int second) {
    return _mm256_set1_epi32(static_cast<int>(static_cast<uint32_t>(second) << 16 |
                                              (static_cast<uint32_t>(first) & 0xFFFF)));
}

// Words of red and green, and of blue and 0.
struct Words {
    __m256i redGreen, blue;
};

// Of quads: columns 0, 2, 1, 3.
inline Words Widen(__m256i quads) {
    const __m128i redGreen = _mm_setr_epi8(0, -1, 1, -1, 6, -1, 7, -1, 3, -1, 4, -1, 9, -1, 10, -1);
    const __m128i blue = _mm_setr_epi8(2, -1, -1, -1, 8, -1, -1, -1, 5, -1, -1, -1, 11, -1, -1, -1);
    return {_mm256_shuffle_epi8(quads, Twice(redGreen)), _mm256_shuffle_epi8(quads, Twice(blue))};
}

inline __m256i WeightedSum(const Words &pixels, __m256i redGreen, __m256i blue, int rounding) {
    return _mm256_add_epi32(_mm256_add_epi32(_mm256_madd_epi16(pixels.redGreen, redGreen),
                                             _mm256_madd_epi16(pixels.blue, blue)),
                            _mm256_set1_epi32(rounding));
}

inline __m256i Luminances(const Words &pixels) {
    return _mm256_srli_epi32(WeightedSum(pixels, Factors(kYr, kYg), Factors(kYb, 0), kHalf),
                             kShift);
}

// Samples of 4 pairs in each half, 32 bits each; chroma of the sum of two pixels.
struct QuadSamples {
    __m256i even, odd, cb, cr;

    QuadSamples(__m256i firstQuads, __m256i secondQuads) {
        const Words a = Widen(firstQuads);
        const Words b = Widen(secondQuads);
        const Words first = {_mm256_unpacklo_epi64(a.redGreen, b.redGreen),
                             _mm256_unpacklo_epi64(a.blue, b.blue)};
        const Words second = {_mm256_unpackhi_epi64(a.redGreen, b.redGreen),
                              _mm256_unpackhi_epi64(a.blue, b.blue)};
        const Words both = {_mm256_add_epi16(first.redGreen, second.redGreen),
                            _mm256_add_epi16(first.blue, second.blue)};
        even = Luminances(first);
        odd = Luminances(second);
        cb = _mm256_srai_epi32(WeightedSum(both, Factors(kCbR, kCbG), Factors(kCbB, 0), 2 * kHalf),
                               kShift + 1);
        cr = _mm256_srai_epi32(WeightedSum(both, Factors(kCrR, kCrG), Factors(kCrB, 0), 2 * kHalf),
                               kShift + 1);
    }
};

inline __m256i Clamp(__m256i words) {
    return _mm256_min_epi16(_mm256_max_epi16(words, _mm256_setzero_si256()),
                            _mm256_set1_epi16(255));
}

inline __m256i Times(__m256i words, int factor) {
    return _mm256_mullo_epi16(words, _mm256_set1_epi16(static_cast<short>(factor)));
}

inline __m256i Plus(__m256i words, int summand) {
    return _mm256_add_epi16(words, _mm256_set1_epi16(static_cast<short>(summand)));
}

inline __m256i TimesHigh(__m256i words, int factor) {
    return _mm256_mulhi_epu16(words, _mm256_set1_epi16(static_cast<short>(factor)));
}

// Solve for 16 pairs, in words that a byte need not hold.
struct Solved {
    __m256i red, green, blue;

    Solved(__m256i y, __m256i cb, __m256i cr) {
        const __m256i size = _mm256_abs_epi16(cr);
        const __m256i away = TimesHigh(Plus(_mm256_slli_epi16(size, 3), kFifthUp), kFifth);
        red = _mm256_add_epi16(y, _mm256_sign_epi16(away, cr));
        blue = _mm256_add_epi16(_mm256_add_epi16(y, cb), cb);
        const __m256i taken = _mm256_add_epi16(Times(Clamp(red), 3), Clamp(blue));
        const __m256i numerator =
            _mm256_sub_epi16(Plus(Times(y, 10), kSixthUp + kSixthLift), taken);
        green = Plus(TimesHigh(numerator, kSixth), -kSixthLift / 6);
    }

    // Words of 1 where something is outside.
    __m256i Outside() const {
        const __m256i most = _mm256_max_epu16(
            _mm256_max_epu16(Plus(red, kSlack), Plus(green, kSlack)), Plus(blue, kSlack));
        const __m256i over = _mm256_subs_epu16(most, _mm256_set1_epi16(255 + 2 * kSlack));
        return _mm256_min_epu16(over, _mm256_set1_epi16(1));
    }
};

// A vector of red and green bytes and one of blue and luminance bytes, eight each in a half.
struct Columns {
    __m256i redGreen, blueGrey;

    // Bytes of pairs as they are stored: a third of a half's.
    __m256i Put(__m128i fromRedGreen, __m128i fromBlueGrey) const {
        return _mm256_or_si256(_mm256_shuffle_epi8(redGreen, Twice(fromRedGreen)),
                               _mm256_shuffle_epi8(blueGrey, Twice(fromBlueGrey)));
    }
};

inline void StoreThirds(uint8_t *pixels, __m256i thirds) {
    _mm_storeu_si128(reinterpret_cast<__m128i *>(pixels), _mm256_castsi256_si128(thirds));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(pixels + kHalfBytes),
                     _mm256_extracti128_si256(thirds, 1));
}

// A pair is red, green and blue of the first pixel and three times the second one's luminance.
inline void StorePairs(uint8_t *pixels, const Columns &columns) {
    const __m128i redGreen[3] = {
        _mm_setr_epi8(0, 8, -1, -1, -1, -1, 1, 9, -1, -1, -1, -1, 2, 10, -1, -1),
        _mm_setr_epi8(-1, -1, 3, 11, -1, -1, -1, -1, 4, 12, -1, -1, -1, -1, 5, 13),
        _mm_setr_epi8(-1, -1, -1, -1, 6, 14, -1, -1, -1, -1, 7, 15, -1, -1, -1, -1)};
    const __m128i blueGrey[3] = {
        _mm_setr_epi8(-1, -1, 0, 8, 8, 8, -1, -1, 1, 9, 9, 9, -1, -1, 2, 10),
        _mm_setr_epi8(10, 10, -1, -1, 3, 11, 11, 11, -1, -1, 4, 12, 12, 12, -1, -1),
        _mm_setr_epi8(5, 13, 13, 13, -1, -1, 6, 14, 14, 14, -1, -1, 7, 15, 15, 15)};
    for (size_t third = 0; third < 3; ++third)
        StoreThirds(pixels + third * sizeof(__m128i),
                    columns.Put(redGreen[third], blueGrey[third]));
}

inline uint32_t Sum(__m256i words) {
    const __m256i pairs = _mm256_madd_epi16(words, _mm256_set1_epi16(1));
    __m128i sum = _mm_add_epi32(_mm256_castsi256_si128(pairs), _mm256_extracti128_si256(pairs, 1));
    sum = _mm_add_epi32(sum, _mm_srli_si128(sum, 8));
    sum = _mm_add_epi32(sum, _mm_srli_si128(sum, 4));
    return static_cast<uint32_t>(_mm_cvtsi128_si32(sum));
}

inline uint32_t SolvePairWords(uint8_t *pixels) {
    const uint8_t *other = pixels + kHalfBytes;
    // The last quad's vector begins before it, so as not to end behind the block.
    constexpr int kBefore = sizeof(__m128i) - kQuadBytes;
    const __m128i last = _mm_srli_si128(LoadHalf(other + 3 * kQuadBytes - kBefore), kBefore);
    const QuadSamples a(Join(LoadHalf(pixels), LoadHalf(other)),
                        Join(LoadHalf(pixels + kQuadBytes), LoadHalf(other + kQuadBytes)));
    const QuadSamples b(Join(LoadHalf(pixels + 2 * kQuadBytes), LoadHalf(other + 2 * kQuadBytes)),
                        Join(LoadHalf(pixels + 3 * kQuadBytes), last));
    const Solved solved(_mm256_packs_epi32(a.even, b.even), _mm256_packs_epi32(a.cb, b.cb),
                        _mm256_packs_epi32(a.cr, b.cr));
    StorePairs(pixels, {_mm256_packus_epi16(solved.red, solved.green),
                        _mm256_packus_epi16(solved.blue, _mm256_packs_epi32(a.odd, b.odd))});
    return 2 * Sum(solved.Outside());
}

} // namespace

const AdjustVariant kAdjustAvx2 = {"AVX2", PairsRow<kPixels, SolvePairWords>, SingleRow, GreyRow};

} // namespace kowen::host
