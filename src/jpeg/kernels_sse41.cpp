// Kernels for SSE4.1.
#include "jpeg/dct_constants.h"
#include "jpeg/kernels.h"
#include "jpeg/quant_tables.h"

#ifdef KOWEN_X86_KERNELS

#include "simd/sse41.h"

namespace kowen {

namespace {

inline void StoreBlocks(const Words v[8], int16_t *block, uint64_t *nonZero) {
    uint64_t bits = 0;
    for (int row = 0; row < 8; row += 2) {
        StoreVector(block + 8 * row, v[row].v);
        StoreVector(block + 8 * row + 8, v[row + 1].v);
        const uint32_t ofRows = NonZeroBits(v[row], v[row + 1]);
        bits |= kZigZagBits.ofRow[row][ofRows & 0xFF] | kZigZagBits.ofRow[row + 1][ofRows >> 8];
    }
    *nonZero = bits;
}

#include "jpeg/row_kernels.inl"
#include "jpeg/transform_kernel.inl"

inline uint32_t Place(uint32_t k) {
    return static_cast<uint32_t>(ZZ[k]);
}

#include "jpeg/byte_stuffing.inl"
#include "jpeg/pairs.inl"

#include "jpeg/entropy_kernel.inl"

#include "jpeg/mcu_coder.inl"
#include "jpeg/variant.inl"

} // namespace

constinit const Kernels kSse41Kernels = Variant("sse41", false);

} // namespace kowen

#endif
