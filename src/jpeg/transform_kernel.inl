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

// The even coefficients of an 8-point pass, from the sums of its inputs. Last tells the second
// pass, which takes the scale back.
template <bool Last>
inline void TransformEven(const DctFactors &factors, const Words sum[4], Words v[8]) {
    constexpr int kShift = Last ? 18 : 11;
    const Words outer = sum[0] + sum[3], outerDiff = sum[0] - sum[3];
    const Words inner = sum[1] + sum[2], innerDiff = sum[1] - sum[2];
    if constexpr (Last) {
        v[0] = (outer + inner + Words::All(16)).template ShiftRight<5>();
        v[4] = (outer - inner + Words::All(16)).template ShiftRight<5>();
    } else {
        // The level shift, 128 of each of 8 samples; it cancels in all other outputs.
        v[0] = (outer + inner).template ShiftLeft<2>() - Words::All(4 * 8 * 128);
        v[4] = (outer - inner).template ShiftLeft<2>();
    }
    const Wide second = factors.template Products<kEven0, kEven1>(outerDiff, innerDiff);
    const Wide sixth = factors.template Products<kEven1, kEven2>(outerDiff, innerDiff);
    v[2] = second.template Narrow<kShift>();
    v[6] = sixth.template Narrow<kShift>();
}

// The odd coefficients, from the differences.
template <bool Last>
inline void TransformOdd(const DctFactors &factors, const Words diff[4], Words v[8]) {
    constexpr int kShift = Last ? 18 : 11;
    const Words z3 = diff[3] + diff[1], z4 = diff[2] + diff[0];
    const Wide p3 = factors.template Products<kZ0, kZ1>(z3, z4);
    const Wide p4 = factors.template Products<kZ1, kZ2>(z3, z4);
    const Wide seventh = factors.template AddProducts<kOuter0, kOuter1>(p3, diff[3], diff[0]);
    const Wide first = factors.template AddProducts<kOuter1, kOuter2>(p4, diff[3], diff[0]);
    const Wide fifth = factors.template AddProducts<kInner0, kInner1>(p4, diff[2], diff[1]);
    const Wide third = factors.template AddProducts<kInner1, kInner2>(p3, diff[2], diff[1]);
    v[1] = first.template Narrow<kShift>();
    v[3] = third.template Narrow<kShift>();
    v[5] = fifth.template Narrow<kShift>();
    v[7] = seventh.template Narrow<kShift>();
}

template <bool Last> inline void TransformPass(const DctFactors &factors, Words v[8]) {
    const Words sum[4] = {v[0] + v[7], v[1] + v[6], v[2] + v[5], v[3] + v[4]};
    const Words diff[4] = {v[0] - v[7], v[1] - v[6], v[2] - v[5], v[3] - v[4]};
    TransformEven<Last>(factors, sum, v);
    TransformOdd<Last>(factors, diff, v);
}

// One row of quotients: see QuantDivisors.
inline Words Quantise(Words c, const QuantDivisors &d, int row) {
    const int place = 8 * row;
    return ScaledQuotient(c.ShiftLeft<4>() + Words::EachBlock(d.bias + place), d.reciprocal + place,
                          d.scale + place, d.shift + place);
}

void TransformBlocks(const uint8_t *samples, uint32_t strideBytes, uint32_t blocks,
                     const QuantDivisors &divisors, int16_t *coefficients, uint64_t *nonZero) {
    const DctFactors factors;
    for (uint32_t b = 0; b < blocks; b += Words::kBlocks) {
        Words v[8];
        for (uint32_t row = 0; row < 8; ++row)
            v[row] = Words::LoadBytes(samples + row * strideBytes + 8 * b);
        Transpose(v);
        TransformPass<false>(factors, v);
        Transpose(v);
        TransformPass<true>(factors, v);
        for (int row = 0; row < 8; ++row)
            v[row] = Quantise(v[row], divisors, row);
        StoreBlocks(v, coefficients + 64 * b, nonZero + b);
    }
}
