// Sequential coding: rows of mapped pixels are parted into rows of samples, a few MCUs at a time so
// that everything stays in the first cache; edges are repeated there; blocks are transformed side
// by side and coded in MCU order.
#include "jpeg/bands.h"

#include "jpeg/entropy_coder.h"
#include "jpeg/kernels.h"

#include <algorithm>
#include <cstring>

namespace kowen {

namespace {

constexpr uint32_t kChunkSamples = 512; // across, of the widest component
constexpr uint32_t kChunkBlocks = kChunkSamples / 8;

// One component's rows of samples for a chunk of MCUs.
struct SampleRows {
    uint8_t samples[kBandRows][kChunkSamples + kSampleSlack];

    // Repeats the last of width samples up to the padded width, and the last row down to 8 rows.
    void Repeat(uint32_t rows, uint32_t width, uint32_t paddedWidth) {
        for (uint32_t row = 0; row < rows; ++row)
            std::memset(samples[row] + width, samples[row][width - 1], paddedWidth - width);
        for (uint32_t row = rows; row < kBandRows; ++row)
            std::memcpy(samples[row], samples[rows - 1], paddedWidth);
    }
};

// One component's transformed blocks of a chunk.
struct ChunkBlocks {
    int16_t coefficients[(kChunkBlocks + kBlockSlack) * kBlockSize];
    uint64_t nonZero[kChunkBlocks + kBlockSlack];

    void Transform(const SampleRows &rows, uint32_t blocks, const QuantDivisors &divisors) {
        ActiveKernels().transformBlocks(rows.samples[0], sizeof(rows.samples[0]), blocks, divisors,
                                        coefficients, nonZero);
    }
    const int16_t *Block(uint32_t i) const { return coefficients + i * kBlockSize; }
};

// A band as it is walked: chunks of columns, left to right.
struct BandWalk {
    const uint8_t *pixels;
    uint32_t rows;
    uint32_t width;

    const uint8_t *Row(uint32_t row, uint32_t x) const {
        return pixels + (std::size_t{row} * width + x) * kPixelBytes;
    }
};

uint32_t RoundedUp(uint32_t value, uint32_t unit) {
    return (value + unit - 1) / unit * unit;
}

void PutComponentBlock(EntropyWriter &writer, CompressEnv &env, const ChunkBlocks &blocks,
                       uint32_t i, int component) {
    const bool luminance = component == 0;
    PutBlock(writer, env.huffmanTable[luminance ? kDcDiffLuminance : kDcDiffChrominance],
             env.huffmanTable[luminance ? kAcLuminance : kAcChrominance], blocks.Block(i),
             blocks.nonZero[i], env.dcPredictor[component]);
}

// Codes columns x .. x + columns - 1 of a band, colour format 212.
void CodeChunk422(EntropyWriter &writer, CompressEnv &env, const BandWalk &band, uint32_t x,
                  uint32_t columns) {
    SampleRows rows[kComponents];
    for (uint32_t row = 0; row < band.rows; ++row)
        ActiveKernels().splitRow422(band.Row(row, x), columns, rows[0].samples[row],
                                    rows[1].samples[row], rows[2].samples[row]);
    const uint32_t padded = RoundedUp(columns, 16);
    const uint32_t mcus = padded / 16;
    rows[0].Repeat(band.rows, columns, padded);
    rows[1].Repeat(band.rows, (columns + 1) / 2, padded / 2);
    rows[2].Repeat(band.rows, (columns + 1) / 2, padded / 2);

    ChunkBlocks blocks[kComponents];
    blocks[0].Transform(rows[0], 2 * mcus, Divisors(&env, 0));
    blocks[1].Transform(rows[1], mcus, Divisors(&env, 1));
    blocks[2].Transform(rows[2], mcus, Divisors(&env, 1));
    for (uint32_t mcu = 0; mcu < mcus; ++mcu) {
        PutComponentBlock(writer, env, blocks[0], 2 * mcu, 0);
        PutComponentBlock(writer, env, blocks[0], 2 * mcu + 1, 0);
        PutComponentBlock(writer, env, blocks[1], mcu, 1);
        PutComponentBlock(writer, env, blocks[2], mcu, 2);
    }
}

// The same for colour formats 222 and 215.
void CodeChunk444(EntropyWriter &writer, CompressEnv &env, const BandWalk &band, uint32_t x,
                  uint32_t columns) {
    SampleRows rows[kComponents];
    for (uint32_t row = 0; row < band.rows; ++row)
        ActiveKernels().splitRow444(band.Row(row, x), columns, rows[0].samples[row],
                                    rows[1].samples[row], rows[2].samples[row]);
    const uint32_t padded = RoundedUp(columns, 8);
    const uint32_t mcus = padded / 8;
    const auto components = static_cast<int>(std::min<uint32_t>(env.componentCount, kComponents));

    ChunkBlocks blocks[kComponents];
    for (int c = 0; c < components; ++c) {
        rows[c].Repeat(band.rows, columns, padded);
        blocks[c].Transform(rows[c], mcus, Divisors(&env, c == 0 ? 0 : 1));
    }
    // Kept deliberately: every component is coded as the first.
    // Test: CompressBands444.ComponentsShareTheFirstPredictor.
    for (uint32_t mcu = 0; mcu < mcus; ++mcu)
        for (int c = 0; c < components; ++c)
            PutComponentBlock(writer, env, blocks[c], mcu, 0);
}

using CodeChunk = void (*)(EntropyWriter &, CompressEnv &, const BandWalk &, uint32_t, uint32_t);

int32_t CompressBand(const BandWalk &band, CompressEnv &env, CodeChunk codeChunk) {
    uint32_t fillCount = 0;
    if (band.rows == 0 || band.rows > kBandRows)
        return 0;
    EntropyWriter writer(env, fillCount);
    for (uint32_t x = 0; x < band.width; x += kChunkSamples)
        codeChunk(writer, env, band, x, std::min(kChunkSamples, band.width - x));
    writer.End();
    return static_cast<int32_t>(fillCount);
}

} // namespace

int32_t CompressBands422(uint8_t *, const uint8_t *pixels, uint32_t rows, uint32_t width,
                         CompressEnv *env) noexcept {
    return CompressBand({pixels, rows, width}, *env, CodeChunk422);
}

int32_t CompressBands444(uint8_t *, const uint8_t *pixels, uint32_t rows, uint32_t width,
                         CompressEnv *env) noexcept {
    return CompressBand({pixels, rows, width}, *env, CodeChunk444);
}

} // namespace kowen
