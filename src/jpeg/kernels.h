// The loops that take an export's time, in one form per instruction set.
//
// Every form gives the same bytes: the plain one in kernels_plain.cpp is the definition, tests
// compare the others with it. Only the files named after an instruction set are built with its
// flag, and they include nothing that other files share but this header.
#pragma once

#include "jpeg/quantize.h"

#include <cstdint>

namespace kowen {

struct Kernels {
    const char *name;

    /// MapColors of one row: pixels red, green, blue to y, cb, cr.
    void (*mapRgbToYcc)(uint8_t *row, uint32_t width);
    /// The same for pixels blue, green, red.
    void (*mapBgrToYcc)(uint8_t *row, uint32_t width);
    void (*mapToGrey)(uint8_t *row, uint32_t width);
    void (*swapFirstAndThird)(uint8_t *row, uint32_t width);

    /// Parts one row of pixels: byte 0 of every pixel to first; byte 1 and byte 2 of the even
    /// pixels to second and third. Writes width and (width + 1) / 2 samples.
    void (*splitRow422)(const uint8_t *row, uint32_t width, uint8_t *first, uint8_t *second,
                        uint8_t *third);
    /// Parts one row of pixels into three full rows of samples.
    void (*splitRow444)(const uint8_t *row, uint32_t width, uint8_t *first, uint8_t *second,
                        uint8_t *third);

    /// Level shift, forward DCT and quantisation of blocks that lie side by side.
    ///
    /// samples       8 rows, strideBytes apart, of blocks x 8 samples; up to kSampleSlack bytes
    ///               behind the last block of a row are read and ignored.
    /// coefficients  out: 64 a block, row-major; room for kBlockSlack blocks more.
    /// nonZero       out: a bit per zig-zag position whose coefficient is not 0; likewise.
    void (*transformBlocks)(const uint8_t *samples, uint32_t strideBytes, uint32_t blocks,
                            const QuantDivisors &divisors, int16_t *coefficients,
                            uint64_t *nonZero);
};

inline constexpr uint32_t kSampleSlack = 32;
inline constexpr uint32_t kBlockSlack = 3;

/// The kernels for this machine, chosen on first use.
const Kernels &ActiveKernels() noexcept;

/// All forms this machine can run, the plain one first; ends with a null pointer.
const Kernels *const *AvailableKernels() noexcept;

extern const Kernels kPlainKernels;
#if !defined(KOWEN_PLAIN_KERNELS) && (defined(__x86_64__) || defined(__i386__))
#define KOWEN_X86_KERNELS 1
extern const Kernels kSse2Kernels;
extern const Kernels kAvx2Kernels;
extern const Kernels kAvx512Kernels;
#endif

/// Turns the non-zero bits of a row-major block into zig-zag positions.
struct ZigZagBits {
    uint64_t ofRow[8][256]; ///< [row][bit x set: column x is not 0]
};
extern const ZigZagBits kZigZagBits;

/// The plain forms, for the rows that the others have no faster form of, and for row ends.
namespace plain {
void MapRgbToYcc(uint8_t *row, uint32_t width);
void MapBgrToYcc(uint8_t *row, uint32_t width);
void MapToGrey(uint8_t *row, uint32_t width);
void SwapFirstAndThird(uint8_t *row, uint32_t width);
void SplitRow422(const uint8_t *row, uint32_t width, uint8_t *first, uint8_t *second,
                 uint8_t *third);
void SplitRow444(const uint8_t *row, uint32_t width, uint8_t *first, uint8_t *second,
                 uint8_t *third);
} // namespace plain

} // namespace kowen
