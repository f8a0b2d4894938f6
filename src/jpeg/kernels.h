// The loops that take an export's time, in one variant per instruction set.
//
// Every variant gives the same bytes: the scalar one in kernels_scalar.cpp is the definition, tests
// compare the others with it. Only the files named after an instruction set are built with its
// flags, and they include nothing that other files share but plain declarations.
#pragma once

#include "jpeg/code_tables.h"
#include "jpeg/quantize.h"
#include "platform/instruction_sets.h"

#include <cstdint>

namespace kowen {

/// Bits on their way to the output buffer. Between calls fewer than 8 are pending.
struct BitSink {
    uint64_t accumulator; ///< pending bits, right-aligned; the ones above are stale
    uint32_t pending;     ///< how many
    uint8_t *out;         ///< next byte of the buffer
    uint8_t *limit;       ///< end of the buffer
};

/// Bytes that one block can take at most: 22 + 63 x 26 bits and an end-of-band run, the bits
/// already pending, all of them stuffed, and one word of slack.
inline constexpr uint32_t kMaxBlockBytes = 512;
/// The most blocks of an MCU, and so the room that coding one more MCU needs.
inline constexpr uint32_t kMaxMcuBytes = 4 * kMaxBlockBytes;

/// One component's transformed blocks in MCU order, and what they are coded with. Coefficients are
/// what transformBlocks can give: AC -1023 to 1023, DC differences -2047 to 2047.
struct ComponentBlocks {
    const int16_t *coefficients; ///< 64 a block, in the order of the kernels
    const uint64_t *nonZero;     ///< a bit per zig-zag position
    uint32_t blocksInMcu;
    const CodeTables *tables;
    int16_t *predictor;
};

/// One component's DC coefficients in MCU order, likewise.
struct ComponentDcs {
    const int16_t *dcs;
    uint32_t blocksInMcu;
    const CodeTables *tables;
    int16_t *predictor;
};

/// A progressive AC scan on its way.
struct AcScan {
    const CodeTables *tables;
    uint32_t eobRun; ///< blocks that ended on zeros and are not coded yet
};

struct Kernels {
    const char *name;

    /// Whether transformed blocks are kept in zig-zag order; else they are row-major.
    bool zigZag;

    /// MapColors of one row: pixels red, green, blue to y, cb, cr.
    void (*mapRgbToYcc)(uint8_t *row, uint32_t width);
    /// The same for pixels blue, green, red.
    void (*mapBgrToYcc)(uint8_t *row, uint32_t width);
    void (*mapToGrey)(uint8_t *row, uint32_t width);
    void (*swapFirstAndThird)(uint8_t *row, uint32_t width);

    /// Deinterleaves one row of pixels: byte 0 of every pixel to first; byte 1 and byte 2 of the
    /// even pixels to second and third. Writes width and (width + 1) / 2 samples.
    void (*deinterleave422)(const uint8_t *row, uint32_t width, uint8_t *first, uint8_t *second,
                            uint8_t *third);
    /// Deinterleaves one row of pixels into three full rows of samples.
    void (*deinterleave444)(const uint8_t *row, uint32_t width, uint8_t *first, uint8_t *second,
                            uint8_t *third);

    /// Map and deinterleave in one pass: mapRgbToYcc and deinterleave422; swapFirstAndThird and
    /// deinterleave444; mapToGrey and byte 0 of every pixel.
    void (*mapAndDeinterleave422)(uint8_t *row, uint32_t width, uint8_t *first, uint8_t *second,
                                  uint8_t *third);
    void (*mapAndDeinterleave444)(uint8_t *row, uint32_t width, uint8_t *first, uint8_t *second,
                                  uint8_t *third);
    void (*mapAndExtractGrey)(uint8_t *row, uint32_t width, uint8_t *first);

    /// Level shift, forward DCT and quantisation of blocks that lie side by side.
    ///
    /// samples       8 rows, strideBytes apart, of blocks x 8 samples; up to kSampleSlack bytes
    ///               behind the last block of a row are read and ignored.
    /// coefficients  out: 64 a block, in the order that zigZag tells; room for kBlockSlack more
    ///               blocks.
    /// nonZero       out: a bit per zig-zag position whose coefficient is not 0; likewise.
    void (*transformBlocks)(const uint8_t *samples, uint32_t strideBytes, uint32_t blocks,
                            const QuantDivisors &divisors, int16_t *coefficients,
                            uint64_t *nonZero);

    /// Codes MCUs as EncodeBlock does, each component's blocks in turn, while kMaxMcuBytes are
    /// left. Moves the components' pointers and predictors on. Returns the MCUs coded.
    uint32_t (*codeMcus)(BitSink *sink, ComponentBlocks *components, uint32_t count, uint32_t mcus);

    /// Takes the blocks' AC coefficients that are not 0, in zig-zag order, to packed, and their
    /// DC coefficients to dcs. Returns the end of what was packed.
    int16_t *(*packBlocks)(const int16_t *coefficients, const uint64_t *nonZero, uint32_t blocks,
                           int16_t *dcs, int16_t *packed);

    /// Codes the DC coefficients of MCUs as EncodeDC does, while kMaxMcuBytes are left. Moves the
    /// components' pointers and predictors on. Returns the MCUs coded.
    uint32_t (*codeDcs)(BitSink *sink, ComponentDcs *components, uint32_t count, uint32_t mcus);

    /// Codes the AC coefficients of blocks with end-of-band runs, while kMaxBlockBytes are left.
    /// packed is moved on. Returns the blocks coded.
    uint32_t (*codeAcs)(BitSink *sink, AcScan *scan, const uint64_t *nonZero,
                        const int16_t **packed, uint32_t blocks);
    /// Codes the run that is left; kMaxBlockBytes must be.
    void (*endAcs)(BitSink *sink, AcScan *scan);
};

inline constexpr uint32_t kSampleSlack = 32;
inline constexpr uint32_t kBlockSlack = 3;

/// The kernels for this machine, chosen on first use: the best, or those that the environment
/// variable KOWEN_KERNELS names if the machine can run them.
const Kernels &ActiveKernels() noexcept;

/// Uses one variant from here on, for tests; null chooses anew.
void UseKernels(const Kernels *variant) noexcept;

/// All variants this machine can run, the scalar one first; ends with a null pointer.
const Kernels *const *AvailableKernels() noexcept;

extern const Kernels kScalarKernels;
#ifdef KOWEN_X86_KERNELS
extern const Kernels kSse41Kernels;
extern const Kernels kAvx2Kernels;
extern const Kernels kAvx512Kernels;
#endif
#ifdef KOWEN_NEON_KERNELS
extern const Kernels kNeonKernels;
#endif

/// Turns the non-zero bits of a row-major block into zig-zag positions.
struct ZigZagBits {
    uint64_t ofRow[8][256]; ///< [row][bit x set: column x is not 0]
};
extern const ZigZagBits kZigZagBits;

/// The scalar variant's functions, for what the others do not replace and for row ends.
namespace scalar {
void MapRgbToYcc(uint8_t *row, uint32_t width);
void MapBgrToYcc(uint8_t *row, uint32_t width);
void MapToGrey(uint8_t *row, uint32_t width);
void SwapFirstAndThird(uint8_t *row, uint32_t width);
void Deinterleave422(const uint8_t *row, uint32_t width, uint8_t *first, uint8_t *second,
                     uint8_t *third);
void Deinterleave444(const uint8_t *row, uint32_t width, uint8_t *first, uint8_t *second,
                     uint8_t *third);
void MapAndDeinterleave422(uint8_t *row, uint32_t width, uint8_t *first, uint8_t *second,
                           uint8_t *third);
void MapAndDeinterleave444(uint8_t *row, uint32_t width, uint8_t *first, uint8_t *second,
                           uint8_t *third);
void MapAndExtractGrey(uint8_t *row, uint32_t width, uint8_t *first);
uint32_t CodeMcus(BitSink *sink, ComponentBlocks *components, uint32_t count, uint32_t mcus);
int16_t *PackBlocks(const int16_t *coefficients, const uint64_t *nonZero, uint32_t blocks,
                    int16_t *dcs, int16_t *packed);
uint32_t CodeDcs(BitSink *sink, ComponentDcs *components, uint32_t count, uint32_t mcus);
uint32_t CodeAcs(BitSink *sink, AcScan *scan, const uint64_t *nonZero, const int16_t **packed,
                 uint32_t blocks);
void EndAcs(BitSink *sink, AcScan *scan);
} // namespace scalar

} // namespace kowen
