// The coder of whole MCUs for AVX-512 with VBMI2, whose blocks are in zig-zag order. Blocks are
// listed and symbols turned into bits by vectors, so that no branch depends on a coefficient but
// those for runs of 16 zeros and for stuffing.

constexpr uint32_t kMaxComponents = 4;

// A batch's symbols in file order.
struct Symbols {
    alignas(64) uint8_t place[kBatchSymbols + 64]; // zig-zag, and the component in the top bits
    alignas(64) int16_t value[kBatchSymbols + 64];
    alignas(64) PackedCode dcCode[kBatchBlocks + 16];
    uint32_t count;
    uint32_t dcCount;
};

// Their bits, two symbols together.
struct AllPairs {
    alignas(64) uint64_t bits[kBatchSymbols / 2 + 8];
    alignas(64) uint8_t length[kBatchSymbols / 2 + 8];
};

inline __m512i EachPlace() {
    alignas(64) static constexpr uint8_t kPlaces[64] = {
        0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21,
        22, 23, 24, 25, 26, 27, 28, 29, 30, 31, 32, 33, 34, 35, 36, 37, 38, 39, 40, 41, 42, 43,
        44, 45, 46, 47, 48, 49, 50, 51, 52, 53, 54, 55, 56, 57, 58, 59, 60, 61, 62, 63};
    return _mm512_load_si512(kPlaces);
}

// Lists the next block of component c.
inline void ListBlock(Symbols &symbols, ComponentBlocks &component, uint32_t c) {
    const int16_t *block = component.coefficients;
    symbols.dcCode[symbols.dcCount++] = DcCode(*component.tables, block[0], *component.predictor);

    const uint64_t coded = SymbolMask(*component.nonZero);
    const auto low = static_cast<__mmask32>(coded);
    const auto high = static_cast<__mmask32>(coded >> 32);
    const __m512i places =
        _mm512_add_epi8(EachPlace(), _mm512_set1_epi8(static_cast<char>(c << 6)));
    _mm512_storeu_si512(symbols.place + symbols.count, _mm512_maskz_compress_epi8(coded, places));
    int16_t *value = symbols.value + symbols.count;
    _mm512_storeu_si512(value, _mm512_maskz_compress_epi16(low, _mm512_loadu_si512(block)));
    value += __builtin_popcount(low);
    _mm512_storeu_si512(value, _mm512_maskz_compress_epi16(high, _mm512_loadu_si512(block + 32)));
    symbols.count += static_cast<uint32_t>(__builtin_popcountll(coded));

    component.coefficients += 64;
    ++component.nonZero;
}

// 16 symbols side by side.
struct SymbolBits {
    __m512i bits, length; // left-aligned; 0 behind the last symbol
};

// The place in acCodes of each symbol's code: component, run and category. What stands there for a
// DC is not used.
inline __m512i WordIndex(const Symbols &symbols, uint32_t first, __m512i category) {
    const __m128i place = _mm_load_si128(reinterpret_cast<const __m128i *>(symbols.place + first));
    const __m128i before =
        first == 0 ? _mm_slli_si128(place, 1)
                   : _mm_loadu_si128(reinterpret_cast<const __m128i *>(symbols.place + first - 1));
    const __m128i run = _mm_sub_epi8(_mm_sub_epi8(place, before), _mm_set1_epi8(1));
    const __m512i component =
        _mm512_cvtepu8_epi32(_mm_and_si128(place, _mm_set1_epi8(static_cast<char>(0xC0))));
    return _mm512_or_si512(
        _mm512_or_si512(_mm512_slli_epi32(component, 2), category),
        _mm512_slli_epi32(_mm512_cvtepu8_epi32(_mm_and_si128(run, _mm_set1_epi8(15))), 4));
}

// Joins code and appended bits; a DC's code, which has both, goes with category 0.
inline SymbolBits JoinCodeAndBits(__m512i code, __m512i value, __m512i category) {
    const __m512i lengthMask = _mm512_set1_epi32(kLengthMask);
    const __m512i shifted = _mm512_add_epi32(value, _mm512_srai_epi32(value, 31));
    const __m512i above = _mm512_sllv_epi32(_mm512_set1_epi32(-1), category);
    const __m512i length = _mm512_add_epi32(_mm512_and_si512(code, lengthMask), category);
    const __m512i appended = _mm512_sllv_epi32(_mm512_andnot_si512(above, shifted),
                                               _mm512_sub_epi32(_mm512_set1_epi32(32), length));
    return {_mm512_or_si512(_mm512_andnot_si512(lengthMask, code), appended), length};
}

// dcs: the DCs before these 16 symbols; counts on.
inline SymbolBits FindBits(const Symbols &symbols, uint32_t first, uint32_t &dcs,
                           const PackedCode *acCodes) {
    const uint32_t left = symbols.count - first;
    const auto live = static_cast<__mmask16>(left >= 16 ? 0xFFFF : (1u << left) - 1);
    const __m128i place = _mm_load_si128(reinterpret_cast<const __m128i *>(symbols.place + first));
    const __mmask16 isDc = live & _mm_testn_epi8_mask(place, _mm_set1_epi8(63));
    const __m512i value = _mm512_cvtepi16_epi32(
        _mm256_load_si256(reinterpret_cast<const __m256i *>(symbols.value + first)));
    const __m512i category =
        _mm512_maskz_sub_epi32(static_cast<__mmask16>(live & ~isDc), _mm512_set1_epi32(32),
                               _mm512_lzcnt_epi32(_mm512_abs_epi32(value)));
    __m512i word = _mm512_mask_i32gather_epi32(_mm512_setzero_si512(), live,
                                               WordIndex(symbols, first, category), acCodes, 4);
    word = _mm512_mask_expand_epi32(word, isDc, _mm512_loadu_si512(symbols.dcCode + dcs));
    dcs += static_cast<uint32_t>(__builtin_popcount(isDc));
    return JoinCodeAndBits(word, value, category);
}

inline void FindPairs(const Symbols &symbols, const PackedCode *acCodes, AllPairs &pairs) {
    const __m512i lowHalf = _mm512_set1_epi64(0xFFFFFFFF);
    uint32_t dcs = 0;
    for (uint32_t i = 0; i < symbols.count; i += 16) {
        const SymbolBits s = FindBits(symbols, i, dcs, acCodes);
        const __m512i firstLength = _mm512_and_si512(s.length, lowHalf);
        const __m512i second = _mm512_srlv_epi64(_mm512_andnot_si512(lowHalf, s.bits), firstLength);
        _mm512_store_si512(pairs.bits + i / 2,
                           _mm512_or_si512(_mm512_slli_epi64(s.bits, 32), second));
        const __m512i length = _mm512_add_epi64(firstLength, _mm512_srli_epi64(s.length, 32));
        _mm_storel_epi64(reinterpret_cast<__m128i *>(pairs.length + i / 2),
                         _mm512_cvtepi64_epi8(length));
    }
}

class McuCoder {
public:
    void Code(BitSink &sink, ComponentBlocks *components, uint32_t count, uint32_t mcus) {
        for (uint32_t c = 0; c < count; ++c)
            if (tables_[c] != components[c].tables)
                TakeCodes(c, components[c].tables);
        symbols_.count = symbols_.dcCount = 0;
        for (; mcus > 0; --mcus)
            for (uint32_t c = 0; c < count; ++c)
                for (uint32_t i = 0; i < components[c].blocksInMcu; ++i)
                    ListBlock(symbols_, components[c], c);
        FindPairs(symbols_, acCodes_, pairs_);
        BitPacker packer(sink, bytes_);
        for (uint32_t i = 0; i < (symbols_.count + 1) / 2; ++i)
            packer.Append(pairs_.bits[i], pairs_.length[i]);
        sink.out = StuffBytes(bytes_, packer.End(), sink.out);
    }

private:
    void TakeCodes(uint32_t c, const CodeTables *tables) {
        __builtin_memcpy(acCodes_ + c * kAcSymbols, tables->ofSymbol, sizeof(CodeTables::ofSymbol));
        tables_[c] = tables;
    }

    alignas(64) PackedCode acCodes_[kMaxComponents * kAcSymbols];
    const CodeTables *tables_[kMaxComponents]; // that the codes are of
    Symbols symbols_;
    AllPairs pairs_;
    uint8_t bytes_[kBatchBytes + kStuffSlack];
};

// The process's, as workingBatch is. Tables do not change, so the codes of one call serve the next.
constinit McuCoder mcuCoder = {};

uint32_t CodeMcus(BitSink *sink, ComponentBlocks *components, uint32_t count, uint32_t mcus) {
    return CodeBatches(sink, components, count, mcus,
                       [](BitSink &out, ComponentBlocks *of, uint32_t number, uint32_t batch) {
                           mcuCoder.Code(out, of, number, batch);
                       });
}
