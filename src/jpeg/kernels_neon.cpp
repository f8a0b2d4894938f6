// Kernels for NEON on 64-bit ARM.
#include "jpeg/dct_constants.h"
#include "jpeg/kernels.h"
#include "jpeg/quant_tables.h"

#ifdef KOWEN_NEON_KERNELS

#include "simd/neon.h"

namespace kowen {

namespace {

// Bytes of a row-major block in zig-zag order.
struct ZigZagBytes {
    uint8_t place[64];
};

constexpr ZigZagBytes MakeZigZagBytes() {
    ZigZagBytes bytes = {};
    for (int k = 0; k < 64; ++k)
        bytes.place[k] = static_cast<uint8_t>(ZZ[k]);
    return bytes;
}

constexpr ZigZagBytes kZigZagBytes = MakeZigZagBytes();

// Bit k of the result: byte k of 64, all bits of which are alike, is set.
inline uint64_t BitOfEachByte(const uint8x16_t bytes[4]) {
    const uint8x16_t bits = vreinterpretq_u8_u64(vdupq_n_u64(0x8040201008040201));
    const uint8x16_t low = vpaddq_u8(vandq_u8(bytes[0], bits), vandq_u8(bytes[1], bits));
    const uint8x16_t high = vpaddq_u8(vandq_u8(bytes[2], bits), vandq_u8(bytes[3], bits));
    const uint8x16_t sums = vpaddq_u8(low, high);
    return vgetq_lane_u64(vreinterpretq_u64_u8(vpaddq_u8(sums, sums)), 0);
}

inline void StoreBlocks(const Words v[8], int16_t *block, uint64_t *nonZero) {
    uint8x16x4_t set; // row-major, a byte for each coefficient
    for (int i = 0; i < 4; ++i) {
        vst1q_s16(block + 16 * i, v[2 * i].v);
        vst1q_s16(block + 16 * i + 8, v[2 * i + 1].v);
        const int8x16_t bytes = vqmovn_high_s16(vqmovn_s16(v[2 * i].v), v[2 * i + 1].v);
        set.val[i] = vtstq_s8(bytes, bytes);
    }
    uint8x16_t zigZag[4];
    for (int i = 0; i < 4; ++i)
        zigZag[i] = vqtbl4q_u8(set, vld1q_u8(kZigZagBytes.place + 16 * i));
    *nonZero = BitOfEachByte(zigZag);
}

#include "jpeg/row_kernels.inl"
#include "jpeg/transform_kernel.inl"

inline uint32_t Place(uint32_t k) {
    return kZigZagBytes.place[k];
}

#include "jpeg/byte_stuffing.inl"
#include "jpeg/pairs.inl"

#include "jpeg/entropy_kernel.inl"

#include "jpeg/mcu_coder.inl"
#include "jpeg/variant.inl"

} // namespace

constinit const Kernels kNeonKernels = Variant("neon", false);

} // namespace kowen

#endif
