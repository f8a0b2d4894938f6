// The block coder of the kernels: symbols are listed for many blocks, packed to bytes and stuffed
// in loops of their own, which leaves few unpredictable branches. Gives the bits that block_coder.h
// defines. Included by the kernels of each instruction set, which supply
//   Place(k)                      where zig-zag position k stands in a block
//   PairsOf(symbols, pairs)       joins the symbols of kSymbolsAtOnce / 2 pairs
//   StuffBytes(bytes, end, out)   T.81 F.1.2.3, byte stuffing; returns the end of what was written;
//                                 may read and write kStuffSlack bytes more

constexpr uint32_t kZeroRunSymbol = 0xF0;
constexpr uint32_t kLongestEobRun = 32767;
constexpr uint32_t kBatchBlocks = 32;
// A DC, and an AC or the end at each position; before them the end of a run of blocks, in two
// parts.
constexpr uint32_t kBatchSymbols = kBatchBlocks * 66;
constexpr uint32_t kBatchBytes = kBatchBlocks * (22 + 63 * 26 + 30) / 8;
constexpr uint32_t kPackSlack = 8; // bytes that BitPacker may write more

inline uint32_t BitWidth(uint32_t value) {
    return value == 0 ? 0 : 32 - static_cast<uint32_t>(__builtin_clz(value));
}

inline bool HasRoom(const BitSink &sink, uint32_t bytes) {
    return sink.limit - sink.out >= static_cast<intptr_t>(bytes);
}

inline void StoreBigEndian(uint8_t *out, uint64_t word) {
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    word = __builtin_bswap64(word);
#endif
    __builtin_memcpy(out, &word, sizeof(word));
}

// The bits that are set, from the lowest up.
class SetBits {
public:
#ifdef __aarch64__ // which counts zeros from the top, so that the mask is turned round once
    explicit SetBits(uint64_t mask) {
        __asm__("rbit %0, %1" : "=r"(left_) : "r"(mask));
    }
    uint32_t Lowest() const {
        return static_cast<uint32_t>(__builtin_clzll(left_));
    }
    void Clear(uint32_t lowest) {
        left_ &= ~(uint64_t{1} << 63 >> lowest);
    }
#else
    explicit SetBits(uint64_t mask) : left_(mask) {}
    uint32_t Lowest() const {
        return static_cast<uint32_t>(__builtin_ctzll(left_));
    }
    void Clear(uint32_t) {
        left_ &= left_ - 1;
    }
#endif
    bool Any() const {
        return left_ != 0;
    }

private:
    uint64_t left_;
};

constexpr uint32_t kMostBits = 56; // that are appended at once

// Packs bits to bytes, behind the sink's pending ones; what does not fill a byte is pending again.
class BitPacker {
public:
    BitPacker(BitSink &sink, uint8_t *out)
        : sink_(sink), out_(out), pending_(sink.pending),
          bits_(pending_ == 0 ? 0 : sink.accumulator << (64 - pending_)) {}

    // 0 to 56 bits, left-aligned. Of the length the low 6 bits count.
    void Append(uint64_t bits, uint64_t length) {
        bits_ |= bits >> pending_;
        StoreBigEndian(out_, bits_);
        const auto used = static_cast<uint32_t>(pending_ + length) & 63;
        out_ += used / 8;
        bits_ <<= used & 56;
        pending_ = used & 7;
    }

    // Two pairs, at once unless they are longer than most.
    void AppendBoth(const SymbolPair &first, const SymbolPair &second) {
        const uint64_t length = (first.length & kLengthMask) + (second.length & kLengthMask);
        if (length <= kMostBits) [[likely]] {
            Append(first.bits | second.bits >> (first.length & kLengthMask), length);
        } else {
            Append(first.bits, first.length);
            Append(second.bits, second.length);
        }
    }

    // Returns the end of the whole bytes.
    uint8_t *End() {
        sink_.pending = pending_;
        sink_.accumulator = pending_ == 0 ? 0 : bits_ >> (64 - pending_);
        return out_;
    }

private:
    BitSink &sink_;
    uint8_t *out_;
    uint32_t pending_;
    uint64_t bits_; // left-aligned
};

// A batch of symbols in file order, and the bytes they become.
struct SymbolBatch {
    PackedCode symbols[kBatchSymbols + kSymbolsAtOnce];
    PackedCode *end;
    uint8_t bytes[kBatchBytes + (kPackSlack > kStuffSlack ? kPackSlack : kStuffSlack)];

    void Reset() { end = symbols; }
    void Put(PackedCode code) { *end++ = code; }
    [[gnu::noinline]] void Write(BitSink &sink);
};

// Too large for a small stack, so the process's: no call needs what an earlier one has left there,
// and none calls the host before it returns.
constinit SymbolBatch workingBatch = {};

// Not inlined: with the lister's variables there are too few registers.
void SymbolBatch::Write(BitSink &sink) {
    for (uint32_t i = 0; i < kSymbolsAtOnce; ++i)
        end[i] = 0;
    BitPacker packer(sink, bytes);
    const PackedCode *const last = end;
    for (const PackedCode *symbol = symbols; symbol < last; symbol += kSymbolsAtOnce) {
        SymbolPair pairs[kSymbolsAtOnce / 2];
        PairsOf(symbol, pairs);
        for (uint32_t i = 0; i < kSymbolsAtOnce / 2; i += 2)
            packer.AppendBoth(pairs[i], pairs[i + 1]);
    }
    sink.out = StuffBytes(bytes, packer.End(), sink.out);
}

// The code of a DC coefficient's difference to the predictor, which follows it.
inline PackedCode DcCode(const CodeTables &tables, int16_t dc, int16_t &predictor) {
    const int32_t difference = dc - predictor;
    predictor = dc;
    return tables
        .ofDifference[static_cast<uint32_t>(difference + (difference >> 31)) & (kDifferences - 1)];
}

// What EncodeACCoef emits, for any coefficient.
inline PackedCode LongAcCode(const CodeTables &tables, uint32_t run, int32_t coefficient) {
    const int32_t sign = coefficient >> 31;
    const uint32_t category = BitWidth(static_cast<uint32_t>((coefficient ^ sign) - sign));
    const uint32_t appended = static_cast<uint32_t>(coefficient + sign) & ((1u << category) - 1u);
    const PackedCode code = tables.ofSymbol[run * 16 + category] + category;
    return code | appended << (32 - (code & kLengthMask));
}

// What EncodeACCoef emits, for a run of at most 15. ofZero: the place of coefficient 0 behind no
// zeros in ofCoefficient.
inline PackedCode AcCode(const CodeTables &tables, const PackedCode *ofZero, uint32_t run,
                         int32_t coefficient) {
    static_assert(kShortReach == 128);
    if (coefficient == static_cast<int8_t>(coefficient)) [[likely]]
        return ofZero[static_cast<int32_t>(run * kShortCoefficients) + coefficient];
    return LongAcCode(tables, run, coefficient);
}

// Lists a block's AC coefficients behind symbol: nonZero has their zig-zag positions, valueAt(k) is
// the next of them. Returns the end.
template <typename ValueAt>
inline PackedCode *ListAcs(const CodeTables &tables, uint64_t nonZero, ValueAt valueAt,
                           PackedCode *symbol) {
    const PackedCode *ofZero = tables.ofCoefficient + kShortReach;
    __asm__("" : "+r"(ofZero)); // else the reach is added to each index
    uint32_t next = 1;
    for (SetBits left(nonZero); left.Any();) {
        const uint32_t k = left.Lowest();
        left.Clear(k);
        uint32_t run = k - next;
        for (; run > 15; run -= 16)
            [[unlikely]] *symbol++ = tables.ofSymbol[kZeroRunSymbol];
        *symbol++ = AcCode(tables, ofZero, run, valueAt(k));
        next = k + 1;
    }
    return symbol;
}

// How many MCUs are coded together: what a batch and the room hold.
inline uint32_t BatchMcus(const BitSink &sink, uint32_t blocksInMcu, uint32_t mcus) {
    const auto room = static_cast<uint32_t>((sink.limit - sink.out) / kMaxMcuBytes);
    const uint32_t most = room < mcus ? room : mcus;
    const uint32_t batch = kBatchBlocks / blocksInMcu;
    return batch < most ? batch : most;
}

// codeBatch(sink, components, count, mcus) codes a batch of MCUs.
template <typename Component, typename CodeBatch>
uint32_t CodeBatches(BitSink *sink, Component *components, uint32_t count, uint32_t mcus,
                     CodeBatch codeBatch) {
    if (!HasRoom(*sink, kMaxMcuBytes))
        return 0;
    uint32_t blocksInMcu = 0;
    for (uint32_t c = 0; c < count; ++c)
        blocksInMcu += components[c].blocksInMcu;
    uint32_t done = 0;
    while (const uint32_t batch = BatchMcus(*sink, blocksInMcu, mcus - done)) {
        codeBatch(*sink, components, count, batch);
        done += batch;
    }
    return done;
}

int16_t *PackBlocks(const int16_t *coefficients, const uint64_t *nonZero, uint32_t blocks,
                    int16_t *dcs, int16_t *packed) {
    for (uint32_t b = 0; b < blocks; ++b, coefficients += 64) {
        dcs[b] = coefficients[0];
        for (SetBits left(nonZero[b] & ~uint64_t{1}); left.Any();) {
            const uint32_t k = left.Lowest();
            left.Clear(k);
            *packed++ = coefficients[Place(k)];
        }
    }
    return packed;
}

inline void CodeDcBatch(BitSink &sink, ComponentDcs *components, uint32_t count, uint32_t mcus) {
    SymbolBatch &batch = workingBatch;
    batch.Reset();
    for (; mcus > 0; --mcus)
        for (uint32_t c = 0; c < count; ++c)
            for (uint32_t i = 0; i < components[c].blocksInMcu; ++i)
                batch.Put(
                    DcCode(*components[c].tables, *components[c].dcs++, *components[c].predictor));
    batch.Write(sink);
}

uint32_t CodeDcs(BitSink *sink, ComponentDcs *components, uint32_t count, uint32_t mcus) {
    return CodeBatches(sink, components, count, mcus, CodeDcBatch);
}

// T.81 G.1.2.2: EOBn codes runs of 2^n to 2^(n + 1) - 1, then the run's low n bits.
inline void ListEobRun(SymbolBatch &batch, AcScan &scan) {
    if (scan.eobRun == 0)
        return;
    const uint32_t n = BitWidth(scan.eobRun) - 1;
    batch.Put(scan.tables->ofSymbol[n * 16]);
    batch.Put(Packed(scan.eobRun & ((1u << n) - 1u), n));
    scan.eobRun = 0;
}

uint32_t CodeAcs(BitSink *sink, AcScan *scan, const uint64_t *nonZero, const int16_t **packed,
                 uint32_t blocks) {
    SymbolBatch &batch = workingBatch;
    uint32_t done = 0;
    while (done < blocks && HasRoom(*sink, kMaxBlockBytes)) {
        const auto room = static_cast<uint32_t>((sink->limit - sink->out) / kMaxBlockBytes);
        uint32_t left = blocks - done < kBatchBlocks ? blocks - done : kBatchBlocks;
        left = left < room ? left : room;
        batch.Reset();
        for (; left > 0; --left, ++done) {
            const uint64_t acs = nonZero[done] & ~uint64_t{1};
            if (acs != 0) {
                ListEobRun(batch, *scan);
                batch.end = ListAcs(
                    *scan->tables, acs, [packed](uint32_t) { return *(*packed)++; }, batch.end);
            }
            if (acs >> 63 == 0 && ++scan->eobRun == kLongestEobRun)
                ListEobRun(batch, *scan);
        }
        batch.Write(*sink);
    }
    return done;
}

void EndAcs(BitSink *sink, AcScan *scan) {
    SymbolBatch &batch = workingBatch;
    batch.Reset();
    ListEobRun(batch, *scan);
    batch.Write(*sink);
}
