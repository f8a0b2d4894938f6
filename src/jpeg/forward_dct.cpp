#include "jpeg/forward_dct.h"

#include "jpeg/dct_constants.h"

namespace kowen {

namespace {

// One 8-point pass over values that lie stride apart. Even outputs 0 and 4 are sums, which round()
// gets as they are; all others are products with 13 fraction bits.
template <typename RoundSum, typename RoundProduct>
void Pass(int16_t *v, int stride, RoundSum roundSum, RoundProduct roundProduct) {
    const auto at = [v, stride](int i) -> int32_t { return v[i * stride]; };
    const int32_t sum0 = at(0) + at(7), diff0 = at(0) - at(7);
    const int32_t sum1 = at(1) + at(6), diff1 = at(1) - at(6);
    const int32_t sum2 = at(2) + at(5), diff2 = at(2) - at(5);
    const int32_t sum3 = at(3) + at(4), diff3 = at(3) - at(4);
    const auto put = [v, stride](int i, int32_t value) {
        v[i * stride] = static_cast<int16_t>(value);
    };

    const int32_t outer = sum0 + sum3, outerDiff = sum0 - sum3;
    const int32_t inner = sum1 + sum2, innerDiff = sum1 - sum2;
    const int32_t rotation = (innerDiff + outerDiff) * kFix0_541196100;
    put(0, roundSum(outer + inner));
    put(4, roundSum(outer - inner));
    put(2, roundProduct(rotation + outerDiff * kFix0_765366865));
    put(6, roundProduct(rotation - innerDiff * kFix1_847759065));

    const int32_t z5 = (diff3 + diff1 + diff2 + diff0) * kFix1_175875602;
    const int32_t z1 = -(diff3 + diff0) * kFix0_899976223;
    const int32_t z2 = -(diff2 + diff1) * kFix2_562915447;
    const int32_t z3 = z5 - (diff3 + diff1) * kFix1_961570560;
    const int32_t z4 = z5 - (diff2 + diff0) * kFix0_390180644;
    put(7, roundProduct(diff3 * kFix0_298631336 + z1 + z3));
    put(5, roundProduct(diff2 * kFix2_053119869 + z2 + z4));
    put(3, roundProduct(diff1 * kFix3_072711026 + z2 + z3));
    put(1, roundProduct(diff0 * kFix1_501321110 + z1 + z4));
}

} // namespace

void ForwardDCT(int16_t *block) noexcept {
    for (int row = 0; row < 8; ++row)
        Pass(
            block + row * 8, 1, [](int32_t sum) { return sum * 4; },
            [](int32_t product) { return (product + 1024) >> 11; });
    for (int column = 0; column < 8; ++column)
        Pass(
            block + column, 8, [](int32_t sum) { return (sum + 16) >> 5; },
            [](int32_t product) { return (product + 131072) >> 18; });
}

} // namespace kowen
