#include "jpeg/block_coder.h"

#include "jpeg/bit_output.h"
#include "jpeg/compress_env.h"
#include "jpeg/huffman_tables.h"
#include "jpeg/quant_tables.h"

namespace kowen {

namespace {

constexpr uint8_t kEndOfBlock = 0x00;
constexpr uint8_t kZeroRun16 = 0xF0;

int32_t PutEntry(uint8_t *output, uint32_t *fillCount, const HuffmanEntry &entry,
                 CompressEnv *env) {
    return OutputBits(output, fillCount, entry.code, entry.length, env);
}

} // namespace

int32_t EncodeDC(const int16_t *block, CompressEnv *env, uint8_t *output, uint32_t *fillCount,
                 int32_t componentIndex) noexcept {
    const auto difference = static_cast<int16_t>(block[0] - env->dcPredictor[componentIndex]);
    const HuffmanEntry *table =
        env->huffmanTable[componentIndex == 0 ? kDcDiffLuminance : kDcDiffChrominance];
    // Hardened: a difference beyond the table, which 8-bit samples cannot give, codes nothing.
    // Test: EncodeDCTest.DifferencesBeyondTheTableCodeNothing.
    if (difference >= -2047 && difference <= 2047)
        PutEntry(output, fillCount, table[DcDifferenceIndex(difference)], env);
    env->dcPredictor[componentIndex] = block[0];
    return 0;
}

int32_t EncodeZRL(uint8_t *output, uint32_t *fillCount, const HuffmanEntry *acTable,
                  CompressEnv *env, int32_t *zeroRun) noexcept {
    PutEntry(output, fillCount, acTable[kZeroRun16], env);
    *zeroRun -= 16;
    return 0;
}

int32_t EncodeACCoef(uint8_t *output, uint32_t *fillCount, int32_t *zeroRun, int16_t coefficient,
                     CompressEnv *env, const HuffmanEntry *acTable) noexcept {
    const int32_t category = CSize(coefficient);
    const int32_t appended = coefficient < 0 ? coefficient - 1 : coefficient;
    PutEntry(output, fillCount, acTable[(*zeroRun * 16 + category) & 0xFF], env);
    OutputBits(output, fillCount, static_cast<uint32_t>(appended), category, env);
    *zeroRun = 0;
    return 0;
}

int32_t EncodeAC(const int16_t *block, CompressEnv *env, uint8_t *output, uint32_t *fillCount,
                 const HuffmanEntry *acTable) noexcept {
    int32_t run = 0;
    for (int k = 1; k < kBlockSize; ++k) {
        const int16_t coefficient = block[ZZ[k]];
        if (coefficient != 0) {
            while (run > 15)
                EncodeZRL(output, fillCount, acTable, env, &run);
            EncodeACCoef(output, fillCount, &run, coefficient, env, acTable);
        } else if (k == kBlockSize - 1) {
            PutEntry(output, fillCount, acTable[kEndOfBlock], env);
        } else {
            ++run;
        }
    }
    return 0;
}

int32_t EncodeBlock(uint8_t *output, uint32_t *fillCount, const int16_t *block, CompressEnv *env,
                    int32_t componentIndex) noexcept {
    EncodeDC(block, env, output, fillCount, componentIndex);
    return EncodeAC(block, env, output, fillCount,
                    env->huffmanTable[componentIndex == 0 ? kAcLuminance : kAcChrominance]);
}

} // namespace kowen
