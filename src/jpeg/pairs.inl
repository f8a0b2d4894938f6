// Joining the bits of two symbols, two pairs at a time. Included by the kernels of instruction sets
// that have nothing faster.

struct SymbolPair {
    uint64_t bits;   // left-aligned
    uint64_t length; // in the low 6 bits
};

constexpr uint32_t kSymbolsAtOnce = 4;

inline SymbolPair PairOf(const PackedCode *symbols) {
    constexpr uint64_t kBits = uint64_t{~kLengthMask} << 32;
    const uint64_t both = uint64_t{symbols[1]} << 32 | symbols[0];
    const uint64_t second = (both & kBits) >> (both & kLengthMask);
    return {(both << 32 & kBits) | second, both + (both >> 32)};
}

inline void PairsOf(const PackedCode *symbols, SymbolPair *pairs) {
    pairs[0] = PairOf(symbols);
    pairs[1] = PairOf(symbols + 2);
}
