// Progressive coding of a whole picture: all blocks are transformed into a store first, then
// coded as one DC scan and one AC scan a component.
#include "jpeg/bands.h"

#include "jpeg/bit_output.h"
#include "jpeg/entropy_coder.h"
#include "jpeg/kernels.h"
#include "jpeg/stream_writer.h"
#include "platform/global_memory.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace kowen {

namespace {

constexpr uint32_t kMaxEobRun = 32767;
constexpr uint32_t kMcuPixels = 16;
constexpr uint32_t kMcuRows = 8;
constexpr uint32_t kRowChunk = 1024; // pixels parted at a time

// One component's blocks, row by row.
struct Component {
    int16_t *coefficients;
    uint64_t *nonZero;
    uint32_t blocksAcross;
    uint32_t blocksInMcu; // across: H

    const int16_t *Block(std::size_t i) const { return coefficients + i * kBlockSize; }
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
    // Luminance has two blocks an MCU, the others one; each component has room for what the
    // kernels write behind its last block.
    const uint64_t mcus = uint64_t{mcusAcross} * mcusDown;
    const uint64_t blocks = 4 * mcus + kComponents * kBlockSlack;
    const uint64_t bytes = blocks * (kBlockSize * sizeof(int16_t) + sizeof(uint64_t));
    if (bytes > UINT32_MAX)
        return false;
    handle = GlobalAlloc(kGlobalFlags, static_cast<uint32_t>(bytes));
    auto *bits = Lock<uint64_t>(handle);
    if (bits == nullptr)
        return false;
    auto *coefficients = reinterpret_cast<int16_t *>(bits + blocks);
    for (int c = 0; c < kComponents; ++c) {
        const uint32_t h = c == 0 ? 2 : 1;
        component[c] = {coefficients, bits, mcusAcross * h, h};
        coefficients += (mcus * h + kBlockSlack) * kBlockSize;
        bits += mcus * h + kBlockSlack;
    }
    return true;
}

// Cuts, transforms and quantises every block of one MCU row.
void TransformMcuRow(const Store &store, CompressEnv &env, const uint8_t *pixels, uint32_t width,
                     uint32_t mcuRow) {
    uint8_t samples[kComponents][kMcuRows][kRowChunk + kSampleSlack];
    for (uint32_t x = 0; x < width; x += kRowChunk) {
        const uint32_t columns = std::min(kRowChunk, width - x);
        for (uint32_t row = 0; row < kMcuRows; ++row)
            ActiveKernels().splitRow422(pixels + (std::size_t{row} * width + x) * kPixelBytes,
                                        columns, samples[0][row], samples[1][row], samples[2][row]);
        for (int c = 0; c < kComponents; ++c) {
            const Component &component = store.component[c];
            const uint32_t blocks = columns / kMcuPixels * component.blocksInMcu;
            const std::size_t first = std::size_t{mcuRow} * component.blocksAcross +
                                      x / kMcuPixels * component.blocksInMcu;
            ActiveKernels().transformBlocks(
                samples[c][0], sizeof(samples[c][0]), blocks, Divisors(&env, c == 0 ? 0 : 1),
                component.coefficients + first * kBlockSize, component.nonZero + first);
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
    EntropyWriter writer(env, fillCount);
    const std::size_t mcus = std::size_t{store.mcusAcross} * store.mcusDown;
    for (std::size_t mcu = 0; mcu < mcus; ++mcu) {
        writer.BeginBlock();
        for (int c = 0; c < kComponents; ++c) {
            const Component &component = store.component[c];
            const HuffmanEntry *differences =
                env.huffmanTable[c == 0 ? kDcDiffLuminance : kDcDiffChrominance];
            for (uint32_t i = 0; i < component.blocksInMcu; ++i)
                PutDc(writer, differences, component.Block(mcu * component.blocksInMcu + i)[0],
                      env.dcPredictor[c]);
        }
        writer.EndBlock();
    }
    writer.End();
    WriteScanPad(nullptr, &fillCount, &env);
}

// Codes the blocks of one AC scan; keeps the run of blocks that end on zeros.
class AcScan {
public:
    AcScan(EntropyWriter &writer, const HuffmanEntry *codes) : writer_(writer), codes_(codes) {}

    void Put(const int16_t *block, uint64_t nonZero) {
        writer_.BeginBlock();
        if ((nonZero & ~uint64_t{1}) != 0) {
            FlushEobRun();
            if (PutAcCoefficients(writer_, codes_, block, nonZero) == 0)
                return;
        }
        if (++eobRun_ == kMaxEobRun)
            FlushEobRun();
    }

    void End() {
        writer_.BeginBlock();
        FlushEobRun();
    }

private:
    // T.81 G.1.2.2: EOBn codes runs of 2^n to 2^(n + 1) - 1, then the run's low n bits.
    void FlushEobRun() {
        if (eobRun_ == 0)
            return;
        const auto n = static_cast<uint32_t>(std::bit_width(eobRun_)) - 1;
        writer_.Put(codes_[n * 16]);
        writer_.Put(eobRun_ & ((1u << n) - 1u), n);
        eobRun_ = 0;
    }

    EntropyWriter &writer_;
    const HuffmanEntry *codes_;
    uint32_t eobRun_ = 0;
};

// Blocks of a component that are coded in the last MCU of a row: those that touch the picture.
uint32_t BlocksInLastMcu(const CompressEnv &env, const Component &component, uint32_t width) {
    if (width != env.paddedWidth || env.imageWidth > width)
        return component.blocksInMcu;
    const uint32_t padding = (env.paddedWidth - env.imageWidth) / 8;
    return std::min(component.blocksInMcu, env.maxH > padding ? env.maxH - padding : 0u);
}

void CodeAcScan(const Store &store, CompressEnv &env, uint32_t &fillCount, int c, uint32_t width) {
    if (!BeginScan(env, fillCount, 1, c, 1, 63))
        return;
    const Component &component = store.component[c];
    const uint32_t skipped = component.blocksInMcu - BlocksInLastMcu(env, component, width);
    EntropyWriter writer(env, fillCount);
    AcScan scan(writer, env.huffmanTable[c == 0 ? kAcLuminance : kAcChrominance]);
    for (uint32_t row = 0; row < store.mcusDown; ++row) {
        const std::size_t first = std::size_t{row} * component.blocksAcross;
        for (std::size_t i = first; i < first + component.blocksAcross - skipped; ++i)
            scan.Put(component.Block(i), component.nonZero[i]);
    }
    scan.End();
    writer.End();
    WriteScanPad(nullptr, &fillCount, &env);
}

} // namespace

int32_t CompressProgressive(uint8_t *, const uint8_t *pixels, uint32_t rows, uint32_t width,
                            CompressEnv *env) noexcept {
    Store store;
    if (!store.Allocate(width, rows)) {
        store.Free();
        return -1;
    }
    if (store.mcusAcross != 0)
        for (uint32_t row = 0; row < store.mcusDown; ++row)
            TransformMcuRow(store, *env, pixels + std::size_t{row} * kMcuRows * width * kPixelBytes,
                            store.mcusAcross * kMcuPixels, row);
    uint32_t fillCount = 0;
    CodeDcScan(store, *env, fillCount);
    for (int c = 0; c < kComponents; ++c)
        CodeAcScan(store, *env, fillCount, c, width);
    store.Free();
    return static_cast<int32_t>(fillCount);
}

} // namespace kowen
