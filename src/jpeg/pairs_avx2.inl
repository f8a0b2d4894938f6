// Joining the bits of two symbols, four pairs at a time.

struct SymbolPair {
    uint64_t bits;   // left-aligned
    uint64_t length; // in the low 6 bits
};

constexpr uint32_t kSymbolsAtOnce = 8;

inline void PairsOf(const PackedCode *symbols, SymbolPair *pairs) {
    const __m256i codes = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(symbols));
    const __m256i lengthMask = _mm256_set1_epi64x(kLengthMask);
    const __m256i firstBits = _mm256_set1_epi64x(static_cast<int64_t>(~uint64_t{63} << 32));
    const __m256i first = _mm256_and_si256(_mm256_slli_epi64(codes, 32), firstBits);
    const __m256i second =
        _mm256_srlv_epi64(_mm256_and_si256(codes, firstBits), _mm256_and_si256(codes, lengthMask));
    const __m256i bits = _mm256_or_si256(first, second);
    const __m256i length = _mm256_add_epi64(codes, _mm256_srli_epi64(codes, 32));
    const __m256i even = _mm256_unpacklo_epi64(bits, length); // pairs 0 and 2
    const __m256i odd = _mm256_unpackhi_epi64(bits, length);
    auto *to = reinterpret_cast<__m256i *>(pairs);
    _mm256_storeu_si256(to, _mm256_permute2x128_si256(even, odd, 0x20));
    _mm256_storeu_si256(to + 1, _mm256_permute2x128_si256(even, odd, 0x31));
}
