// Rows of 3-byte pixels, 32 at a time, with AVX2. Included by the kernels that have it.
//
// A Triple holds 32 pixels apart: byte 0, 1 and 2 of each; the low lane the first 16.

struct Triple {
    __m256i first, second, third;
};

inline __m256i LoadTwo(const uint8_t *low, const uint8_t *high) {
    return _mm256_inserti128_si256(
        _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i *>(low))),
        _mm_loadu_si128(reinterpret_cast<const __m128i *>(high)), 1);
}

inline __m256i Both(__m128i lane) {
    return _mm256_broadcastsi128_si256(lane);
}

inline __m256i Gather(__m256i a, __m256i b, __m256i c, __m128i fromA, __m128i fromB,
                      __m128i fromC) {
    return _mm256_or_si256(
        _mm256_or_si256(_mm256_shuffle_epi8(a, Both(fromA)), _mm256_shuffle_epi8(b, Both(fromB))),
        _mm256_shuffle_epi8(c, Both(fromC)));
}

inline Triple LoadTriple(const uint8_t *p) {
    const __m256i a = LoadTwo(p, p + 48);
    const __m256i b = LoadTwo(p + 16, p + 64);
    const __m256i c = LoadTwo(p + 32, p + 80);
    constexpr char n = -1;
    return {
        Gather(a, b, c, _mm_setr_epi8(0, 3, 6, 9, 12, 15, n, n, n, n, n, n, n, n, n, n),
               _mm_setr_epi8(n, n, n, n, n, n, 2, 5, 8, 11, 14, n, n, n, n, n),
               _mm_setr_epi8(n, n, n, n, n, n, n, n, n, n, n, 1, 4, 7, 10, 13)),
        Gather(a, b, c, _mm_setr_epi8(1, 4, 7, 10, 13, n, n, n, n, n, n, n, n, n, n, n),
               _mm_setr_epi8(n, n, n, n, n, 0, 3, 6, 9, 12, 15, n, n, n, n, n),
               _mm_setr_epi8(n, n, n, n, n, n, n, n, n, n, n, 2, 5, 8, 11, 14)),
        Gather(a, b, c, _mm_setr_epi8(2, 5, 8, 11, 14, n, n, n, n, n, n, n, n, n, n, n),
               _mm_setr_epi8(n, n, n, n, n, 1, 4, 7, 10, 13, n, n, n, n, n, n),
               _mm_setr_epi8(n, n, n, n, n, n, n, n, n, n, 0, 3, 6, 9, 12, 15)),
    };
}

inline void StoreTwo(uint8_t *low, uint8_t *high, __m256i v) {
    _mm_storeu_si128(reinterpret_cast<__m128i *>(low), _mm256_castsi256_si128(v));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(high), _mm256_extracti128_si256(v, 1));
}

inline void StoreTriple(uint8_t *p, const Triple &t) {
    constexpr char n = -1;
    StoreTwo(p, p + 48,
             Gather(t.first, t.second, t.third,
                    _mm_setr_epi8(0, n, n, 1, n, n, 2, n, n, 3, n, n, 4, n, n, 5),
                    _mm_setr_epi8(n, 0, n, n, 1, n, n, 2, n, n, 3, n, n, 4, n, n),
                    _mm_setr_epi8(n, n, 0, n, n, 1, n, n, 2, n, n, 3, n, n, 4, n)));
    StoreTwo(p + 16, p + 64,
             Gather(t.first, t.second, t.third,
                    _mm_setr_epi8(n, n, 6, n, n, 7, n, n, 8, n, n, 9, n, n, 10, n),
                    _mm_setr_epi8(5, n, n, 6, n, n, 7, n, n, 8, n, n, 9, n, n, 10),
                    _mm_setr_epi8(n, 5, n, n, 6, n, n, 7, n, n, 8, n, n, 9, n, n)));
    StoreTwo(p + 32, p + 80,
             Gather(t.first, t.second, t.third,
                    _mm_setr_epi8(n, 11, n, n, 12, n, n, 13, n, n, 14, n, n, 15, n, n),
                    _mm_setr_epi8(n, n, 11, n, n, 12, n, n, 13, n, n, 14, n, n, 15, n),
                    _mm_setr_epi8(10, n, n, 11, n, n, 12, n, n, 13, n, n, 14, n, n, 15)));
}

// (3 a + 6 b + c) / 10 in 16-bit words: x / 10 = (x * 6554) >> 16 for every x up to 2550.
inline __m256i WeighedTenth(__m256i a, __m256i b, __m256i c) {
    const __m256i aPlus2b = _mm256_add_epi16(a, _mm256_add_epi16(b, b));
    const __m256i sum =
        _mm256_add_epi16(_mm256_add_epi16(aPlus2b, _mm256_add_epi16(aPlus2b, aPlus2b)), c);
    return _mm256_mulhi_epu16(sum, _mm256_set1_epi16(6554));
}

struct YccWords {
    __m256i y, cb, cr;
};

inline YccWords WordsToYcc(__m256i red, __m256i green, __m256i blue) {
    const __m256i middle = _mm256_set1_epi16(128);
    const __m256i y = WeighedTenth(red, green, blue);
    // x / 2 and x / 16 toward zero: negative values get 1 and 15 before the arithmetic shift.
    const __m256i b = _mm256_sub_epi16(blue, y);
    const __m256i cb = _mm256_srai_epi16(_mm256_sub_epi16(b, _mm256_srai_epi16(b, 15)), 1);
    const __m256i r = _mm256_mullo_epi16(_mm256_sub_epi16(red, y), _mm256_set1_epi16(10));
    const __m256i cr = _mm256_srai_epi16(
        _mm256_add_epi16(r, _mm256_and_si256(_mm256_srai_epi16(r, 15), _mm256_set1_epi16(15))), 4);
    return {y, _mm256_add_epi16(cb, middle), _mm256_add_epi16(cr, middle)};
}

inline Triple ToYcc(__m256i red, __m256i green, __m256i blue) {
    const __m256i zero = _mm256_setzero_si256();
    const YccWords low =
        WordsToYcc(_mm256_unpacklo_epi8(red, zero), _mm256_unpacklo_epi8(green, zero),
                   _mm256_unpacklo_epi8(blue, zero));
    const YccWords high =
        WordsToYcc(_mm256_unpackhi_epi8(red, zero), _mm256_unpackhi_epi8(green, zero),
                   _mm256_unpackhi_epi8(blue, zero));
    return {_mm256_packus_epi16(low.y, high.y), _mm256_packus_epi16(low.cb, high.cb),
            _mm256_packus_epi16(low.cr, high.cr)};
}

void MapRgbToYcc(uint8_t *row, uint32_t width) {
    for (; width >= 32; width -= 32, row += 96) {
        const Triple t = LoadTriple(row);
        StoreTriple(row, ToYcc(t.first, t.second, t.third));
    }
    plain::MapRgbToYcc(row, width);
}

void MapBgrToYcc(uint8_t *row, uint32_t width) {
    for (; width >= 32; width -= 32, row += 96) {
        const Triple t = LoadTriple(row);
        StoreTriple(row, ToYcc(t.third, t.second, t.first));
    }
    plain::MapBgrToYcc(row, width);
}

// (3 third + 6 second + first) / 10.
inline __m256i Grey(const Triple &t) {
    const __m256i zero = _mm256_setzero_si256();
    return _mm256_packus_epi16(
        WeighedTenth(_mm256_unpacklo_epi8(t.third, zero), _mm256_unpacklo_epi8(t.second, zero),
                     _mm256_unpacklo_epi8(t.first, zero)),
        WeighedTenth(_mm256_unpackhi_epi8(t.third, zero), _mm256_unpackhi_epi8(t.second, zero),
                     _mm256_unpackhi_epi8(t.first, zero)));
}

void MapToGrey(uint8_t *row, uint32_t width) {
    for (; width >= 32; width -= 32, row += 96) {
        const __m256i grey = Grey(LoadTriple(row));
        StoreTriple(row, {grey, grey, grey});
    }
    plain::MapToGrey(row, width);
}

void SwapFirstAndThird(uint8_t *row, uint32_t width) {
    for (; width >= 32; width -= 32, row += 96) {
        const Triple t = LoadTriple(row);
        StoreTriple(row, {t.third, t.second, t.first});
    }
    plain::SwapFirstAndThird(row, width);
}

// The even bytes of both lanes, 16 of them.
inline __m128i EvenBytes(__m256i v) {
    const __m256i even = _mm256_and_si256(v, _mm256_set1_epi16(0xFF));
    const __m256i packed = _mm256_packus_epi16(even, even);
    return _mm256_castsi256_si128(_mm256_permute4x64_epi64(packed, 0x08));
}

void SplitRow422(const uint8_t *row, uint32_t width, uint8_t *first, uint8_t *second,
                 uint8_t *third) {
    for (; width >= 32; width -= 32, row += 96, first += 32, second += 16, third += 16) {
        const Triple t = LoadTriple(row);
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(first), t.first);
        _mm_storeu_si128(reinterpret_cast<__m128i *>(second), EvenBytes(t.second));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(third), EvenBytes(t.third));
    }
    plain::SplitRow422(row, width, first, second, third);
}

void SplitRow444(const uint8_t *row, uint32_t width, uint8_t *first, uint8_t *second,
                 uint8_t *third) {
    for (; width >= 32; width -= 32, row += 96, first += 32, second += 32, third += 32) {
        const Triple t = LoadTriple(row);
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(first), t.first);
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(second), t.second);
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(third), t.third);
    }
    plain::SplitRow444(row, width, first, second, third);
}

void TakeRow422(uint8_t *row, uint32_t width, uint8_t *first, uint8_t *second, uint8_t *third) {
    for (; width >= 32; width -= 32, row += 96, first += 32, second += 16, third += 16) {
        const Triple pixels = LoadTriple(row);
        const Triple t = ToYcc(pixels.first, pixels.second, pixels.third);
        StoreTriple(row, t);
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(first), t.first);
        _mm_storeu_si128(reinterpret_cast<__m128i *>(second), EvenBytes(t.second));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(third), EvenBytes(t.third));
    }
    plain::TakeRow422(row, width, first, second, third);
}

void TakeRow444(uint8_t *row, uint32_t width, uint8_t *first, uint8_t *second, uint8_t *third) {
    for (; width >= 32; width -= 32, row += 96, first += 32, second += 32, third += 32) {
        const Triple t = LoadTriple(row);
        StoreTriple(row, {t.third, t.second, t.first});
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(first), t.third);
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(second), t.second);
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(third), t.first);
    }
    plain::TakeRow444(row, width, first, second, third);
}

void TakeRowGrey(uint8_t *row, uint32_t width, uint8_t *first) {
    for (; width >= 32; width -= 32, row += 96, first += 32) {
        const __m256i grey = Grey(LoadTriple(row));
        StoreTriple(row, {grey, grey, grey});
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(first), grey);
    }
    plain::TakeRowGrey(row, width, first);
}
