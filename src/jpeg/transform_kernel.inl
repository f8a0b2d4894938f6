// Level shift, forward DCT and quantisation of Words::kBlocks blocks at a time. Included by the
// kernels of each instruction set behind its vectors and its StoreBlocks.
//
// Sums of two products stand in for the products and sums of ForwardDCT: every result is the same
// integer, only the order of additions differs.

// Rows to columns: 8 x 8 words of each block.
inline void Transpose(Words v[8]) {
    Words a[8], b[8];
    for (int i = 0; i < 4; ++i) {
        a[2 * i] = Words::UnpackLow16(v[2 * i], v[2 * i + 1]);
        a[2 * i + 1] = Words::UnpackHigh16(v[2 * i], v[2 * i + 1]);
    }
    for (int half = 0; half < 8; half += 4) {
        b[half] = Words::UnpackLow32(a[half], a[half + 2]);
        b[half + 1] = Words::UnpackHigh32(a[half], a[half + 2]);
        b[half + 2] = Words::UnpackLow32(a[half + 1], a[half + 3]);
        b[half + 3] = Words::UnpackHigh32(a[half + 1], a[half + 3]);
    }
    for (int i = 0; i < 4; ++i) {
        v[2 * i] = Words::UnpackLow64(b[i], b[i + 4]);
        v[2 * i + 1] = Words::UnpackHigh64(b[i], b[i + 4]);
    }
}

// The factors of ForwardDCT, where they meet the same input summed up.
constexpr int kEven0 = kFix0_541196100 + kFix0_765366865;
constexpr int kEven1 = kFix0_541196100;
constexpr int kEven2 = kFix0_541196100 - kFix1_847759065;
constexpr int kZ0 = kFix1_175875602 - kFix1_961570560;
constexpr int kZ1 = kFix1_175875602;
constexpr int kZ2 = kFix1_175875602 - kFix0_390180644;
constexpr int kOuter0 = kFix0_298631336 - kFix0_899976223;
constexpr int kOuter1 = -kFix0_899976223;
constexpr int kOuter2 = kFix1_501321110 - kFix0_899976223;
constexpr int kInner0 = kFix2_053119869 - kFix2_562915447;
constexpr int kInner1 = -kFix2_562915447;
constexpr int kInner2 = kFix3_072711026 - kFix2_562915447;
using DctFactors = Factors<kEven0, kEven1, kEven2, kZ0, kZ1, kZ2, kOuter0, kOuter1, kOuter2,
                           kInner0, kInner1, kInner2>;

// What the first pass starts from: sums and differences of each block's columns x and 7 - x, in the
// order and scale of the vectors.
inline void LoadMirrored(const uint8_t *samples, uint32_t strideBytes, Words sum[4],
                         Words diff[4]) {
    Words rows[4]; // two of them: a pair of words for each x
    for (int i = 0; i < 4; ++i)
        rows[i] = Words::LoadBytePairs(samples + Words::kOrder[2 * i] * strideBytes,
                                       samples + Words::kOrder[2 * i + 1] * strideBytes);
    for (int half = 0; half < 4; half += 2) {
        const Words low = half == 0 ? Words::UnpackLow32(rows[0], rows[1])
                                    : Words::UnpackHigh32(rows[0], rows[1]);
        const Words high = half == 0 ? Words::UnpackLow32(rows[2], rows[3])
                                     : Words::UnpackHigh32(rows[2], rows[3]);
        const Words even = Words::UnpackLow64(low, high), odd = Words::UnpackHigh64(low, high);
        sum[half] = even.SumsOfPairs();
        sum[half + 1] = odd.SumsOfPairs();
        diff[half] = even.DifferencesOfPairs();
        diff[half + 1] = odd.DifferencesOfPairs();
    }
}

// How a pass takes scale back. The first leaves values 4 times as large, the second takes them and
// leaves numerators for Quantise: 4 c - 1, but for the low 2 bits, of a rounded coefficient c.
template <bool Last> struct Scale;
template <> struct Scale<false> {
    static constexpr int kShift = 11 + Words::kSumScaleBits;
    static constexpr int kAdded = 1 << (kShift - 1);
    // The level shift, 128 of each of 8 samples; it cancels in all other outputs.
    static constexpr int kLevel = (8 * 128) << Words::kSumScaleBits;

    static Words Sum(Words outer, Words inner) {
        return Scaled(outer + inner - Words::All(kLevel));
    }
    static Words Difference(Words outer, Words inner) { return Scaled(outer - inner); }

private:
    static Words Scaled(Words x) {
        if constexpr (Words::kSumScaleBits < 2)
            return x.template ShiftLeft<2 - Words::kSumScaleBits>();
        else
            return x.template ShiftRight<Words::kSumScaleBits - 2>();
    }
};
template <> struct Scale<true> {
    static constexpr int kShift = 16;
    static constexpr int kAdded = -(1 << 17); // 2^17 to round, 2^18 for the 1 that is taken off

    static Words Sum(Words outer, Words inner) { return Numerator(outer + inner); }
    static Words Difference(Words outer, Words inner) { return Numerator(outer - inner); }

private:
    static Words Numerator(Words x) { return x.template ShiftRight<3>() - Words::All(2); }
};

// The even coefficients of an 8-point pass, from the sums of its inputs.
template <bool Last>
inline void TransformEven(const DctFactors &factors, const Words sum[4], Words v[8]) {
    using Pass = Scale<Last>;
    const Words outer = sum[0] + sum[3], outerDiff = sum[0] - sum[3];
    const Words inner = sum[1] + sum[2], innerDiff = sum[1] - sum[2];
    v[0] = Pass::Sum(outer, inner).HalvesByTurns();
    v[4] = Pass::Difference(outer, inner).HalvesByTurns();
    const Wide second = factors.template Products<kEven0, kEven1>(outerDiff, innerDiff);
    const Wide sixth = factors.template Products<kEven1, kEven2>(outerDiff, innerDiff);
    v[2] = second.template Plus<Pass::kAdded>().template Narrow<Pass::kAdded, Pass::kShift>();
    v[6] = sixth.template Plus<Pass::kAdded>().template Narrow<Pass::kAdded, Pass::kShift>();
}

// The odd coefficients, from the differences.
template <bool Last>
inline void TransformOdd(const DctFactors &factors, const Words diff[4], Words v[8]) {
    constexpr int kAdded = Scale<Last>::kAdded, kShift = Scale<Last>::kShift;
    const Words z3 = diff[3] + diff[1], z4 = diff[2] + diff[0];
    const Wide p3 = factors.template Products<kZ0, kZ1>(z3, z4).template Plus<kAdded>();
    const Wide p4 = factors.template Products<kZ1, kZ2>(z3, z4).template Plus<kAdded>();
    const Wide seventh = factors.template AddProducts<kOuter0, kOuter1>(p3, diff[3], diff[0]);
    const Wide first = factors.template AddProducts<kOuter1, kOuter2>(p4, diff[3], diff[0]);
    const Wide fifth = factors.template AddProducts<kInner0, kInner1>(p4, diff[2], diff[1]);
    const Wide third = factors.template AddProducts<kInner1, kInner2>(p3, diff[2], diff[1]);
    v[1] = first.template Narrow<kAdded, kShift>();
    v[3] = third.template Narrow<kAdded, kShift>();
    v[5] = fifth.template Narrow<kAdded, kShift>();
    v[7] = seventh.template Narrow<kAdded, kShift>();
}

template <bool Last>
inline void TransformPass(const DctFactors &factors, const Words sum[4], const Words diff[4],
                          Words v[8]) {
    TransformEven<Last>(factors, sum, v);
    TransformOdd<Last>(factors, diff, v);
}

// One row of quotients: see QuantDivisors.
inline Words Quantise(Words c, const QuantDivisors &d, int row) {
    const int place = 8 * row;
    return ScaledQuotient(c | Words::All(3), d.reciprocal + place, d.scale + place,
                          d.shift + place);
}

// Loads blocks, leaves the first pass's result as rows.
inline void TransformRows(const uint8_t *samples, uint32_t strideBytes, const DctFactors &factors,
                          Words rows[8]) {
    Words sum[4], diff[4], v[8];
    LoadMirrored(samples, strideBytes, sum, diff);
    TransformPass<false>(factors, sum, diff, v);
    for (int i = 0; i < 8; ++i)
        rows[i] = v[Words::kOrder[i]];
    Transpose(rows);
}

inline void TransformColumns(const Words rows[8], const DctFactors &factors,
                             const QuantDivisors &divisors, Words v[8]) {
    Words sum[4], diff[4];
    for (int i = 0; i < 4; ++i) {
        sum[i] = rows[i] + rows[7 - i];
        diff[i] = rows[i] - rows[7 - i];
    }
    TransformPass<true>(factors, sum, diff, v);
    for (int row = 0; row < 8; ++row)
        v[row] = Quantise(v[row], divisors, row);
}

// The passes take turns, a few vectors each: one's instructions do not wait for the other's.
constexpr uint32_t kTurns = 8;

void TransformBlocks(const uint8_t *samples, uint32_t strideBytes, uint32_t blocks,
                     const QuantDivisors &divisors, int16_t *coefficients, uint64_t *nonZero) {
    const DctFactors factors;
    Words rows[kTurns][8];
    for (uint32_t first = 0; first < blocks; first += kTurns * Words::kBlocks) {
        const uint32_t left = (blocks - first + Words::kBlocks - 1) / Words::kBlocks;
        const uint32_t turns = left < kTurns ? left : kTurns;
        for (uint32_t i = 0; i < turns; ++i)
            TransformRows(samples + 8 * (first + i * Words::kBlocks), strideBytes, factors,
                          rows[i]);
        for (uint32_t i = 0; i < turns; ++i) {
            const uint32_t b = first + i * Words::kBlocks;
            Words v[8];
            TransformColumns(rows[i], factors, divisors, v);
            StoreBlocks(v, coefficients + 64 * b, nonZero + b);
        }
    }
}
