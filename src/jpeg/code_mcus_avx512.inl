// The entropy loops with a coder of whole MCUs for AVX-512 with VBMI2, whose blocks are in zig-zag
// order. CodeMcus gives the bits of the loop in code_mcus.inl, which goes symbol by symbol and
// waits for branches that nobody can foretell. Here a batch of blocks goes through four loops whose
// branches do not depend on its coefficients: list the symbols, find their bits, join the bits,
// stuff the bytes.

#include "jpeg/entropy_kernel.inl"

constexpr uint32_t kMaxComponents = 4;
constexpr uint32_t kBatchBlocks = 32;
constexpr uint32_t kBatchSymbols = kBatchBlocks * 64; // a DC, and an AC or the end at each place
constexpr uint32_t kBatchBytes = kBatchBlocks * (22 + 63 * 26) / 8;

// A batch's symbols, in file order. Run 15 before value 0 is ZRL, run 0 before value 0 is EOB.
struct Symbols {
    // Zig-zag position, and the component in the upper two bits; one byte in front.
    alignas(64) uint8_t place[64 + kBatchSymbols + 64];
    alignas(64) int16_t value[kBatchSymbols + 64];
    alignas(64) uint32_t dcWord[kBatchBlocks + 16];
    uint32_t count;
    uint32_t dcCount;
};

// Their bits, two symbols together.
struct SymbolPairs {
    alignas(64) uint64_t bits[kBatchSymbols / 2 + 8];
    alignas(64) uint8_t length[kBatchSymbols / 2 + 8];
};

// The positions where a code for 16 zeros stands: each 16th of a gap before a coefficient.
inline uint64_t ZeroRuns(uint64_t nonZero) {
    uint64_t within = nonZero; // of 15 places behind a coefficient
    within |= within << 1;
    within |= within << 2;
    within |= within << 4;
    within |= within << 8;
    uint64_t runs = 0;
    for (uint64_t far = nonZero & ~(within << 1) & ~uint64_t{1}; far != 0; far &= far - 1) {
        const uint64_t before = nonZero & ((far & -far) - 1);
        const auto last = 63 - static_cast<uint32_t>(__builtin_clzll(before));
        for (uint32_t k = last + 16; k < static_cast<uint32_t>(__builtin_ctzll(far)); k += 16)
            runs |= uint64_t{1} << k;
    }
    return runs;
}

inline __m512i Places() {
    alignas(64) static constexpr uint8_t kPlaces[64] = {
        0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21,
        22, 23, 24, 25, 26, 27, 28, 29, 30, 31, 32, 33, 34, 35, 36, 37, 38, 39, 40, 41, 42, 43,
        44, 45, 46, 47, 48, 49, 50, 51, 52, 53, 54, 55, 56, 57, 58, 59, 60, 61, 62, 63};
    return _mm512_load_si512(kPlaces);
}

inline void ListBlock(Symbols &symbols, const int16_t *block, uint64_t nonZero, uint32_t c) {
    uint64_t coded = nonZero | 1;
    coded |= ZeroRuns(coded);
    coded |= uint64_t{2} << (63 - static_cast<uint32_t>(__builtin_clzll(coded))); // end of block
    const auto low = static_cast<__mmask32>(coded);
    const auto high = static_cast<__mmask32>(coded >> 32);
    const __m512i places = _mm512_or_si512(Places(), _mm512_set1_epi8(static_cast<char>(c << 6)));
    uint8_t *place = symbols.place + 64 + symbols.count;
    int16_t *value = symbols.value + symbols.count;
    _mm512_storeu_si512(place, _mm512_maskz_compress_epi8(coded, places));
    _mm512_storeu_si512(value, _mm512_maskz_compress_epi16(low, _mm512_loadu_si512(block)));
    value += __builtin_popcount(low);
    _mm512_storeu_si512(value, _mm512_maskz_compress_epi16(high, _mm512_loadu_si512(block + 32)));
    symbols.count += static_cast<uint32_t>(__builtin_popcountll(coded));
}

inline uint32_t DcWord(const HuffmanEntry *differences, int16_t dc, int16_t &predictor) {
    const HuffmanEntry &entry = DcDifference(differences, dc, predictor);
    return entry.code << 8 | entry.length;
}

void ListSymbols(Symbols &symbols, ComponentBlocks *components, uint32_t count, uint32_t mcus) {
    symbols.count = symbols.dcCount = 0;
    for (; mcus > 0; --mcus)
        for (uint32_t c = 0; c < count; ++c) {
            ComponentBlocks &component = components[c];
            for (uint32_t i = 0; i < component.blocksInMcu; ++i) {
                symbols.dcWord[symbols.dcCount++] =
                    DcWord(component.differences, *component.coefficients, *component.predictor);
                ListBlock(symbols, component.coefficients, *component.nonZero, c);
                component.coefficients += 64;
                ++component.nonZero;
            }
        }
}

// 16 symbols: their bits, right-aligned, and how many.
struct SymbolBits {
    __m512i bits, length;
};

inline SymbolBits FindBits(const Symbols &symbols, uint32_t first, uint32_t &dcs,
                           const uint32_t *acWords) {
    const __m512i one = _mm512_set1_epi32(1);
    const uint32_t left = symbols.count - first;
    const auto live = static_cast<__mmask16>(left >= 16 ? 0xFFFF : (1u << left) - 1);

    const uint8_t *at = symbols.place + 64 + first;
    const __m128i place = _mm_loadu_si128(reinterpret_cast<const __m128i *>(at));
    const __m128i before = _mm_loadu_si128(reinterpret_cast<const __m128i *>(at - 1));
    const __mmask16 isDc = live & _mm_testn_epi8_mask(place, _mm_set1_epi8(63));
    const __m512i run = _mm512_cvtepu8_epi32(_mm_and_si128(
        _mm_sub_epi8(_mm_sub_epi8(place, before), _mm_set1_epi8(1)), _mm_set1_epi8(15)));
    const __m512i component = _mm512_cvtepu8_epi32(_mm_and_si128(place, _mm_set1_epi8(-64)));

    const __m512i value = _mm512_cvtepi16_epi32(
        _mm256_loadu_si256(reinterpret_cast<const __m256i *>(symbols.value + first)));
    const __m512i category =
        _mm512_maskz_sub_epi32(static_cast<__mmask16>(live & ~isDc), _mm512_set1_epi32(32),
                               _mm512_lzcnt_epi32(_mm512_abs_epi32(value)));
    const __m512i index = _mm512_or_si512(_mm512_slli_epi32(component, 2),
                                          _mm512_or_si512(_mm512_slli_epi32(run, 4), category));
    __m512i word = _mm512_mask_i32gather_epi32(_mm512_setzero_si512(), live, index, acWords, 4);
    word = _mm512_mask_expand_epi32(word, isDc, _mm512_loadu_si512(symbols.dcWord + dcs));
    dcs += static_cast<uint32_t>(__builtin_popcount(isDc));

    const __m512i minusOneIfNegative = _mm512_srai_epi32(value, 31);
    const __m512i appended = _mm512_andnot_si512(
        _mm512_sllv_epi32(_mm512_sub_epi32(_mm512_setzero_si512(), one), category),
        _mm512_add_epi32(value, minusOneIfNegative));
    return {_mm512_or_si512(_mm512_sllv_epi32(_mm512_srli_epi32(word, 8), category), appended),
            _mm512_add_epi32(_mm512_and_si512(word, _mm512_set1_epi32(255)), category)};
}

void FindPairs(const Symbols &symbols, const uint32_t *acWords, SymbolPairs &pairs) {
    const __m512i lowHalf = _mm512_set1_epi64(0xFFFFFFFF);
    uint32_t dcs = 0;
    for (uint32_t i = 0; i < symbols.count; i += 16) {
        const SymbolBits s = FindBits(symbols, i, dcs, acWords);
        const __m512i secondLength = _mm512_srli_epi64(s.length, 32);
        const __m512i bits =
            _mm512_or_si512(_mm512_sllv_epi64(_mm512_and_si512(s.bits, lowHalf), secondLength),
                            _mm512_srli_epi64(s.bits, 32));
        const __m512i length = _mm512_add_epi64(s.length, secondLength);
        _mm512_store_si512(pairs.bits + i / 2, bits);
        _mm_storel_epi64(reinterpret_cast<__m128i *>(pairs.length + i / 2),
                         _mm512_cvtepi64_epi8(_mm512_and_si512(length, lowHalf)));
    }
}

// Appends the pairs to the sink's pending bits; what does not fill a byte is pending again.
// Returns the end of the whole bytes.
uint8_t *JoinPairs(BitSink &sink, const SymbolPairs &pairs, uint32_t count, uint8_t *out) {
    uint32_t pending = sink.pending;
    uint64_t bits = pending == 0 ? 0 : sink.accumulator << (64 - pending); // left-aligned
    for (uint32_t i = 0; i < count; ++i) {
        const uint32_t used = pending + pairs.length[i]; // at most 7 + 26 + 26
        bits |= pairs.bits[i] << (64 - used);
        const uint64_t word = __builtin_bswap64(bits);
        __builtin_memcpy(out, &word, sizeof(word));
        out += used / 8;
        bits <<= used & ~7u;
        pending = used % 8;
    }
    sink.pending = pending;
    sink.accumulator = pending == 0 ? 0 : bits >> (64 - pending);
    return out;
}

// T.81 F.1.2.3, byte stuffing. Reads and writes up to 63 bytes more.
uint8_t *StuffBytes(const uint8_t *bytes, const uint8_t *end, uint8_t *out) {
    while (bytes < end) {
        const __m512i next = _mm512_loadu_si512(bytes);
        const auto left = static_cast<uint64_t>(end - bytes);
        const uint64_t ones = _mm512_cmpeq_epi8_mask(next, _mm512_set1_epi8(-1));
        const uint64_t plain = ones == 0 ? 64 : static_cast<uint64_t>(__builtin_ctzll(ones));
        _mm512_storeu_si512(out, next);
        if (plain >= left)
            return out + left;
        if (plain == 64) {
            bytes += 64;
            out += 64;
        } else {
            bytes += plain + 1;
            out += plain + 1;
            *out++ = 0;
        }
    }
    return out;
}

// How many MCUs are coded together: what a batch and the room hold.
inline uint32_t BatchMcus(const BitSink &sink, uint32_t blocksInMcu, uint32_t mcus) {
    const auto room = static_cast<uint32_t>((sink.limit - sink.out) / kMaxMcuBytes);
    const uint32_t most = room < mcus ? room : mcus;
    const uint32_t batch = kBatchBlocks / blocksInMcu;
    return batch < most ? batch : most;
}

uint32_t CodeMcus(BitSink *sink, ComponentBlocks *components, uint32_t count, uint32_t mcus) {
    if (!HasRoom(*sink, kMaxMcuBytes))
        return 0;
    alignas(64) uint32_t acWords[kMaxComponents * kAcSymbols];
    uint32_t blocksInMcu = 0;
    for (uint32_t c = 0; c < count; ++c) {
        __builtin_memcpy(acWords + c * kAcSymbols, components[c].acCodes->ofSymbol,
                         sizeof(AcCodes::ofSymbol));
        blocksInMcu += components[c].blocksInMcu;
    }
    Symbols symbols;
    SymbolPairs pairs;
    uint8_t bytes[kBatchBytes + 64];
    uint32_t done = 0;
    while (const uint32_t batch = BatchMcus(*sink, blocksInMcu, mcus - done)) {
        ListSymbols(symbols, components, count, batch);
        FindPairs(symbols, acWords, pairs);
        const uint8_t *end = JoinPairs(*sink, pairs, (symbols.count + 1) / 2, bytes);
        sink->out = StuffBytes(bytes, end, sink->out);
        done += batch;
    }
    return done;
}
