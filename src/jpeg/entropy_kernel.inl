// The block coder of the kernels: whole codes into a 64-bit accumulator, zero runs from the bits
// of the non-zero coefficients. Gives the bits that block_coder.h defines. Included inside a
// namespace of its own by the kernels of each instruction set, whose Place(k) tells where zig-zag
// position k stands in a block.

constexpr uint32_t kZeroRunSymbol = 0xF0;
constexpr uint32_t kLongestEobRun = 32767;

inline uint32_t BitWidth(uint32_t value) {
    return value == 0 ? 0 : 32 - static_cast<uint32_t>(__builtin_clz(value));
}

inline void StoreBigEndian(uint8_t *out, uint64_t word) {
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    word = __builtin_bswap64(word);
#endif
    __builtin_memcpy(out, &word, sizeof(word));
}

// Whether a byte is 0xFF: its top bit is set and adding 1 clears it.
inline bool HasStuffing(uint64_t word) {
    constexpr uint64_t kTops = 0x8080808080808080u;
    return (word & kTops & ~(word + 0x0101010101010101u)) != 0;
}

// Stores the whole bytes among the pending bits, all at once when none of them is 0xFF.
inline void StoreBytes(BitSink &sink) {
    uint64_t word = sink.pending == 0 ? 0 : sink.accumulator << (64 - sink.pending);
    uint32_t bytes = sink.pending / 8;
    sink.pending %= 8;
    if (!HasStuffing(word)) [[likely]] {
        StoreBigEndian(sink.out, word);
        sink.out += bytes;
        return;
    }
    for (; bytes > 0; --bytes, word <<= 8) {
        *sink.out++ = static_cast<uint8_t>(word >> 56);
        if (word >> 56 == 0xFF)
            *sink.out++ = 0; // T.81 F.1.2.3, byte stuffing
    }
}

// Appends count bits, 0 to 32; bits above them must be 0.
inline void Put(BitSink &sink, uint32_t bits, uint32_t count) {
    if (sink.pending + count > 64) [[unlikely]]
        StoreBytes(sink);
    sink.accumulator = sink.accumulator << count | bits;
    sink.pending += count;
}

inline void Put(BitSink &sink, const HuffmanEntry &entry) {
    Put(sink, entry.code, entry.length);
}

// The code of a DC coefficient's difference to the predictor, which follows it.
inline const HuffmanEntry &DcDifference(const HuffmanEntry *differences, int16_t dc,
                                        int16_t &predictor) {
    const int32_t difference = dc - predictor;
    predictor = dc;
    return differences[(difference >= 0 ? difference : difference + 4095) & 4095];
}

// EncodeDC.
inline void PutDc(BitSink &sink, const HuffmanEntry *differences, int16_t dc, int16_t &predictor) {
    Put(sink, DcDifference(differences, dc, predictor));
}

// What EncodeACCoef emits, for any coefficient.
inline HuffmanEntry LongAcCode(const HuffmanEntry *codes, uint32_t run, int32_t coefficient) {
    const int32_t sign = coefficient >> 31;
    const uint32_t category = BitWidth(static_cast<uint32_t>((coefficient ^ sign) - sign));
    const uint32_t appended = static_cast<uint32_t>(coefficient + sign) & ((1u << category) - 1u);
    const HuffmanEntry entry = codes[run * 16 + category];
    return {entry.code << category | appended, static_cast<uint8_t>(entry.length + category)};
}

// What EncodeACCoef emits, for a run of at most 15.
inline HuffmanEntry AcCode(const HuffmanEntry *codes, const AcCodes &acCodes, uint32_t run,
                           int32_t coefficient) {
    const auto place = static_cast<uint32_t>(coefficient + kShortReach);
    if (place < kShortCoefficients) [[likely]]
        return acCodes.ofCoefficient[run * kShortCoefficients + place];
    return LongAcCode(codes, run, coefficient);
}

// EncodeZRL and EncodeACCoef.
inline void PutAc(BitSink &sink, const HuffmanEntry *codes, const AcCodes &acCodes, uint32_t run,
                  int32_t coefficient) {
    for (; run > 15; run -= 16)
        Put(sink, codes[kZeroRunSymbol]);
    Put(sink, AcCode(codes, acCodes, run, coefficient));
}

inline bool HasRoom(const BitSink &sink, uint32_t bytes) {
    return sink.limit - sink.out >= static_cast<intptr_t>(bytes);
}

int16_t *PackBlocks(const int16_t *coefficients, const uint64_t *nonZero, uint32_t blocks,
                    int16_t *dcs, int16_t *packed) {
    for (uint32_t b = 0; b < blocks; ++b, coefficients += 64) {
        dcs[b] = coefficients[0];
        for (uint64_t left = nonZero[b] & ~uint64_t{1}; left != 0; left &= left - 1)
            *packed++ = coefficients[Place(static_cast<uint32_t>(__builtin_ctzll(left)))];
    }
    return packed;
}

uint32_t CodeDcs(BitSink *sinkInOut, ComponentDcs *components, uint32_t count, uint32_t mcus) {
    BitSink sink = *sinkInOut;
    uint32_t mcu = 0;
    for (; mcu < mcus && HasRoom(sink, kMaxMcuBytes); ++mcu) {
        for (uint32_t c = 0; c < count; ++c) {
            ComponentDcs &component = components[c];
            int16_t predictor = *component.predictor;
            for (uint32_t i = 0; i < component.blocksInMcu; ++i)
                PutDc(sink, component.differences, *component.dcs++, predictor);
            *component.predictor = predictor;
        }
    }
    if (mcu > 0) // else there is nothing new, and perhaps no room for a word
        StoreBytes(sink);
    *sinkInOut = sink;
    return mcu;
}

// T.81 G.1.2.2: EOBn codes runs of 2^n to 2^(n + 1) - 1, then the run's low n bits.
inline void FlushEobRun(BitSink &sink, AcScan &scan) {
    if (scan.eobRun == 0)
        return;
    const uint32_t n = BitWidth(scan.eobRun) - 1;
    Put(sink, scan.codes[n * 16]);
    Put(sink, scan.eobRun & ((1u << n) - 1u), n);
    scan.eobRun = 0;
}

uint32_t CodeAcs(BitSink *sinkInOut, AcScan *scanInOut, const uint64_t *nonZero,
                 const int16_t **packedInOut, uint32_t blocks) {
    BitSink sink = *sinkInOut;
    AcScan scan = *scanInOut;
    const int16_t *packed = *packedInOut;
    uint32_t b = 0;
    for (; b < blocks && HasRoom(sink, kMaxBlockBytes); ++b) {
        uint64_t left = nonZero[b] & ~uint64_t{1};
        uint32_t next = 1;
        if (left != 0) {
            FlushEobRun(sink, scan);
            for (; left != 0; left &= left - 1) {
                const auto k = static_cast<uint32_t>(__builtin_ctzll(left));
                PutAc(sink, scan.codes, *scan.acCodes, k - next, *packed++);
                next = k + 1;
            }
            StoreBytes(sink);
        }
        if (next != 64 && ++scan.eobRun == kLongestEobRun) {
            FlushEobRun(sink, scan);
            StoreBytes(sink);
        }
    }
    *sinkInOut = sink;
    *scanInOut = scan;
    *packedInOut = packed;
    return b;
}

void EndAcs(BitSink *sink, AcScan *scan) {
    FlushEobRun(*sink, *scan);
    StoreBytes(*sink);
}
