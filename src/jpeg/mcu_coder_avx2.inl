// The coder of whole MCUs for AVX2. Blocks are listed without a branch on how many symbols they
// have: eight bits of the mask at a time are looked up as the places that are set. From there on
// all symbols of a batch are one list, and vectors work out what surrounds the two look-ups of
// each, its value and its code.

constexpr uint32_t kMaxComponents = 4;
constexpr uint32_t kComponentCodes = kAcSymbols + kDcCodes; // the latter by category

// For each pattern of 8 bits the places that are set, from the lowest on.
struct SetPlaces {
    uint8_t of[256][8];
};
constexpr SetPlaces MakeSetPlaces() {
    SetPlaces places = {};
    for (int pattern = 0; pattern < 256; ++pattern)
        for (int bit = 0, count = 0; bit < 8; ++bit)
            if ((pattern >> bit & 1) != 0)
                places.of[pattern][count++] = static_cast<uint8_t>(bit);
    return places;
}
constexpr SetPlaces kSetPlaces = MakeSetPlaces();

struct ZigZagBytes {
    alignas(16) uint8_t place[64];
};
constexpr ZigZagBytes MakeZigZagBytes() {
    ZigZagBytes bytes = {};
    for (int k = 0; k < 64; ++k)
        bytes.place[k] = static_cast<uint8_t>(ZZ[k]);
    return bytes;
}
constexpr ZigZagBytes kZigZagBytes = MakeZigZagBytes();

// A batch's symbols in file order. A symbol is its zig-zag position, its block's number in the
// batch above that and its component's above that.
constexpr int kBlockBit = 6, kComponentBit = 11;
struct Symbols {
    uint16_t symbol[1 + kBatchSymbols + 16]; // from 1 on
    alignas(32) uint16_t valuePlace[kBatchSymbols + 16];
    alignas(32) uint16_t codePlace[kBatchSymbols + 16];
    alignas(32) int16_t value[kBatchSymbols + 16];
    alignas(32) PackedCode code[kBatchSymbols + 16];
    alignas(32) int16_t blocks[kBatchBlocks * 64]; // row-major, with the DC's difference
    uint32_t count;
};

// Appends the symbols of 8 positions; base: the first of them, with block and component.
inline void ListEight(Symbols &symbols, uint32_t pattern, uint32_t base) {
    const __m128i places = _mm_cvtepu8_epi16(
        _mm_loadl_epi64(reinterpret_cast<const __m128i *>(kSetPlaces.of[pattern])));
    StoreHalf(symbols.symbol + 1 + symbols.count,
              _mm_add_epi16(places, _mm_set1_epi16(static_cast<short>(base))));
    symbols.count += static_cast<uint32_t>(__builtin_popcount(pattern));
}

inline void ListSixteen(Symbols &symbols, uint64_t patterns, uint32_t base) {
    ListEight(symbols, patterns & 0xFF, base);
    ListEight(symbols, patterns >> 8 & 0xFF, base + 8);
}

// Lists the next block of component c, the batch's block b.
inline void ListBlock(Symbols &symbols, ComponentBlocks &component, uint32_t c, uint32_t b) {
    int16_t *block = symbols.blocks + 64 * b;
    __builtin_memcpy(block, component.coefficients, 64 * sizeof(*block));
    const int16_t dc = block[0];
    block[0] = static_cast<int16_t>(dc - *component.predictor);
    *component.predictor = dc;
    const uint64_t coded = SymbolMask(*component.nonZero);
    const uint32_t base = c << kComponentBit | b << kBlockBit;
    ListSixteen(symbols, coded, base);
    if (coded >> 16 != 0)
        ListSixteen(symbols, coded >> 16, base + 16);
    if (coded >> 32 != 0) {
        ListSixteen(symbols, coded >> 32, base + 32);
        ListSixteen(symbols, coded >> 48, base + 48);
    }
    component.coefficients += 64;
    ++component.nonZero;
}

// Where each position stands in a block, of 16 words below 64.
inline __m256i ZigZagPlaces(__m256i k) {
    const auto table = [](int i) {
        return _mm256_broadcastsi128_si256(LoadHalf(kZigZagBytes.place + 16 * i));
    };
    const __m256i index = _mm256_or_si256(k, _mm256_set1_epi16(static_cast<short>(0x8000)));
    const __m256i bit4 = _mm256_slli_epi16(k, 3), bit5 = _mm256_slli_epi16(k, 2);
    const __m256i low = _mm256_blendv_epi8(_mm256_shuffle_epi8(table(0), index),
                                           _mm256_shuffle_epi8(table(1), index), bit4);
    const __m256i high = _mm256_blendv_epi8(_mm256_shuffle_epi8(table(2), index),
                                            _mm256_shuffle_epi8(table(3), index), bit4);
    return _mm256_blendv_epi8(low, high, bit5);
}

// Where the values of 16 symbols stand, and their codes but for the category.
inline void FindPlaces(Symbols &symbols, uint32_t first) {
    const __m256i before = LoadVector(symbols.symbol + first);
    const __m256i symbol = LoadVector(symbols.symbol + 1 + first);
    const __m256i k = _mm256_and_si256(symbol, _mm256_set1_epi16(63));
    const __m256i block =
        _mm256_and_si256(symbol, _mm256_set1_epi16((1 << kComponentBit) - (1 << kBlockBit)));
    StoreVector(symbols.valuePlace + first, _mm256_or_si256(block, ZigZagPlaces(k)));
    const __m256i sixteenRuns = _mm256_and_si256(
        _mm256_slli_epi16(_mm256_add_epi16(_mm256_sub_epi16(symbol, before), _mm256_set1_epi16(-1)),
                          4),
        _mm256_set1_epi16(0xF0));
    const __m256i isDc = _mm256_cmpeq_epi16(k, _mm256_setzero_si256());
    const __m256i inTable = _mm256_blendv_epi8(sixteenRuns, _mm256_set1_epi16(kAcSymbols), isDc);
    const __m256i component = _mm256_mullo_epi16(_mm256_srli_epi16(symbol, kComponentBit),
                                                 _mm256_set1_epi16(kComponentCodes));
    StoreVector(symbols.codePlace + first, _mm256_add_epi16(inTable, component));
}

// The magnitude categories of 16 values, by the exponents of floats.
inline __m256i Categories(__m256i values) {
    const __m256i magnitudes = _mm256_abs_epi16(values), zero = _mm256_setzero_si256();
    const auto exponents = [](__m256i v) {
        return _mm256_srli_epi32(_mm256_castps_si256(_mm256_cvtepi32_ps(v)), 23);
    };
    const __m256i biased = _mm256_packs_epi32(exponents(_mm256_unpacklo_epi16(magnitudes, zero)),
                                              exponents(_mm256_unpackhi_epi16(magnitudes, zero)));
    return _mm256_subs_epu16(biased, _mm256_set1_epi16(126));
}

// Bits of symbols behind each other, left-aligned; in each half of the vectors two pairs of symbols
// or, in its lower element, all four.
struct Joined {
    __m256i bits, lengths;
};

inline Joined JoinPairs(const Symbols &symbols, uint32_t first, __m256i category) {
    const __m256i lengthMask = _mm256_set1_epi32(kLengthMask);
    const __m256i value = _mm256_cvtepi16_epi32(LoadHalf(symbols.value + first));
    const __m256i code = LoadVector(symbols.code + first);
    const __m256i above = _mm256_sllv_epi32(_mm256_set1_epi32(-1), category);
    const __m256i low =
        _mm256_andnot_si256(above, _mm256_add_epi32(value, _mm256_srai_epi32(value, 31)));
    const __m256i length = _mm256_add_epi32(_mm256_and_si256(code, lengthMask), category);
    const __m256i appended =
        _mm256_sllv_epi32(low, _mm256_sub_epi32(_mm256_set1_epi32(32), length));
    const __m256i symbolBits = _mm256_or_si256(_mm256_andnot_si256(lengthMask, code), appended);

    const __m256i lowHalf = _mm256_set1_epi64x(0xFFFFFFFF);
    const __m256i firstLength = _mm256_and_si256(length, lowHalf);
    const __m256i second = _mm256_srlv_epi64(_mm256_andnot_si256(lowHalf, symbolBits), firstLength);
    return {_mm256_or_si256(_mm256_slli_epi64(symbolBits, 32), second),
            _mm256_add_epi64(firstLength, _mm256_srli_epi64(length, 32))};
}

inline Joined JoinFours(const Joined &pairs) {
    const __m256i second = _mm256_srlv_epi64(_mm256_bsrli_epi128(pairs.bits, 8), pairs.lengths);
    return {_mm256_or_si256(pairs.bits, second),
            _mm256_add_epi64(pairs.lengths, _mm256_bsrli_epi128(pairs.lengths, 8))};
}

// What follows the last symbol in a vector: nothing that is emitted.
inline void EndWithZeros(void *end) {
    StoreVector(end, _mm256_setzero_si256());
}

class McuCoder {
public:
    void Code(BitSink &sink, ComponentBlocks *components, uint32_t count, uint32_t mcus) {
        for (uint32_t c = 0; c < count; ++c)
            if (tables_[c] != components[c].tables)
                TakeCodes(c, components[c].tables);
        List(components, count, mcus);
        LookUpValues();
        LookUpCodes();
        Pack(sink);
    }

private:
    void TakeCodes(uint32_t c, const CodeTables *tables) {
        PackedCode *codes = codes_ + c * kComponentCodes;
        __builtin_memcpy(codes, tables->ofSymbol, sizeof(CodeTables::ofSymbol));
        __builtin_memcpy(codes + kAcSymbols, tables->ofDcCategory,
                         sizeof(CodeTables::ofDcCategory));
        tables_[c] = tables;
    }

    void List(ComponentBlocks *components, uint32_t count, uint32_t mcus) {
        symbols_.count = symbols_.symbol[0] = 0;
        uint32_t b = 0;
        for (; mcus > 0; --mcus)
            for (uint32_t c = 0; c < count; ++c)
                for (uint32_t i = 0; i < components[c].blocksInMcu; ++i)
                    ListBlock(symbols_, components[c], c, b++);
        // Up to a whole vector: symbols like the first, of which nothing is emitted.
        EndWithZeros(symbols_.symbol + 1 + symbols_.count);
    }

    [[gnu::noinline]] void LookUpValues() {
        for (uint32_t i = 0; i < symbols_.count; i += 16)
            FindPlaces(symbols_, i);
        for (uint32_t i = 0; i < symbols_.count; i += 8)
            for (uint32_t j = i; j < i + 8; ++j)
                symbols_.value[j] = symbols_.blocks[symbols_.valuePlace[j]];
    }

    [[gnu::noinline]] void LookUpCodes() {
        for (uint32_t i = 0; i < symbols_.count; i += 16) {
            const __m256i category = Categories(LoadVector(symbols_.value + i));
            StoreVector(symbols_.valuePlace + i, category);
            StoreVector(symbols_.codePlace + i,
                        _mm256_add_epi16(category, LoadVector(symbols_.codePlace + i)));
        }
        for (uint32_t i = 0; i < symbols_.count; i += 8)
            for (uint32_t j = i; j < i + 8; ++j)
                symbols_.code[j] = codes_[symbols_.codePlace[j]];
        EndWithZeros(symbols_.code + symbols_.count);
        EndWithZeros(symbols_.value + symbols_.count);
        EndWithZeros(symbols_.valuePlace + symbols_.count);
    }

    [[gnu::noinline]] void Pack(BitSink &sink) {
        BitPacker packer(sink, bytes_);
        for (uint32_t i = 0; i < symbols_.count; i += 8) {
            const __m256i category = _mm256_cvtepu16_epi32(LoadHalf(symbols_.valuePlace + i));
            const Joined pairs = JoinPairs(symbols_, i, category);
            const Joined fours = JoinFours(pairs);
            alignas(32) uint64_t bits[4], lengths[4];
            StoreVector(bits, fours.bits);
            StoreVector(lengths, fours.lengths);
            if (lengths[0] <= kMostBits && lengths[2] <= kMostBits) [[likely]] {
                packer.Append(bits[0], lengths[0]);
                packer.Append(bits[2], lengths[2]);
            } else {
                StoreVector(bits, pairs.bits);
                StoreVector(lengths, pairs.lengths);
                for (uint32_t j = 0; j < 4; ++j)
                    packer.Append(bits[j], lengths[j]);
            }
        }
        sink.out = StuffBytes(bytes_, packer.End(), sink.out);
    }

    alignas(32) PackedCode codes_[kMaxComponents * kComponentCodes];
    const CodeTables *tables_[kMaxComponents]; // that the codes are of
    Symbols symbols_;
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
