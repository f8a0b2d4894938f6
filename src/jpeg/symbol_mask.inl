// Where a block has symbols. Included by coders that list them by vectors.

// The positions where a code for 16 zeros stands: each 16th of a gap before a coefficient. The DC's
// bit must be set.
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
