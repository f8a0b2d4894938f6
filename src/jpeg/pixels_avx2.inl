// 3-byte pixels, 32 at a time, with AVX2: what pixel_rows.inl works on. The low lane has the first
// 16.

// 32 bytes or 16 words.
struct Pixels {
    static constexpr uint32_t kCount = 32;
    __m256i v;

    static Pixels All(int x) { return {_mm256_set1_epi16(static_cast<short>(x))}; }
    static Pixels Add(Pixels a, Pixels b) { return {_mm256_add_epi16(a.v, b.v)}; }
    static Pixels Sub(Pixels a, Pixels b) { return {_mm256_sub_epi16(a.v, b.v)}; }
    static Pixels And(Pixels a, Pixels b) { return {_mm256_and_si256(a.v, b.v)}; }
    static Pixels MulLow(Pixels a, Pixels b) { return {_mm256_mullo_epi16(a.v, b.v)}; }
    static Pixels MulHigh(Pixels a, Pixels b) { return {_mm256_mulhi_epu16(a.v, b.v)}; }
    template <int N> static Pixels ShiftRight(Pixels a) { return {_mm256_srai_epi16(a.v, N)}; }
    static Pixels Pack(Pixels low, Pixels high) { return {_mm256_packus_epi16(low.v, high.v)}; }
    // Half of the bytes as words.
    Pixels Low() const { return {_mm256_unpacklo_epi8(v, _mm256_setzero_si256())}; }
    Pixels High() const { return {_mm256_unpackhi_epi8(v, _mm256_setzero_si256())}; }

    void Store(uint8_t *p) const { _mm256_storeu_si256(reinterpret_cast<__m256i *>(p), v); }
    // Stores the even bytes, 16 of them.
    void StoreEven(uint8_t *p) const {
        const __m256i even = _mm256_and_si256(v, _mm256_set1_epi16(0xFF));
        const __m256i packed = _mm256_packus_epi16(even, even);
        _mm_storeu_si128(reinterpret_cast<__m128i *>(p),
                         _mm256_castsi256_si128(_mm256_permute4x64_epi64(packed, 0x08)));
    }
};

struct Triple {
    Pixels first, second, third;
};

inline __m256i LoadTwo(const uint8_t *low, const uint8_t *high) {
    return _mm256_inserti128_si256(
        _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i *>(low))),
        _mm_loadu_si128(reinterpret_cast<const __m128i *>(high)), 1);
}

inline __m256i Both(__m128i lane) {
    return _mm256_broadcastsi128_si256(lane);
}

inline Pixels Gather(__m256i a, __m256i b, __m256i c, __m128i fromA, __m128i fromB, __m128i fromC) {
    return {_mm256_or_si256(
        _mm256_or_si256(_mm256_shuffle_epi8(a, Both(fromA)), _mm256_shuffle_epi8(b, Both(fromB))),
        _mm256_shuffle_epi8(c, Both(fromC)))};
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

inline void StoreTwo(uint8_t *low, uint8_t *high, Pixels pixels) {
    _mm_storeu_si128(reinterpret_cast<__m128i *>(low), _mm256_castsi256_si128(pixels.v));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(high), _mm256_extracti128_si256(pixels.v, 1));
}

inline void StoreTriple(uint8_t *p, const Triple &t) {
    constexpr char n = -1;
    StoreTwo(p, p + 48,
             Gather(t.first.v, t.second.v, t.third.v,
                    _mm_setr_epi8(0, n, n, 1, n, n, 2, n, n, 3, n, n, 4, n, n, 5),
                    _mm_setr_epi8(n, 0, n, n, 1, n, n, 2, n, n, 3, n, n, 4, n, n),
                    _mm_setr_epi8(n, n, 0, n, n, 1, n, n, 2, n, n, 3, n, n, 4, n)));
    StoreTwo(p + 16, p + 64,
             Gather(t.first.v, t.second.v, t.third.v,
                    _mm_setr_epi8(n, n, 6, n, n, 7, n, n, 8, n, n, 9, n, n, 10, n),
                    _mm_setr_epi8(5, n, n, 6, n, n, 7, n, n, 8, n, n, 9, n, n, 10),
                    _mm_setr_epi8(n, 5, n, n, 6, n, n, 7, n, n, 8, n, n, 9, n, n)));
    StoreTwo(p + 32, p + 80,
             Gather(t.first.v, t.second.v, t.third.v,
                    _mm_setr_epi8(n, 11, n, n, 12, n, n, 13, n, n, 14, n, n, 15, n, n),
                    _mm_setr_epi8(n, n, 11, n, n, 12, n, n, 13, n, n, 14, n, n, 15, n),
                    _mm_setr_epi8(10, n, n, 11, n, n, 12, n, n, 13, n, n, 14, n, n, 15)));
}
