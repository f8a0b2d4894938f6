// 3-byte pixels, 16 at a time, with SSE2: what pixel_rows.inl works on.

// 16 bytes or 8 words.
struct Pixels {
    static constexpr uint32_t kCount = 16;
    __m128i v;

    static Pixels All(int x) { return {_mm_set1_epi16(static_cast<short>(x))}; }
    static Pixels Add(Pixels a, Pixels b) { return {_mm_add_epi16(a.v, b.v)}; }
    static Pixels Sub(Pixels a, Pixels b) { return {_mm_sub_epi16(a.v, b.v)}; }
    static Pixels And(Pixels a, Pixels b) { return {_mm_and_si128(a.v, b.v)}; }
    static Pixels MulLow(Pixels a, Pixels b) { return {_mm_mullo_epi16(a.v, b.v)}; }
    static Pixels MulHigh(Pixels a, Pixels b) { return {_mm_mulhi_epu16(a.v, b.v)}; }
    template <int N> static Pixels ShiftRight(Pixels a) { return {_mm_srai_epi16(a.v, N)}; }
    static Pixels Pack(Pixels low, Pixels high) { return {_mm_packus_epi16(low.v, high.v)}; }
    // Half of the bytes as words.
    Pixels Low() const { return {_mm_unpacklo_epi8(v, _mm_setzero_si128())}; }
    Pixels High() const { return {_mm_unpackhi_epi8(v, _mm_setzero_si128())}; }
    // The even and the odd bytes as words.
    Pixels Even() const { return {_mm_and_si128(v, _mm_set1_epi16(0xFF))}; }
    Pixels Odd() const { return {_mm_srli_epi16(v, 8)}; }

    static Pixels Load(const uint8_t *p) {
        return {_mm_loadu_si128(reinterpret_cast<const __m128i *>(p))};
    }
    void Store(uint8_t *p) const { _mm_storeu_si128(reinterpret_cast<__m128i *>(p), v); }
    // Stores the even bytes, 8 of them.
    void StoreEven(uint8_t *p) const {
        _mm_storel_epi64(reinterpret_cast<__m128i *>(p), Pack(Even(), Even()).v);
    }
};

struct Triple {
    Pixels first, second, third;
};

// Interleaves the halves of the 48 bytes: byte i comes to 2 i modulo 47. After four times it is at
// 16 i: byte 3 k at k, byte 3 k + 1 at 16 + k.
inline Triple Shuffled(const Triple &t) {
    const auto highOf = [](Pixels p) { return _mm_unpackhi_epi64(p.v, p.v); };
    return {{_mm_unpacklo_epi8(t.first.v, highOf(t.second))},
            {_mm_unpacklo_epi8(highOf(t.first), t.third.v)},
            {_mm_unpacklo_epi8(t.second.v, highOf(t.third))}};
}

// Takes what Shuffled did back: the even bytes before the odd ones.
inline Triple Unshuffled(const Triple &t) {
    return {Pixels::Pack(t.first.Even(), t.second.Even()),
            Pixels::Pack(t.third.Even(), t.first.Odd()),
            Pixels::Pack(t.second.Odd(), t.third.Odd())};
}

inline Triple LoadTriple(const uint8_t *p) {
    return Shuffled(Shuffled(
        Shuffled(Shuffled({Pixels::Load(p), Pixels::Load(p + 16), Pixels::Load(p + 32)}))));
}

inline void StoreTriple(uint8_t *p, const Triple &pixels) {
    const Triple t = Unshuffled(Unshuffled(Unshuffled(Unshuffled(pixels))));
    t.first.Store(p);
    t.second.Store(p + 16);
    t.third.Store(p + 32);
}
