// Sequential coding: rows of pixels are deinterleaved into rows of samples, a few MCUs at a time so
// that everything stays in the first cache; edges are repeated there; blocks are transformed side
// by side and coded in MCU order.
#include "jpeg/bands.h"

#include "jpeg/entropy_output.h"
#include "kowen/codes.h"

#include <algorithm>
#include <cstring>

namespace kowen {

namespace {

constexpr uint32_t kChunkSamples = 512; // across, of the widest component
constexpr uint32_t kChunkBlocks = kChunkSamples / 8;

// One component's rows of samples for a chunk of MCUs.
struct SampleRows {
    alignas(64) uint8_t samples[kMcuRowHeight][kChunkSamples + kSampleSlack];

    // Repeats the last of width samples up to the padded width, and the last row down to 8 rows.
    void Repeat(uint32_t rows, uint32_t width, uint32_t paddedWidth) {
        for (uint32_t row = 0; row < rows; ++row)
            std::memset(samples[row] + width, samples[row][width - 1], paddedWidth - width);
        for (uint32_t row = rows; row < kMcuRowHeight; ++row)
            std::memcpy(samples[row], samples[rows - 1], paddedWidth);
    }
};

// One component's transformed blocks of a chunk.
struct ChunkBlocks {
    alignas(64) int16_t coefficients[(kChunkBlocks + kBlockSlack) * kBlockSize];
    uint64_t nonZero[kChunkBlocks + kBlockSlack];

    void Transform(const SampleRows &rows, uint32_t blocks, const QuantDivisors &divisors) {
        ActiveKernels().transformBlocks(rows.samples[0], sizeof(rows.samples[0]), blocks, divisors,
                                        coefficients, nonZero);
    }
};

struct Chunk {
    SampleRows rows[kComponents];
    ChunkBlocks blocks[kComponents];
};

// Too large for a small stack, so the process's: each chunk is made anew, and nothing calls the
// host while it is coded.
constinit Chunk workingChunk = {};

// How a row of pixels becomes rows of samples: mapped rows are deinterleaved, source rows are
// mapped as well.
void Deinterleave422(const uint8_t *row, uint32_t columns, SampleRows *rows, uint32_t y) {
    ActiveKernels().deinterleave422(row, columns, rows[0].samples[y], rows[1].samples[y],
                                    rows[2].samples[y]);
}
void Deinterleave422(uint8_t *row, uint32_t columns, SampleRows *rows, uint32_t y) {
    ActiveKernels().mapAndDeinterleave422(row, columns, rows[0].samples[y], rows[1].samples[y],
                                          rows[2].samples[y]);
}
void Deinterleave444(const uint8_t *row, uint32_t columns, SampleRows *rows, uint32_t y, int32_t) {
    ActiveKernels().deinterleave444(row, columns, rows[0].samples[y], rows[1].samples[y],
                                    rows[2].samples[y]);
}
void Deinterleave444(uint8_t *row, uint32_t columns, SampleRows *rows, uint32_t y,
                     int32_t colorFormat) {
    if (colorFormat == KOWEN_FORMAT_GREY) {
        ActiveKernels().mapAndExtractGrey(row, columns, rows[0].samples[y]);
    } else if (colorFormat == KOWEN_FORMAT_RGB444) {
        ActiveKernels().mapAndDeinterleave444(row, columns, rows[0].samples[y], rows[1].samples[y],
                                              rows[2].samples[y]);
    } else { // a format that only a profile can name: MapColors takes it for luminance and chroma
        ActiveKernels().mapRgbToYcc(row, columns);
        Deinterleave444(static_cast<const uint8_t *>(row), columns, rows, y, colorFormat);
    }
}

uint32_t RoundedUp(uint32_t value, uint32_t unit) {
    return (value + unit - 1) / unit * unit;
}

ComponentBlocks Coded(const ChunkBlocks &blocks, uint32_t blocksInMcu, CompressEnv &env,
                      int component) {
    const bool luminance = component == 0;
    return {blocks.coefficients, blocks.nonZero, blocksInMcu,
            CodeTablesFor(env.operation, luminance ? 0 : 1), &env.dcPredictor[component]};
}

// Prefetches the pixels of the next chunk while this one is coded.
template <typename Byte> void PrefetchChunk(const PixelRows<Byte> &band, uint32_t x) {
    constexpr std::size_t kLineBytes = 64;
    if (x >= band.width)
        return;
    const std::size_t bytes = std::size_t{std::min(kChunkSamples, band.width - x)} * kPixelBytes;
    for (uint32_t y = 0; y < band.rows; ++y)
        for (std::size_t i = 0; i < bytes; i += kLineBytes)
            __builtin_prefetch(band.Row(y) + std::size_t{x} * kPixelBytes + i, 1);
}

// Codes columns x .. x + columns - 1 of a band, colour format 212.
template <typename Byte>
void CodeChunk422(EntropyOutput &output, CompressEnv &env, const PixelRows<Byte> &band, uint32_t x,
                  uint32_t columns) {
    auto &[rows, blocks] = workingChunk;
    for (uint32_t y = 0; y < band.rows; ++y)
        Deinterleave422(band.Row(y) + std::size_t{x} * kPixelBytes, columns, rows, y);
    const uint32_t padded = RoundedUp(columns, 16);
    const uint32_t mcus = padded / 16;
    rows[0].Repeat(band.rows, columns, padded);
    rows[1].Repeat(band.rows, (columns + 1) / 2, padded / 2);
    rows[2].Repeat(band.rows, (columns + 1) / 2, padded / 2);

    blocks[0].Transform(rows[0], 2 * mcus, Divisors(&env, 0));
    blocks[1].Transform(rows[1], mcus, Divisors(&env, 1));
    blocks[2].Transform(rows[2], mcus, Divisors(&env, 1));
    ComponentBlocks components[kComponents] = {
        Coded(blocks[0], 2, env, 0), Coded(blocks[1], 1, env, 1), Coded(blocks[2], 1, env, 2)};
    output.CodeMcus(components, kComponents, mcus);
}

// The same for colour formats 222 and 215.
template <typename Byte>
void CodeChunk444(EntropyOutput &output, CompressEnv &env, const PixelRows<Byte> &band, uint32_t x,
                  uint32_t columns) {
    const uint32_t count = std::min<uint32_t>(env.componentCount, kComponents);
    auto &[rows, blocks] = workingChunk;
    for (uint32_t y = 0; y < band.rows; ++y)
        Deinterleave444(band.Row(y) + std::size_t{x} * kPixelBytes, columns, rows, y,
                        env.colorFormat);
    const uint32_t padded = RoundedUp(columns, 8);
    const uint32_t mcus = padded / 8;

    ComponentBlocks components[kComponents];
    for (uint32_t c = 0; c < count; ++c) {
        rows[c].Repeat(band.rows, columns, padded);
        blocks[c].Transform(rows[c], mcus, Divisors(&env, c == 0 ? 0 : 1));
        // Kept deliberately: every component is coded as the first.
        // Test: CompressBands444.ComponentsShareTheFirstPredictor.
        components[c] = Coded(blocks[c], 1, env, 0);
    }
    if (count > 0)
        output.CodeMcus(components, count, mcus);
}

template <typename Byte>
int32_t CodeBand(const PixelRows<Byte> &band, CompressEnv &env, bool subsampled) {
    uint32_t fillCount = 0;
    if (band.rows == 0 || band.rows > kMcuRowHeight)
        return 0;
    EntropyOutput output(env, fillCount);
    for (uint32_t x = 0; x < band.width; x += kChunkSamples) {
        const uint32_t columns = std::min(kChunkSamples, band.width - x);
        PrefetchChunk(band, x + columns);
        if (subsampled)
            CodeChunk422(output, env, band, x, columns);
        else
            CodeChunk444(output, env, band, x, columns);
    }
    output.End();
    return static_cast<int32_t>(fillCount);
}

MappedRows Packed(const uint8_t *pixels, uint32_t rows, uint32_t width) {
    return {pixels, static_cast<std::ptrdiff_t>(width * kPixelBytes), rows, width};
}

} // namespace

int32_t CompressBands422(uint8_t *, const uint8_t *pixels, uint32_t rows, uint32_t width,
                         CompressEnv *env) noexcept {
    return CodeBand(Packed(pixels, rows, width), *env, true);
}

int32_t CompressBands444(uint8_t *, const uint8_t *pixels, uint32_t rows, uint32_t width,
                         CompressEnv *env) noexcept {
    return CodeBand(Packed(pixels, rows, width), *env, false);
}

int32_t MapAndCompressBand(const SourceRows &rows, CompressEnv *env) noexcept {
    return CodeBand(rows, *env, env->colorFormat == KOWEN_FORMAT_YCC422);
}

} // namespace kowen
