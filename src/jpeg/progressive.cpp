// Progressive coding of a whole picture: all blocks are transformed into a store first, then
// coded as one DC scan and one AC scan a component. Of each block the store keeps the DC, a bit per
// AC coefficient that is not 0, and those coefficients; memory that it does not need stays
// untouched.
#include "jpeg/bands.h"

#include "jpeg/bit_output.h"
#include "jpeg/entropy_output.h"
#include "jpeg/stream_writer.h"
#include "platform/global_memory.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace kowen {

namespace {

constexpr uint32_t kMcuPixels = 16;
constexpr uint32_t kMcuRows = 8;
constexpr uint32_t kChunkPixels = 512; // deinterleaved and transformed at a time
constexpr uint32_t kChunkBlocks = kChunkPixels / 8;

// One component's blocks, row by row.
struct Component {
    uint64_t *nonZero; ///< per block: a bit per zig-zag position
    int16_t *dcs;      ///< per block
    int16_t *packed;   ///< AC coefficients that are not 0, of all blocks, in zig-zag order
    int16_t *packedEnd;
    uint32_t blocksInMcu; ///< across: H
};

// The coefficient store: the blocks of all components in one block of global memory.
struct Store {
    MemoryHandle handle = 0;
    Component component[kComponents] = {};
    uint32_t mcusAcross = 0;
    uint32_t mcusDown = 0;

    bool Allocate(uint32_t width, uint32_t rows);
    void Free() {
        GlobalUnlock(handle);
        GlobalFree(handle);
    }
};

bool Store::Allocate(uint32_t width, uint32_t rows) {
    mcusAcross = width / kMcuPixels;
    mcusDown = rows / kMcuRows;
    const uint64_t mcus = uint64_t{mcusAcross} * mcusDown;
    const uint64_t blocks = 4 * mcus; // an MCU has two of luminance, one of each chroma
    const uint64_t bytes = blocks * (sizeof(uint64_t) + kBlockSize * sizeof(int16_t));
    if (bytes > UINT32_MAX)
        return false;
    handle = GlobalAlloc(kGlobalFlags, static_cast<uint32_t>(bytes));
    auto *bits = Lock<uint64_t>(handle);
    if (bits == nullptr)
        return false;
    auto *words = reinterpret_cast<int16_t *>(bits + blocks);
    for (int c = 0; c < kComponents; ++c) {
        const uint32_t h = c == 0 ? 2 : 1;
        component[c] = {bits, words, words + mcus * h, words + mcus * h, h};
        bits += mcus * h;
        words += mcus * h * kBlockSize;
    }
    return true;
}

// A chunk of columns of one MCU row: rows of samples, and one component's transformed blocks.
struct Chunk {
    uint8_t samples[kComponents][kMcuRows][kChunkPixels + kSampleSlack];
    alignas(64) int16_t coefficients[(kChunkBlocks + kBlockSlack) * kBlockSize];
    uint64_t nonZero[kChunkBlocks + kBlockSlack];

    // Repeats columns - 1's pixel up to the padded width: in chroma too the last pixel, whether
    // its column is even or odd.
    void RepeatPixel(uint32_t row, const uint8_t *pixel, uint32_t columns, uint32_t padded) {
        std::memset(samples[0][row] + columns, pixel[0], padded - columns);
        for (int c = 1; c < kComponents; ++c)
            std::memset(samples[c][row] + (columns + 1) / 2, pixel[c],
                        padded / 2 - (columns + 1) / 2);
    }
    void RepeatRow(uint32_t row) {
        for (auto &component : samples)
            std::memcpy(component[row], component[row - 1], kChunkPixels);
    }
};

// Too large for a small stack, so the process's: each chunk is made anew, and nothing calls the
// host before it is stored.
constinit Chunk workingChunk = {};

void Deinterleave(const uint8_t *row, uint32_t columns, Chunk &chunk, uint32_t y) {
    ActiveKernels().deinterleave422(row, columns, chunk.samples[0][y], chunk.samples[1][y],
                                    chunk.samples[2][y]);
}
void Deinterleave(uint8_t *row, uint32_t columns, Chunk &chunk, uint32_t y) {
    ActiveKernels().mapAndDeinterleave422(row, columns, chunk.samples[0][y], chunk.samples[1][y],
                                          chunk.samples[2][y]);
}

// Transforms a chunk's blocks and keeps them as the store does.
void StoreBlocks(Component &component, Chunk &chunk, int c, uint32_t blocks,
                 const QuantDivisors &divisors, std::size_t first) {
    ActiveKernels().transformBlocks(chunk.samples[c][0], sizeof(chunk.samples[c][0]), blocks,
                                    divisors, chunk.coefficients, chunk.nonZero);
    std::memcpy(component.nonZero + first, chunk.nonZero, blocks * sizeof(chunk.nonZero[0]));
    component.packedEnd = ActiveKernels().packBlocks(chunk.coefficients, chunk.nonZero, blocks,
                                                     component.dcs + first, component.packedEnd);
}

// Cuts, transforms and keeps every block of one MCU row, whose last rows and columns repeat.
template <typename Byte>
void StoreMcuRow(Store &store, CompressEnv &env, const PixelRows<Byte> &picture, uint32_t mcuRow) {
    const uint32_t firstRow = mcuRow * kMcuRows;
    const uint32_t realRows = std::min(kMcuRows, picture.rows - firstRow);
    const uint32_t paddedWidth = store.mcusAcross * kMcuPixels;
    Chunk &chunk = workingChunk;
    for (uint32_t x = 0; x < paddedWidth; x += kChunkPixels) {
        const uint32_t padded = std::min(kChunkPixels, paddedWidth - x);
        const uint32_t columns = std::min(padded, picture.width - x);
        for (uint32_t y = 0; y < realRows; ++y) {
            Byte *row = picture.Row(firstRow + y) + std::size_t{x} * kPixelBytes;
            Deinterleave(row, columns, chunk, y);
            chunk.RepeatPixel(y, row + std::size_t{columns - 1} * kPixelBytes, columns, padded);
        }
        for (uint32_t y = realRows; y < kMcuRows; ++y)
            chunk.RepeatRow(y);
        for (int c = 0; c < kComponents; ++c) {
            Component &component = store.component[c];
            const std::size_t firstMcu = std::size_t{mcuRow} * store.mcusAcross + x / kMcuPixels;
            StoreBlocks(component, chunk, c, padded / kMcuPixels * component.blocksInMcu,
                        Divisors(&env, c == 0 ? 0 : 1), firstMcu * component.blocksInMcu);
        }
    }
}

bool BeginScan(CompressEnv &env, uint32_t &fillCount, int32_t componentCount,
               int32_t componentIndex, int32_t ss, int32_t se) {
    if (ReserveOutput(&env, &fillCount, kMaxScanHeaderBytes) != 0)
        return false;
    OutputScanHeader(env.outputBuffer + fillCount, &fillCount, componentCount, componentIndex, ss,
                     se, 0, 0);
    return true;
}

void CodeDcScan(const Store &store, CompressEnv &env, uint32_t &fillCount) {
    if (!BeginScan(env, fillCount, kComponents, 0, 0, 0))
        return;
    ComponentDcs components[kComponents];
    for (int c = 0; c < kComponents; ++c)
        components[c] = {store.component[c].dcs, store.component[c].blocksInMcu,
                         CodeTablesFor(env.operation, c == 0 ? 0 : 1), &env.dcPredictor[c]};
    EntropyOutput output(env, fillCount);
    output.CodeDcs(components, kComponents, store.mcusAcross * store.mcusDown);
    output.End();
    WriteScanPad(nullptr, &fillCount, &env);
}

// Blocks of a component that are coded in the last MCU of a row: those that touch the picture.
uint32_t BlocksInLastMcu(const CompressEnv &env, const Component &component, uint32_t width) {
    if (width != env.paddedWidth)
        return component.blocksInMcu;
    const uint32_t padding = (env.paddedWidth - env.imageWidth) / 8;
    return std::min(component.blocksInMcu, env.maxH > padding ? env.maxH - padding : 0u);
}

// AC coefficients that blocks have in the store.
std::size_t PackedCount(const uint64_t *nonZero, uint32_t blocks) {
    std::size_t count = 0;
    for (uint32_t b = 0; b < blocks; ++b)
        count += static_cast<std::size_t>(std::popcount(nonZero[b] & ~uint64_t{1}));
    return count;
}

void CodeAcScan(const Store &store, CompressEnv &env, uint32_t &fillCount, int c) {
    if (!BeginScan(env, fillCount, 1, c, 1, 63))
        return;
    const Component &component = store.component[c];
    const uint32_t across = store.mcusAcross * component.blocksInMcu;
    const uint32_t skipped =
        component.blocksInMcu - BlocksInLastMcu(env, component, store.mcusAcross * kMcuPixels);
    const uint64_t *nonZero = component.nonZero;
    const int16_t *packed = component.packed;
    EntropyOutput output(env, fillCount);
    AcScan scan = {CodeTablesFor(env.operation, c == 0 ? 0 : 1), 0};
    for (uint32_t row = 0; across != 0 && row < store.mcusDown; ++row, nonZero += across) {
        output.CodeAcs(scan, nonZero, packed, across - skipped);
        packed += PackedCount(nonZero + across - skipped, skipped);
    }
    output.EndAcs(scan);
    output.End();
    WriteScanPad(nullptr, &fillCount, &env);
}

// rows, width: the padded size; the picture's own may be less.
template <typename Byte>
int32_t CodePicture(const PixelRows<Byte> &picture, uint32_t rows, uint32_t width,
                    CompressEnv &env) {
    Store store;
    if (!store.Allocate(width, rows)) {
        store.Free();
        return -1;
    }
    for (uint32_t row = 0; row < store.mcusDown; ++row)
        StoreMcuRow(store, env, picture, row);
    uint32_t fillCount = 0;
    CodeDcScan(store, env, fillCount);
    for (int c = 0; c < kComponents; ++c)
        CodeAcScan(store, env, fillCount, c);
    store.Free();
    return fillCount > INT32_MAX ? -1 : static_cast<int32_t>(fillCount);
}

} // namespace

int32_t CompressProgressive(uint8_t *, const uint8_t *pixels, uint32_t rows, uint32_t width,
                            CompressEnv *env) noexcept {
    const MappedRows picture = {pixels, static_cast<std::ptrdiff_t>(width * kPixelBytes), rows,
                                width};
    return CodePicture(picture, rows, width, *env);
}

int32_t MapAndCompressProgressive(const SourceRows &rows, CompressEnv *env) noexcept {
    uint32_t paddedWidth = 0;
    uint32_t paddedRows = 0;
    if (FindWidthHeightMCU(&paddedWidth, &paddedRows, rows.width, rows.rows, env->colorFormat) != 0)
        return -1;
    return CodePicture(rows, paddedRows, paddedWidth, *env);
}

} // namespace kowen
