// Coding MCUs in batches: what its variants share. A batch's symbols are listed, packed to bytes
// and stuffed in loops of their own: few unpredictable branches are left. Included by each
// variant's McuCoder; CodeBatches drives it.

#include "jpeg/entropy_kernel.inl"

constexpr uint32_t kBatchBlocks = 32;
constexpr uint32_t kBatchSymbols = kBatchBlocks * 64; // a DC, and an AC or the end at each place
constexpr uint32_t kBatchBytes = kBatchBlocks * (22 + 63 * 26) / 8;
constexpr uint32_t kPackSlack = 8; // bytes that BitPacker may write beyond its end

// The positions where a code for 16 zeros stands: each 16th of a gap before a coefficient.
inline uint64_t ZeroRuns(uint64_t nonZero) {
    uint64_t within = nonZero; // 15 positions behind a coefficient
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

// The symbol mask, the zig-zag positions with a symbol: the DC, each coefficient that is not 0,
// each 16th of the zeros before one, and the end of the block behind the last. As long as the last
// two are coded as run 15 before coefficient 0 and run 0 before coefficient 0, they need no
// attention of their own.
inline uint64_t SymbolMask(uint64_t nonZero) {
    uint64_t mask = nonZero | 1;
    mask |= ZeroRuns(mask);
    return mask | uint64_t{2} << (63 - static_cast<uint32_t>(__builtin_clzll(mask)));
}

// Packs bits to bytes, behind the sink's pending ones; what does not fill a byte is pending again.
class BitPacker {
public:
    BitPacker(BitSink &sink, uint8_t *out)
        : sink_(sink), out_(out), pending_(sink.pending),
          bits_(pending_ == 0 ? 0 : sink.accumulator << (64 - pending_)) {}

    // 1 to 57 bits, right-aligned.
    void Append(uint64_t bits, uint32_t length) {
        const uint32_t used = pending_ + length;
        bits_ |= bits << (64 - used);
        StoreBigEndian(out_, bits_);
        out_ += used / 8;
        bits_ <<= used & ~7u;
        pending_ = used % 8;
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

// How many MCUs are coded together: what a batch and the room hold.
inline uint32_t BatchMcus(const BitSink &sink, uint32_t blocksInMcu, uint32_t mcus) {
    const auto room = static_cast<uint32_t>((sink.limit - sink.out) / kMaxMcuBytes);
    const uint32_t most = room < mcus ? room : mcus;
    const uint32_t batch = kBatchBlocks / blocksInMcu;
    return batch < most ? batch : most;
}

// Coder: made of the components; Code codes a batch of MCUs.
template <typename Coder>
uint32_t CodeBatches(BitSink *sink, ComponentBlocks *components, uint32_t count, uint32_t mcus) {
    if (!HasRoom(*sink, kMaxMcuBytes))
        return 0;
    uint32_t blocksInMcu = 0;
    for (uint32_t c = 0; c < count; ++c)
        blocksInMcu += components[c].blocksInMcu;
    Coder coder(components, count);
    uint32_t done = 0;
    while (const uint32_t batch = BatchMcus(*sink, blocksInMcu, mcus - done)) {
        coder.Code(*sink, components, count, batch);
        done += batch;
    }
    return done;
}
