// Joining the bits of two symbols, one pair at a time. Included by the kernels of instruction sets
// that have nothing faster.

struct SymbolPair {
    uint64_t bits;   // left-aligned
    uint64_t length; // in the low 6 bits
};

constexpr uint32_t kSymbolsAtOnce = 2;

inline void PairsOf(const PackedCode *symbols, SymbolPair *pair) {
    const uint64_t first = uint64_t{symbols[0] & ~kLengthMask} << 32;
    const uint64_t second = uint64_t{symbols[1] & ~kLengthMask} << 32;
    *pair = {first | second >> (symbols[0] & kLengthMask), symbols[0] + uint64_t{symbols[1]}};
}
