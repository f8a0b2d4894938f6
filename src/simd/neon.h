// Vectors of NEON on 64-bit ARM: 16 bytes, one block. What the operations mean: README.md.
#pragma once

#include <arm_neon.h>
#include <cstdint>

namespace kowen {
namespace {

struct Words {
    static constexpr uint32_t kBlocks = 1;
    static constexpr int kSumScaleBits = 0;
    static constexpr uint32_t kOrder[8] = {0, 1, 2, 3, 4, 5, 6, 7};
    int16x8_t v;

    static Words LoadBytePairs(const uint8_t *first, const uint8_t *second) {
        static constexpr uint8_t kPairs[16] = {0, 7, 8,  15, 1, 6, 9,  14,
                                               2, 5, 10, 13, 3, 4, 11, 12};
        const uint8x16_t rows = vcombine_u8(vld1_u8(first), vld1_u8(second));
        return {vreinterpretq_s16_u8(vqtbl1q_u8(rows, vld1q_u8(kPairs)))};
    }
    static Words EachBlock(const int16_t *p) { return {vld1q_s16(p)}; }
    static Words All(int x) { return {vdupq_n_s16(static_cast<int16_t>(x))}; }

    friend Words operator+(Words a, Words b) { return {vaddq_s16(a.v, b.v)}; }
    friend Words operator-(Words a, Words b) { return {vsubq_s16(a.v, b.v)}; }
    friend Words operator|(Words a, Words b) { return {vorrq_s16(a.v, b.v)}; }
    template <int N> Words ShiftLeft() const { return {vshlq_n_s16(v, N)}; }
    template <int N> Words ShiftRight() const { return {vshrq_n_s16(v, N)}; }
    Words HalvesByTurns() const { return *this; }
    Words SumsOfPairs() const {
        return {vreinterpretq_s16_u16(vpaddlq_u8(vreinterpretq_u8_s16(v)))};
    }
    Words DifferencesOfPairs() const { // first + 256 second - 257 second
        const uint16x8_t second = vshrq_n_u16(vreinterpretq_u16_s16(v), 8);
        return {vmlsq_n_s16(v, vreinterpretq_s16_u16(second), 257)};
    }

    static Words UnpackLow16(Words a, Words b) { return {vzip1q_s16(a.v, b.v)}; }
    static Words UnpackHigh16(Words a, Words b) { return {vzip2q_s16(a.v, b.v)}; }
    static Words UnpackLow32(Words a, Words b) { return Of(vzip1q_s32(As32(a), As32(b))); }
    static Words UnpackHigh32(Words a, Words b) { return Of(vzip2q_s32(As32(a), As32(b))); }
    static Words UnpackLow64(Words a, Words b) { return Of(vzip1q_s64(As64(a), As64(b))); }
    static Words UnpackHigh64(Words a, Words b) { return Of(vzip2q_s64(As64(a), As64(b))); }

private:
    static int32x4_t As32(Words a) { return vreinterpretq_s32_s16(a.v); }
    static int64x2_t As64(Words a) { return vreinterpretq_s64_s16(a.v); }
    static Words Of(int32x4_t v) { return {vreinterpretq_s16_s32(v)}; }
    static Words Of(int64x2_t v) { return {vreinterpretq_s16_s64(v)}; }
};

struct Wide {
    int32x4_t low, high;

    template <int> Wide Plus() const { return *this; } // Narrow does it
    template <int Added, int N> Words Narrow() const {
        if constexpr (Added == 1 << (N - 1) && N < 16) {
            return {vrshrn_high_n_s32(vrshrn_n_s32(low, N), high, N)};
        } else {
            static_assert(N == 16);
            const int32x4_t added = vdupq_n_s32(Added);
            return {vaddhn_high_s32(vaddhn_s32(low, added), high, added)};
        }
    }
};

// The values in lanes of two registers: products take them from there.
template <int... Values> class Factors {
public:
    Factors() : lanes_{vld1q_s16(kValues.value), vld1q_s16(kValues.value + 8)} {
        // Without this they are taken for constants, and made anew for each product.
        __asm__("" : "+w"(lanes_[0]), "+w"(lanes_[1]));
    }
    template <int X, int Y> Wide Products(Words x, Words y) const {
        constexpr int kLane = LaneOf(X);
        const int16x8_t lanes = lanes_[kLane / 8];
        return AddProduct<Y>({vmull_laneq_s16(vget_low_s16(x.v), lanes, kLane % 8),
                              vmull_high_laneq_s16(x.v, lanes, kLane % 8)},
                             y);
    }
    template <int X, int Y> Wide AddProducts(Wide sum, Words x, Words y) const {
        return AddProduct<Y>(AddProduct<X>(sum, x), y);
    }

private:
    struct Table {
        int16_t value[16];
    };
    static constexpr Table kValues = {{Values...}};

    static constexpr int LaneOf(int value) {
        int lane = 0;
        while (kValues.value[lane] != value)
            ++lane;
        return lane;
    }
    template <int Value> Wide AddProduct(Wide sum, Words x) const {
        constexpr int kLane = LaneOf(Value);
        const int16x8_t lanes = lanes_[kLane / 8];
        return {vmlal_laneq_s16(sum.low, vget_low_s16(x.v), lanes, kLane % 8),
                vmlal_high_laneq_s16(sum.high, x.v, lanes, kLane % 8)};
    }

    int16x8_t lanes_[2];
};

inline Words ScaledQuotient(Words x, const int16_t *reciprocal, const int16_t *,
                            const int16_t *shift) {
    return {vrshlq_s16(vqdmulhq_s16(x.v, vld1q_s16(reciprocal)), vld1q_s16(shift))};
}

struct Bytes {
    static constexpr uint32_t kCount = 16;
    uint8x16_t v;

    static Bytes Load(const uint8_t *p) { return {vld1q_u8(p)}; }
    void Store(uint8_t *p) const { vst1q_u8(p, v); }
    static Bytes All(int x) { return {vdupq_n_u8(static_cast<uint8_t>(x))}; }

    friend Bytes operator+(Bytes a, Bytes b) { return {vaddq_u8(a.v, b.v)}; }
    friend Bytes operator-(Bytes a, Bytes b) { return {vsubq_u8(a.v, b.v)}; }
    friend Bytes operator&(Bytes a, Bytes b) { return {vandq_u8(a.v, b.v)}; }
    friend Bytes operator|(Bytes a, Bytes b) { return {vorrq_u8(a.v, b.v)}; }
    uint32_t FirstOf255() const {
        // Four bits for each byte.
        const uint16x8_t found = vreinterpretq_u16_u8(vceqq_u8(v, vdupq_n_u8(255)));
        const uint64_t bits = vget_lane_u64(vreinterpret_u64_u8(vshrn_n_u16(found, 4)), 0);
        return bits == 0 ? kCount : static_cast<uint32_t>(__builtin_ctzll(bits)) / 4;
    }
    static Bytes SubtractToZero(Bytes a, Bytes b) { return {vqsubq_u8(a.v, b.v)}; }
    template <int N> Bytes ShiftRight() const { return {vshrq_n_u8(v, N)}; }
    static Bytes NegatedWhereLess(Bytes x, Bytes a, Bytes b) {
        const uint8x16_t less = vcltq_u8(a.v, b.v);
        return {vsubq_u8(veorq_u8(x.v, less), less)};
    }
    static Bytes WeighedTenth(Bytes a, Bytes b, Bytes c) {
        const uint8x8_t three = vdup_n_u8(3), six = vdup_n_u8(6);
        uint16x8_t low = vmull_u8(vget_low_u8(a.v), three);
        uint16x8_t high = vmull_high_u8(a.v, vcombine_u8(three, three));
        low = vmlal_u8(low, vget_low_u8(b.v), six);
        high = vmlal_high_u8(high, b.v, vcombine_u8(six, six));
        low = vaddw_u8(low, vget_low_u8(c.v));
        high = vaddw_high_u8(high, c.v);
        return {vuzp1q_u8(Tenth(low), Tenth(high))};
    }

private:
    // 2 x 3277 x / 65536
    static uint8x16_t Tenth(uint16x8_t x) {
        return vreinterpretq_u8_s16(vqdmulhq_n_s16(vreinterpretq_s16_u16(x), 3277));
    }
};

inline void StoreEven(Bytes a, Bytes b, uint8_t *toA, uint8_t *toB) {
    const uint8x16_t even = vuzp1q_u8(a.v, b.v);
    vst1_u8(toA, vget_low_u8(even));
    vst1_u8(toB, vget_high_u8(even));
}

struct Pixels {
    Bytes first, second, third;
};

inline Pixels LoadPixels(const uint8_t *p) {
    const uint8x16x3_t t = vld3q_u8(p);
    return {{t.val[0]}, {t.val[1]}, {t.val[2]}};
}

inline void StorePixels(uint8_t *p, const Pixels &t) {
    const uint8x16x3_t bytes = {{t.first.v, t.second.v, t.third.v}};
    vst3q_u8(p, bytes);
}

} // namespace
} // namespace kowen
