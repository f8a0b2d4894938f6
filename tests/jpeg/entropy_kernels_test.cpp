// The coder's loops in every variant that this machine can run, against the reference: blocks
// made up of coefficients, not of pixels, so that the longest codes and the most stuffing occur.
#include "jpeg/kernels.h"

#include "jpeg/picture_env.h"
#include "jpeg/quant_tables.h"
#include "jpeg/transformed_blocks.h"
#include "reference/jpeg/coder.h"
#include "reference/jpeg/progressive.h"
#include "support/bitmaps.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace kowen {
namespace {

using reference::Block;

enum Filling { kSparse, kRare, kDense, kLargest, kEmpty, kLastOnly, kFillings };

/// A quantised block: DC within reach of any other, AC as the filling says.
Block MakeBlock(TestRandom &random, int filling) {
    Block block = {};
    block[0] = static_cast<int16_t>(random.Between(-1023, 1023));
    for (size_t i = 1; i < 64; ++i) {
        if (filling == kDense || (filling == kSparse && random.Next() % 6 == 0) ||
            (filling == kRare && random.Next() % 20 == 0)) // gaps of more than 15 and 31 zeros
            block[i] = static_cast<int16_t>(random.Between(-1023, 1023) >> random.Between(0, 10));
        else if (filling == kLargest)
            block[i] = random.Next() % 4 == 0 ? -1023 : 1023;
    }
    if (filling == kLastOnly)
        block[63] = 1;
    return block;
}

std::vector<Block> MakeBlocks(size_t count, int filling, uint32_t seed) {
    TestRandom random(seed);
    std::vector<Block> blocks;
    for (size_t i = 0; i < count; ++i)
        blocks.push_back(MakeBlock(
            random, filling == kFillings ? static_cast<int>(random.Next() % kFillings) : filling));
    return blocks;
}

/// A buffer of so many bytes with a guard behind it, and the bits that go there.
class Sink {
public:
    explicit Sink(size_t bytes) : buffer_(bytes + kGuardBytes, kGuard) {
        sink = {0, 0, buffer_.data(), buffer_.data() + bytes};
    }
    ~Sink() {
        for (size_t i = buffer_.size() - kGuardBytes; i < buffer_.size(); ++i)
            EXPECT_EQ(buffer_[i], kGuard) << "written beyond the limit";
    }
    /// The whole bytes; moves on to a fresh buffer.
    std::vector<uint8_t> Take() {
        const std::vector<uint8_t> bytes(buffer_.data(), sink.out);
        sink.out = buffer_.data();
        return bytes;
    }

    BitSink sink = {};

private:
    static constexpr uint8_t kGuard = 0xA5;
    static constexpr size_t kGuardBytes = 64;
    std::vector<uint8_t> buffer_;
};

void Append(std::vector<uint8_t> &all, const std::vector<uint8_t> &more) {
    all.insert(all.end(), more.begin(), more.end());
}

const CodeTables *TablesOf(const PictureEnv &env, int number) {
    return CodeTablesFor(env->operation, number);
}

class EntropyKernelVariant : public testing::TestWithParam<const Kernels *> {};

/// Codes MCUs of up to three components in a variant and in the reference, and compares the bytes,
/// the bits left and the predictors.
struct McuComparison {
    const Kernels &kernels;
    uint32_t componentCount;
    uint32_t firstsBlocks; ///< of the first component, in an MCU; the others have one
    bool asTheFirst;       ///< every component has the tables and the predictor of the first

    uint32_t Blocks(uint32_t c) const { return c == 0 ? firstsBlocks : 1; }
    uint32_t Role(uint32_t c) const { return asTheFirst ? 0 : c; }

    void Run(uint32_t mcus, int filling, size_t roomBytes) const {
        PictureEnv env(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 100, 16, 8);
        std::vector<std::vector<Block>> blocks;
        std::vector<Transformed> transformed;
        int16_t predictors[3] = {};
        std::vector<ComponentBlocks> components;
        for (uint32_t c = 0; c < componentCount; ++c) {
            blocks.push_back(MakeBlocks(Blocks(c) * mcus, filling, c + 1));
            transformed.emplace_back(blocks[c], kernels.zigZag);
        }
        for (uint32_t c = 0; c < componentCount; ++c) {
            const int chroma = Role(c) == 0 ? 0 : 1;
            components.push_back({transformed[c].coefficients.data(), transformed[c].nonZero.data(),
                                  Blocks(c), TablesOf(env, chroma), &predictors[Role(c)]});
        }
        reference::Coder coder(KOWEN_OPERATION_SEQUENTIAL, 100);
        for (size_t mcu = 0; mcu < mcus; ++mcu)
            for (uint32_t c = 0; c < componentCount; ++c)
                for (size_t i = 0; i < Blocks(c); ++i) {
                    const Block &block = blocks[c][mcu * Blocks(c) + i];
                    coder.CodeDc(block, static_cast<int>(Role(c)));
                    coder.CodeAc(block, static_cast<int>(Role(c)));
                }
        Sink output(roomBytes);
        std::vector<uint8_t> bytes;
        for (uint32_t left = mcus; left > 0;) {
            const uint32_t coded =
                kernels.codeMcus(&output.sink, components.data(), componentCount, left);
            ASSERT_GT(coded, 0u);
            left -= coded;
            Append(bytes, output.Take());
            ASSERT_LT(output.sink.pending, 8u);
        }
        EXPECT_EQ(bytes, coder.bits.Bytes()) << filling;
        EXPECT_EQ(output.sink.pending, static_cast<uint32_t>(coder.bits.PendingBits())) << filling;
        EXPECT_EQ(output.sink.accumulator & ((1u << output.sink.pending) - 1),
                  coder.bits.PendingValue())
            << filling;
        for (uint32_t c = 0; c < componentCount; ++c)
            EXPECT_EQ(predictors[Role(c)], coder.predictor[Role(c)]) << filling;
    }
};

// Two luminance blocks and one of each chroma, as colour format 212 has them. The buffer holds
// little more than the room of one MCU, so that the kernel stops and goes on often.
TEST_P(EntropyKernelVariant, CodeMcus) {
    const McuComparison comparison = {*GetParam(), 3, 2, false};
    for (int filling = 0; filling <= kFillings; ++filling)
        comparison.Run(60, filling, kMaxMcuBytes + 100);
}

TEST_P(EntropyKernelVariant, CodeMcusManyAtATime) {
    const McuComparison comparison = {*GetParam(), 3, 2, false};
    for (int filling = 0; filling <= kFillings; ++filling)
        for (const uint32_t mcus : {1u, 2u, 7u, 8u, 9u, 32u, 61u})
            comparison.Run(mcus, filling, mcus * std::size_t{kMaxMcuBytes});
}

// Grey, and three components that share the first's predictor.
TEST_P(EntropyKernelVariant, CodeMcusOfOtherFormats) {
    for (const uint32_t components : {1u, 3u}) {
        const McuComparison comparison = {*GetParam(), components, 1, true};
        for (int filling = 0; filling <= kFillings; ++filling)
            for (const uint32_t mcus : {31u, 32u, 33u, 100u})
                comparison.Run(mcus, filling, 5 * std::size_t{kMaxMcuBytes});
    }
}

TEST_P(EntropyKernelVariant, CodeMcusNeedsRoom) {
    const Kernels &kernels = *GetParam();
    PictureEnv env(KOWEN_FORMAT_GREY, KOWEN_OPERATION_SEQUENTIAL, 100, 8, 8);
    const Transformed transformed(MakeBlocks(1, kSparse, 1), kernels.zigZag);
    int16_t predictor = 0;
    ComponentBlocks component = {transformed.coefficients.data(), transformed.nonZero.data(), 1,
                                 TablesOf(env, 0), &predictor};
    Sink output(kMaxMcuBytes - 1);
    EXPECT_EQ(kernels.codeMcus(&output.sink, &component, 1, 1), 0u);
    EXPECT_TRUE(output.Take().empty());
    EXPECT_EQ(predictor, 0);
}

TEST_P(EntropyKernelVariant, PackBlocks) {
    const Kernels &kernels = *GetParam();
    const std::vector<Block> blocks = MakeBlocks(40, kFillings, 5);
    const Transformed transformed(blocks, kernels.zigZag);
    std::vector<int16_t> dcs(blocks.size());
    std::vector<int16_t> packed(blocks.size() * 64);
    const int16_t *end = kernels.packBlocks(
        transformed.coefficients.data(), transformed.nonZero.data(), 40, dcs.data(), packed.data());
    std::vector<int16_t> expected;
    for (size_t b = 0; b < blocks.size(); ++b) {
        EXPECT_EQ(dcs[b], blocks[b][0]);
        for (size_t k = 1; k < 64; ++k)
            if (const int16_t coefficient = blocks[b][static_cast<size_t>(ZZ[k])])
                expected.push_back(coefficient);
    }
    ASSERT_EQ(static_cast<size_t>(end - packed.data()), expected.size());
    packed.resize(expected.size());
    EXPECT_EQ(packed, expected);
}

TEST_P(EntropyKernelVariant, CodeDcs) {
    constexpr uint32_t kMcus = 3000;
    const Kernels &kernels = *GetParam();
    PictureEnv env(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_PROGRESSIVE, 100, 16, 8);
    reference::Coder coder(KOWEN_OPERATION_PROGRESSIVE, 100);
    TestRandom random(7);
    std::vector<int16_t> dcs[3];
    for (uint32_t mcu = 0; mcu < kMcus; ++mcu)
        for (int c = 0; c < 3; ++c)
            for (int i = 0; i < (c == 0 ? 2 : 1); ++i) {
                Block block = {};
                block[0] = static_cast<int16_t>(
                    random.Next() % 3 == 0 ? random.Between(-3, 3) : random.Between(-1023, 1023));
                dcs[c].push_back(block[0]);
                coder.CodeDc(block, c);
            }
    int16_t predictors[3] = {};
    ComponentDcs components[3];
    for (int c = 0; c < 3; ++c)
        components[c] = {dcs[c].data(), c == 0 ? 2u : 1u, TablesOf(env, c == 0 ? 0 : 1),
                         &predictors[c]};
    Sink output(kMaxMcuBytes + 20);
    std::vector<uint8_t> bytes;
    for (uint32_t left = kMcus; left > 0;) {
        const uint32_t coded = kernels.codeDcs(&output.sink, components, 3, left);
        ASSERT_GT(coded, 0u);
        left -= coded;
        Append(bytes, output.Take());
    }
    EXPECT_EQ(bytes, coder.bits.Bytes());
    EXPECT_EQ(output.sink.pending, static_cast<uint32_t>(coder.bits.PendingBits()));
}

TEST_P(EntropyKernelVariant, CodeAcs) {
    constexpr uint32_t kBlocks = 200;
    const Kernels &kernels = *GetParam();
    PictureEnv env(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_PROGRESSIVE, 100, 16, 8);
    for (int component = 0; component < 2; ++component)
        for (int filling = 0; filling <= kFillings; ++filling) {
            const std::vector<Block> blocks = MakeBlocks(kBlocks, filling, 11);
            reference::Coder coder(KOWEN_OPERATION_PROGRESSIVE, 100);
            int bandEnds = 0;
            for (const Block &block : blocks)
                reference::CodeAcBand(coder, block, bandEnds, component);
            reference::FlushBandEnds(coder, bandEnds, component);

            const Transformed transformed(blocks, kernels.zigZag);
            std::vector<int16_t> dcs(kBlocks);
            std::vector<int16_t> packed(kBlocks * 64);
            kernels.packBlocks(transformed.coefficients.data(), transformed.nonZero.data(), kBlocks,
                               dcs.data(), packed.data());
            AcScan scan = {TablesOf(env, component), 0};
            const int16_t *next = packed.data();
            Sink output(kMaxBlockBytes + 20);
            std::vector<uint8_t> bytes;
            for (uint32_t done = 0; done < kBlocks;) {
                const uint32_t coded = kernels.codeAcs(
                    &output.sink, &scan, transformed.nonZero.data() + done, &next, kBlocks - done);
                ASSERT_GT(coded, 0u);
                done += coded;
                Append(bytes, output.Take());
            }
            kernels.endAcs(&output.sink, &scan);
            Append(bytes, output.Take());
            EXPECT_EQ(bytes, coder.bits.Bytes()) << component << ", " << filling;
            EXPECT_EQ(output.sink.pending, static_cast<uint32_t>(coder.bits.PendingBits()));
            EXPECT_EQ(scan.eobRun, 0u);
        }
}

std::vector<const Kernels *> AllVariants() {
    std::vector<const Kernels *> variants;
    for (const Kernels *const *variant = AvailableKernels(); *variant != nullptr; ++variant)
        variants.push_back(*variant);
    return variants;
}

INSTANTIATE_TEST_SUITE_P(OfThisMachine, EntropyKernelVariant, testing::ValuesIn(AllVariants()),
                         [](const testing::TestParamInfo<const Kernels *> &variant) {
                             return std::string(variant.param->name);
                         });

} // namespace
} // namespace kowen
