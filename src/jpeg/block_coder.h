// Huffman coding of quantised blocks: T.81 F.1.2, step by step. Not on the export path.
//
// The band coders use the kernels of kernels.h; these functions code one block through the bit
// writer and define what those must produce.
#pragma once

#include <cstdint>

namespace kowen {

struct CompressEnv;
struct HuffmanEntry;

/// Codes the DC difference of a block against its component's predictor, which becomes the
/// block's DC. output and fillCount as OutputBits. componentIndex 0 to 2. Returns 0.
int32_t EncodeDC(const int16_t *block, CompressEnv *env, uint8_t *output, uint32_t *fillCount,
                 int32_t componentIndex) noexcept;

/// Codes the AC coefficients of a block, sequential mode. acTable by symbol. Returns 0.
int32_t EncodeAC(const int16_t *block, CompressEnv *env, uint8_t *output, uint32_t *fillCount,
                 const HuffmanEntry *acTable) noexcept;

/// EncodeDC, then EncodeAC with the component's table: 2 for component 0, else 3. Returns 0.
int32_t EncodeBlock(uint8_t *output, uint32_t *fillCount, const int16_t *block, CompressEnv *env,
                    int32_t componentIndex) noexcept;

/// Codes one non-zero coefficient behind *zeroRun (0 to 15) zeros and clears the run. Returns 0.
int32_t EncodeACCoef(uint8_t *output, uint32_t *fillCount, int32_t *zeroRun, int16_t coefficient,
                     CompressEnv *env, const HuffmanEntry *acTable) noexcept;

/// Codes a run of 16 zeros (symbol 0xF0) and takes 16 off the run. Returns 0.
int32_t EncodeZRL(uint8_t *output, uint32_t *fillCount, const HuffmanEntry *acTable,
                  CompressEnv *env, int32_t *zeroRun) noexcept;

} // namespace kowen
