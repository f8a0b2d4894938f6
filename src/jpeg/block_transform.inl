// The block transform over vectors whose 128-bit lanes hold one block each. Included by the kernels
// of each instruction set, whose Vector type supplies the operations; all of them stay in a lane.
//
// Inner products of 16-bit pairs stand in for the products and sums of the scalar variant: every
// intermediate value is the same integer, only the order of additions differs.

// Rows to columns: 8 x 8 words in each lane.
template <typename Vector> inline void Transpose(Vector v[8]) {
    Vector a[8], b[8];
    for (int i = 0; i < 4; ++i) {
        a[2 * i] = Vector::UnpackLo16(v[2 * i], v[2 * i + 1]);
        a[2 * i + 1] = Vector::UnpackHi16(v[2 * i], v[2 * i + 1]);
    }
    for (int half = 0; half < 8; half += 4) {
        b[half] = Vector::UnpackLo32(a[half], a[half + 2]);
        b[half + 1] = Vector::UnpackHi32(a[half], a[half + 2]);
        b[half + 2] = Vector::UnpackLo32(a[half + 1], a[half + 3]);
        b[half + 3] = Vector::UnpackHi32(a[half + 1], a[half + 3]);
    }
    for (int i = 0; i < 4; ++i) {
        v[2 * i] = Vector::UnpackLo64(b[i], b[i + 4]);
        v[2 * i + 1] = Vector::UnpackHi64(b[i], b[i + 4]);
    }
}

// x * cx + y * cy for every word, as 32-bit values in two halves.
template <typename Vector> struct Products {
    Vector lo, hi;

    Products(Vector x, Vector y, int32_t cx, int32_t cy) {
        const Vector factors = Vector::Pair(cx, cy);
        lo = Vector::MulAdd(Vector::UnpackLo16(x, y), factors);
        hi = Vector::MulAdd(Vector::UnpackHi16(x, y), factors);
    }
    Products(const Products &a, const Products &b)
        : lo(Vector::Add32(a.lo, b.lo)), hi(Vector::Add32(a.hi, b.hi)) {}

    template <int Shift> Vector Rounded() const {
        const Vector half = Vector::All32(1 << (Shift - 1));
        return Vector::Pack32(Vector::template ShiftRight32<Shift>(Vector::Add32(lo, half)),
                              Vector::template ShiftRight32<Shift>(Vector::Add32(hi, half)));
    }
};

// One 8-point pass down the vectors; Last tells the second pass, which takes the scale back.
template <typename Vector, bool Last> inline void TransformPass(Vector v[8]) {
    constexpr int kShift = Last ? 18 : 11;
    using P = Products<Vector>;
    const Vector sum0 = Vector::Add(v[0], v[7]), diff0 = Vector::Sub(v[0], v[7]);
    const Vector sum1 = Vector::Add(v[1], v[6]), diff1 = Vector::Sub(v[1], v[6]);
    const Vector sum2 = Vector::Add(v[2], v[5]), diff2 = Vector::Sub(v[2], v[5]);
    const Vector sum3 = Vector::Add(v[3], v[4]), diff3 = Vector::Sub(v[3], v[4]);

    const Vector outer = Vector::Add(sum0, sum3), outerDiff = Vector::Sub(sum0, sum3);
    const Vector inner = Vector::Add(sum1, sum2), innerDiff = Vector::Sub(sum1, sum2);
    const auto scaleSum = [](Vector sum) {
        if constexpr (Last)
            return Vector::template ShiftRight16<5>(Vector::Add(sum, Vector::All16(16)));
        else
            return Vector::template ShiftLeft16<2>(sum);
    };
    v[0] = scaleSum(Vector::Add(outer, inner));
    v[4] = scaleSum(Vector::Sub(outer, inner));
    v[2] = P(outerDiff, innerDiff, kFix0_541196100 + kFix0_765366865, kFix0_541196100)
               .template Rounded<kShift>();
    v[6] = P(outerDiff, innerDiff, kFix0_541196100, kFix0_541196100 - kFix1_847759065)
               .template Rounded<kShift>();

    const Vector z3 = Vector::Add(diff3, diff1), z4 = Vector::Add(diff2, diff0);
    const P p3(z3, z4, kFix1_175875602 - kFix1_961570560, kFix1_175875602);
    const P p4(z3, z4, kFix1_175875602, kFix1_175875602 - kFix0_390180644);
    const P p30a(diff3, diff0, kFix0_298631336 - kFix0_899976223, -kFix0_899976223);
    const P p30b(diff3, diff0, -kFix0_899976223, kFix1_501321110 - kFix0_899976223);
    const P p21a(diff2, diff1, kFix2_053119869 - kFix2_562915447, -kFix2_562915447);
    const P p21b(diff2, diff1, -kFix2_562915447, kFix3_072711026 - kFix2_562915447);
    v[7] = P(p30a, p3).template Rounded<kShift>();
    v[5] = P(p21a, p4).template Rounded<kShift>();
    v[3] = P(p21b, p3).template Rounded<kShift>();
    v[1] = P(p30b, p4).template Rounded<kShift>();
}

// One row of quotients: see QuantDivisors.
template <typename Vector> inline Vector Quantise(Vector c, const QuantDivisors &d, int row) {
    const Vector positive = Vector::EachLane(d.positiveBias + 8 * row);
    const Vector negative = Vector::EachLane(d.negativeBias + 8 * row);
    const Vector sign = Vector::template ShiftRight16<15>(c);
    const Vector bias = Vector::Add(positive, Vector::And(sign, Vector::Sub(negative, positive)));
    const Vector magnitude = Vector::Sub(Vector::Xor(c, sign), sign);
    const Vector scaled = Vector::template ShiftLeft16<2>(Vector::Add(magnitude, bias));
    const Vector quotient =
        Vector::MulHigh(Vector::MulHigh(scaled, Vector::EachLane(d.reciprocal + 8 * row)),
                        Vector::EachLane(d.scale + 8 * row));
    return Vector::Sub(Vector::Xor(quotient, sign), sign);
}

template <typename Vector>
void TransformBlocks(const uint8_t *samples, uint32_t strideBytes, uint32_t blocks,
                     const QuantDivisors &divisors, int16_t *coefficients, uint64_t *nonZero) {
    for (uint32_t b = 0; b < blocks; b += Vector::kLanes) {
        Vector v[8];
        for (uint32_t row = 0; row < 8; ++row)
            v[row] =
                Vector::Sub(Vector::Load(samples + row * strideBytes + 8 * b), Vector::All16(128));
        Transpose(v);
        TransformPass<Vector, false>(v);
        Transpose(v);
        TransformPass<Vector, true>(v);
        for (int row = 0; row < 8; ++row)
            v[row] = Quantise(v[row], divisors, row);
        Vector::StoreBlocks(v, coefficients + 64 * b, nonZero + b);
    }
}
