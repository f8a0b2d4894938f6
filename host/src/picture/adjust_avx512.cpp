// With AVX-512 and its byte permutations, pairs in words of 16 bits. A block is two halves of 32
// pixels.
#include "picture/adjust.h"

#include "picture/adjust.inl"

#include <algorithm>
#include <array>
#include <immintrin.h>

namespace kowen::host {
namespace {

constexpr uint32_t kPixels = 64;
constexpr size_t kHalfBytes = kPixels / 2 * kPixel;
constexpr size_t kVectorBytes = 64;
constexpr size_t kSecondLoad =
    kHalfBytes - kVectorBytes;    // of a half's bytes, overlapping the first
constexpr uint8_t kOfSecond = 64; // in an index: a byte of the second vector

using Indexes = std::array<uint8_t, kVectorBytes>;

inline __m512i LoadVector(const void *bytes) {
    return _mm512_loadu_si512(bytes);
}

// Where a byte of a half's two loads is.
constexpr uint8_t IndexOf(size_t byte) {
    return static_cast<uint8_t>(byte < kVectorBytes ? byte : byte - kSecondLoad + kOfSecond);
}

// Of every second pixel of a half the words red and green.
constexpr Indexes RedGreenIndexes(size_t column) {
    Indexes indexes = {};
    for (size_t i = 0; i < 16; ++i) {
        indexes[i * 4] = IndexOf((2 * i + column) * kPixel);
        indexes[i * 4 + 2] = IndexOf((2 * i + column) * kPixel + 1);
    }
    return indexes;
}
constexpr __mmask64 kRedGreenBytes = 0x5555555555555555;

// The words blue and 1, which the rounding is a factor of; where kBlueBytes has a 0 an index is
// taken as it is.
constexpr Indexes BlueIndexes(size_t column) {
    Indexes indexes = {};
    for (size_t i = 0; i < 16; ++i) {
        indexes[i * 4] = IndexOf((2 * i + column) * kPixel + 2);
        indexes[i * 4 + 2] = 1;
    }
    return indexes;
}
constexpr __mmask64 kBlueBytes = 0x1111111111111111;

alignas(kVectorBytes) constexpr Indexes kRedGreen[2] = {RedGreenIndexes(0), RedGreenIndexes(1)};
alignas(kVectorBytes) constexpr Indexes kBlue[2] = {BlueIndexes(0), BlueIndexes(1)};

inline __m512i Factors(int first, int second) {
    return _mm512_set1_epi32(static_cast<int>(static_cast<uint32_t>(second) << 16 |
                                              (static_cast<uint32_t>(first) & 0xFFFF)));
}

// Words of red and green, and of blue and the number of pixels that were added up.
struct Words {
    __m512i redGreen, blue;
};

inline Words Widen(__m512i first, __m512i second, size_t column) {
    return {_mm512_maskz_permutex2var_epi8(kRedGreenBytes, first, LoadVector(&kRedGreen[column]),
                                           second),
            _mm512_mask2_permutex2var_epi8(first, LoadVector(&kBlue[column]), kBlueBytes, second)};
}

inline __m512i WeightedSum(const Words &pixels, int red, int green, int blue) {
    return _mm512_add_epi32(_mm512_madd_epi16(pixels.redGreen, Factors(red, green)),
                            _mm512_madd_epi16(pixels.blue, Factors(blue, kHalf)));
}

// Samples of a half's 16 pairs, 32 bits each.
struct HalfSamples {
    __m512i even, odd, cb, cr;

    explicit HalfSamples(const uint8_t *pixels) {
        const __m512i low = LoadVector(pixels);
        const __m512i high = LoadVector(pixels + kSecondLoad);
        const Words first = Widen(low, high, 0);
        const Words second = Widen(low, high, 1);
        const Words both = {_mm512_add_epi16(first.redGreen, second.redGreen),
                            _mm512_add_epi16(first.blue, second.blue)};
        even = _mm512_srli_epi32(WeightedSum(first, kYr, kYg, kYb), kShift);
        odd = _mm512_srli_epi32(WeightedSum(second, kYr, kYg, kYb), kShift);
        cb = _mm512_srai_epi32(WeightedSum(both, kCbR, kCbG, kCbB), kShift + 1);
        cr = _mm512_srai_epi32(WeightedSum(both, kCrR, kCrG, kCrB), kShift + 1);
    }
};

inline __m512i Clamp(__m512i words) {
    return _mm512_min_epi16(_mm512_max_epi16(words, _mm512_setzero_si512()),
                            _mm512_set1_epi16(255));
}

inline __m512i Times(__m512i words, int factor) {
    return _mm512_mullo_epi16(words, _mm512_set1_epi16(static_cast<short>(factor)));
}

inline __m512i Plus(__m512i words, int summand) {
    return _mm512_add_epi16(words, _mm512_set1_epi16(static_cast<short>(summand)));
}

inline __m512i TimesHigh(__m512i words, int factor) {
    return _mm512_mulhi_epu16(words, _mm512_set1_epi16(static_cast<short>(factor)));
}

// Solve for 32 pairs, in words that a byte need not hold.
struct Solved {
    __m512i red, green, blue;

    Solved(__m512i y, __m512i cb, __m512i cr) {
        const __m512i size = _mm512_abs_epi16(cr);
        const __m512i away = TimesHigh(Plus(_mm512_slli_epi16(size, 3), kFifthUp), kFifth);
        const __mmask32 negative = _mm512_movepi16_mask(cr);
        red = _mm512_mask_sub_epi16(_mm512_add_epi16(y, away), negative, y, away);
        blue = _mm512_add_epi16(_mm512_add_epi16(y, cb), cb);
        const __m512i taken = _mm512_add_epi16(Times(Clamp(red), 3), Clamp(blue));
        const __m512i numerator =
            _mm512_sub_epi16(Plus(Times(y, 10), kSixthUp + kSixthLift), taken);
        green = Plus(TimesHigh(numerator, kSixth), -kSixthLift / 6);
    }

    uint32_t CountOutside() const {
        const __m512i most = _mm512_max_epu16(
            _mm512_max_epu16(Plus(red, kSlack), Plus(green, kSlack)), Plus(blue, kSlack));
        return static_cast<uint32_t>(
            __builtin_popcount(_mm512_cmpgt_epu16_mask(most, _mm512_set1_epi16(255 + 2 * kSlack))));
    }
};

// Packing leaves in each quarter of a vector eight bytes of either operand; four of them are pairs
// of the first half, four of the second. So this is where a pair's byte is.
constexpr size_t PackedIndex(size_t pair) {
    return pair % 16 / 4 * 16 + pair / 16 * 4 + pair % 4;
}

// A third of a block's bytes: red, green and blue of the first pixel of a pair, three times the
// second one's luminance. Red and green are in the first vector, blue and grey in the second one.
constexpr Indexes StoreIndexes(size_t third) {
    Indexes indexes = {};
    for (size_t i = 0; i < kVectorBytes; ++i) {
        const size_t byte = third * kVectorBytes + i;
        const size_t channel = std::min<size_t>(byte % (2 * kPixel), 3);
        indexes[i] = static_cast<uint8_t>(PackedIndex(byte / (2 * kPixel)) + channel % 2 * 8 +
                                          channel / 2 * kOfSecond);
    }
    return indexes;
}

alignas(kVectorBytes) constexpr Indexes kStore[3] = {StoreIndexes(0), StoreIndexes(1),
                                                     StoreIndexes(2)};

inline uint32_t SolvePairWords(uint8_t *pixels) {
    const HalfSamples a(pixels);
    const HalfSamples b(pixels + kHalfBytes);
    const Solved solved(_mm512_packs_epi32(a.even, b.even), _mm512_packs_epi32(a.cb, b.cb),
                        _mm512_packs_epi32(a.cr, b.cr));
    const __m512i redGreen = _mm512_packus_epi16(solved.red, solved.green);
    const __m512i blueGrey = _mm512_packus_epi16(solved.blue, _mm512_packs_epi32(a.odd, b.odd));
    for (size_t third = 0; third < 3; ++third)
        _mm512_storeu_si512(
            pixels + third * kVectorBytes,
            _mm512_permutex2var_epi8(redGreen, LoadVector(&kStore[third]), blueGrey));
    return 2 * solved.CountOutside();
}

} // namespace

const AdjustVariant kAdjustAvx512 = {"AVX-512", PairsRow<kPixels, SolvePairWords>, SingleRow,
                                     GreyRow};

} // namespace kowen::host
