// Every variant of every kernel that this machine can run, against the reference.
#include "jpeg/kernels.h"

#include "jpeg/compress_env.h"
#include "jpeg/quant_tables.h"
#include "reference/jpeg/coder.h"
#include "support/bitmaps.h"
#include "support/scoped_environment.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace kowen {
namespace {

using reference::Block;
using reference::Pixel;

std::vector<const Kernels *> Available() {
    std::vector<const Kernels *> kernels;
    for (const Kernels *const *k = AvailableKernels(); *k != nullptr; ++k)
        kernels.push_back(*k);
    return kernels;
}

TEST(AvailableKernels, BeginWithTheScalarVariantAndHoldTheActiveOne) {
    const auto kernels = Available();
    ASSERT_FALSE(kernels.empty());
    EXPECT_EQ(kernels.front(), &kScalarKernels);
    EXPECT_NE(std::find(kernels.begin(), kernels.end(), &ActiveKernels()), kernels.end());
}

TEST(AvailableKernels, AreAllThatTheMachineCanRun) {
    const struct {
        InstructionSet set;
        const char *name;
    } kVariants[] = {{InstructionSet::kSse41, "sse41"},
                     {InstructionSet::kAvx2, "avx2"},
                     {InstructionSet::kAvx512, "avx512"},
                     {InstructionSet::kNeon, "neon"}};
    std::vector<std::string> expected = {"scalar"}, names;
    for (const auto &variant : kVariants)
        if (MachineHas(variant.set))
            expected.emplace_back(variant.name);
    for (const Kernels *kernels : Available())
        names.emplace_back(kernels->name);
    EXPECT_EQ(names, expected);
}

TEST(ActiveKernels, AreThoseThatTheEnvironmentNames) {
    for (const Kernels *kernels : Available()) {
        const ScopedEnvironment wanted("KOWEN_KERNELS", kernels->name);
        UseKernels(nullptr);
        EXPECT_EQ(&ActiveKernels(), kernels) << kernels->name;
    }
    UseKernels(nullptr);
}

TEST(ActiveKernels, AreTheBestOnesForANameThatThereIsNot) {
    for (const char *name : {"", "avx", "SCALAR", "scalar ", "avx5120"}) {
        const ScopedEnvironment wanted("KOWEN_KERNELS", name);
        UseKernels(nullptr);
        EXPECT_EQ(&ActiveKernels(), Available().back()) << name;
    }
    UseKernels(nullptr);
}

class KernelVariant : public testing::TestWithParam<const Kernels *> {
protected:
    using RowKernel = void (*)(uint8_t *, uint32_t);

    static constexpr uint8_t kGuard = 0xA5;
    static constexpr size_t kGuardBytes = 70;

    // Runs the kernel on rows of every width, in a block that ends with guard bytes.
    static void ExpectMapping(RowKernel kernel, int colorFormat, bool bgr) {
        TestRandom random(17);
        for (size_t width = 1; width <= 200; ++width) {
            std::vector<uint8_t> row(width * 3);
            for (uint8_t &byte : row)
                byte = random.Next() % 4 == 0 ? 255 : random.Byte();
            std::vector<uint8_t> mapped = row;
            mapped.resize(row.size() + kGuardBytes, kGuard);
            kernel(mapped.data(), static_cast<uint32_t>(width));
            for (size_t i = 0; i < width; ++i) {
                const Pixel before = {row[3 * i], row[3 * i + 1], row[3 * i + 2]};
                const Pixel after = {mapped[3 * i], mapped[3 * i + 1], mapped[3 * i + 2]};
                ASSERT_EQ(after, reference::Mapped(before, colorFormat, bgr)) << width << ": " << i;
            }
            for (size_t i = row.size(); i < mapped.size(); ++i)
                ASSERT_EQ(mapped[i], kGuard) << width;
        }
    }

    // Every combination of bytes in steps, through rows of an odd width.
    static void ExpectMappingOfTheCube(RowKernel kernel, int colorFormat, bool bgr, int step) {
        std::vector<uint8_t> row;
        for (int r = 0; r < 256; r += step)
            for (int g = 0; g < 256; g += step)
                for (int b = 0; b < 256; b += step)
                    for (const int byte : {r, g, b})
                        row.push_back(static_cast<uint8_t>(byte));
        std::vector<uint8_t> mapped = row;
        kernel(mapped.data(), static_cast<uint32_t>(row.size() / 3));
        for (size_t i = 0; i < row.size(); i += 3) {
            const Pixel plain =
                reference::Mapped({row[i], row[i + 1], row[i + 2]}, colorFormat, bgr);
            if (plain != Pixel{mapped[i], mapped[i + 1], mapped[i + 2]})
                FAIL() << +row[i] << ", " << +row[i + 1] << ", " << +row[i + 2];
        }
    }
};

TEST_P(KernelVariant, MapRgbToYcc) {
    ExpectMapping(GetParam()->mapRgbToYcc, KOWEN_FORMAT_YCC422, false);
    ExpectMappingOfTheCube(GetParam()->mapRgbToYcc, KOWEN_FORMAT_YCC422, false, 3);
}

TEST_P(KernelVariant, MapBgrToYcc) {
    ExpectMapping(GetParam()->mapBgrToYcc, KOWEN_FORMAT_YCC422, true);
    ExpectMappingOfTheCube(GetParam()->mapBgrToYcc, KOWEN_FORMAT_YCC422, true, 5);
}

TEST_P(KernelVariant, MapToGrey) {
    ExpectMapping(GetParam()->mapToGrey, KOWEN_FORMAT_GREY, false);
    ExpectMappingOfTheCube(GetParam()->mapToGrey, KOWEN_FORMAT_GREY, false, 3);
}

TEST_P(KernelVariant, SwapFirstAndThird) {
    ExpectMapping(GetParam()->swapFirstAndThird, KOWEN_FORMAT_RGB444, false);
}

TEST_P(KernelVariant, Deinterleave422) {
    TestRandom random(19);
    for (size_t width = 1; width <= 200; ++width) {
        std::vector<uint8_t> row(width * 3);
        for (uint8_t &byte : row)
            byte = random.Byte();
        const size_t half = (width + 1) / 2;
        std::vector<uint8_t> first(width + 1, kGuard);
        std::vector<uint8_t> second(half + 1, kGuard);
        std::vector<uint8_t> third(half + 1, kGuard);
        GetParam()->deinterleave422(row.data(), static_cast<uint32_t>(width), first.data(),
                                    second.data(), third.data());
        for (size_t x = 0; x < width; ++x)
            ASSERT_EQ(first[x], row[3 * x]) << width << ": " << x;
        for (size_t x = 0; x < half; ++x) {
            ASSERT_EQ(second[x], row[6 * x + 1]) << width << ": " << x;
            ASSERT_EQ(third[x], row[6 * x + 2]) << width << ": " << x;
        }
        ASSERT_EQ(first[width], kGuard) << width;
        ASSERT_EQ(second[half], kGuard) << width;
        ASSERT_EQ(third[half], kGuard) << width;
    }
}

TEST_P(KernelVariant, Deinterleave444) {
    TestRandom random(23);
    for (size_t width = 1; width <= 200; ++width) {
        std::vector<uint8_t> row(width * 3);
        for (uint8_t &byte : row)
            byte = random.Byte();
        std::vector<uint8_t> planes[3];
        for (auto &plane : planes)
            plane.assign(width + 1, kGuard);
        GetParam()->deinterleave444(row.data(), static_cast<uint32_t>(width), planes[0].data(),
                                    planes[1].data(), planes[2].data());
        for (size_t c = 0; c < 3; ++c) {
            for (size_t x = 0; x < width; ++x)
                ASSERT_EQ(planes[c][x], row[3 * x + c]) << width << ": " << x;
            ASSERT_EQ(planes[c][width], kGuard) << width;
        }
    }
}

// Maps in place and deinterleaves at once; what it deinterleaves is what the row holds afterwards.
TEST_P(KernelVariant, MapAndDeinterleave) {
    struct {
        void (*take)(const Kernels &, uint8_t *, uint32_t, std::vector<uint8_t> *);
        int colorFormat;
        size_t components;
        size_t step; // between the second and third component's samples
    } const cases[] = {
        {[](const Kernels &k, uint8_t *row, uint32_t width, std::vector<uint8_t> *planes) {
             k.mapAndDeinterleave422(row, width, planes[0].data(), planes[1].data(),
                                     planes[2].data());
         },
         KOWEN_FORMAT_YCC422, 3, 2},
        {[](const Kernels &k, uint8_t *row, uint32_t width, std::vector<uint8_t> *planes) {
             k.mapAndDeinterleave444(row, width, planes[0].data(), planes[1].data(),
                                     planes[2].data());
         },
         KOWEN_FORMAT_RGB444, 3, 1},
        {[](const Kernels &k, uint8_t *row, uint32_t width, std::vector<uint8_t> *planes) {
             k.mapAndExtractGrey(row, width, planes[0].data());
         },
         KOWEN_FORMAT_GREY, 1, 1},
    };
    TestRandom random(37);
    for (const auto &each : cases)
        for (size_t width = 1; width <= 200; ++width) {
            std::vector<uint8_t> row(width * 3);
            for (uint8_t &byte : row)
                byte = random.Byte();
            std::vector<uint8_t> mapped = row;
            mapped.resize(row.size() + kGuardBytes, kGuard);
            std::vector<uint8_t> planes[3];
            for (auto &plane : planes)
                plane.assign(width + 1, kGuard);
            each.take(*GetParam(), mapped.data(), static_cast<uint32_t>(width), planes);
            for (size_t x = 0; x < width; ++x) {
                const Pixel before = {row[3 * x], row[3 * x + 1], row[3 * x + 2]};
                const Pixel after = {mapped[3 * x], mapped[3 * x + 1], mapped[3 * x + 2]};
                ASSERT_EQ(after, reference::Mapped(before, each.colorFormat)) << width << ": " << x;
            }
            for (size_t i = row.size(); i < mapped.size(); ++i)
                ASSERT_EQ(mapped[i], kGuard) << width;
            for (size_t c = 0; c < each.components; ++c) {
                const size_t step = c == 0 ? 1 : each.step;
                const size_t samples = (width + step - 1) / step;
                for (size_t i = 0; i < samples; ++i)
                    ASSERT_EQ(planes[c][i], mapped[3 * i * step + c]) << width << ": " << i;
                ASSERT_EQ(planes[c][samples], kGuard) << each.colorFormat << ", " << width;
            }
        }
}

/// Samples of blocks side by side, coded by the kernel and by the reference.
class Blocks {
public:
    Blocks(uint32_t count, int quality) : count_(count) {
        SetQTable(&env_, quality, KOWEN_FORMAT_YCC422);
        samples_.assign(8 * Stride() + kSampleSlack, 0);
    }
    uint32_t Stride() const { return count_ * 8; }
    uint8_t &Sample(uint32_t block, size_t place) {
        return samples_[place / 8 * Stride() + block * 8 + place % 8];
    }

    void ExpectPlain(const Kernels &kernels, int table) {
        std::vector<int16_t> coefficients((count_ + kBlockSlack) * 64);
        std::vector<uint64_t> nonZero(count_ + kBlockSlack);
        kernels.transformBlocks(samples_.data(), Stride(), count_, Divisors(&env_, table),
                                coefficients.data(), nonZero.data());
        for (uint32_t b = 0; b < count_; ++b) {
            const Block plain = Plainly(b, table);
            uint64_t positions = 0;
            for (size_t k = 0; k < 64; ++k) {
                const auto rowMajor = static_cast<size_t>(ZZ[k]);
                ASSERT_EQ(coefficients[b * 64 + (kernels.zigZag ? k : rowMajor)], plain[rowMajor])
                    << "position " << k << " of block " << b << " of " << count_;
                if (plain[rowMajor] != 0)
                    positions |= uint64_t{1} << k;
            }
            ASSERT_EQ(nonZero[b], positions) << "block " << b << " of " << count_;
        }
    }

private:
    Block Plainly(uint32_t block, int table) {
        Block plain =
            reference::CutBlock([&](int x, int y) { return Sample(block, size_t(y * 8 + x)); });
        reference::ForwardDct(plain);
        reference::QuantTable quantisers;
        std::copy(std::begin(env_.quantTable[table]), std::end(env_.quantTable[table]),
                  quantisers.begin());
        reference::Quantise(plain, quantisers);
        return plain;
    }

    uint32_t count_;
    CompressEnv env_ = {};
    std::vector<uint8_t> samples_;
};

TEST_P(KernelVariant, TransformBlocksOfNoise) {
    TestRandom random(29);
    for (const int quality : {0, 1, 50, 75, 99, 100})
        for (uint32_t count = 1; count <= 20; ++count) {
            Blocks blocks(count, quality);
            for (uint32_t b = 0; b < count; ++b) {
                const int reach = 1 << (random.Next() % 8);
                for (size_t place = 0; place < 64; ++place)
                    blocks.Sample(b, place) = static_cast<uint8_t>(
                        std::clamp(random.Between(-reach, reach) + 128, 0, 255));
            }
            blocks.ExpectPlain(*GetParam(), static_cast<int>(count % 2));
        }
}

TEST_P(KernelVariant, TransformBlocksOfExtremes) {
    TestRandom random(31);
    for (const int quality : {1, 75, 100})
        for (int round = 0; round < 100; ++round) {
            Blocks blocks(8, quality);
            for (uint32_t b = 0; b < 8; ++b)
                for (size_t place = 0; place < 64; ++place)
                    blocks.Sample(b, place) = random.Next() % 2 == 0 ? 0 : 255;
            blocks.ExpectPlain(*GetParam(), round % 2);
        }
}

// The samples that drive each coefficient to its extreme, where 16-bit sums would wrap.
TEST_P(KernelVariant, TransformBlocksOfExtremeCoefficients) {
    for (int v = 0; v < 8; ++v) {
        Blocks blocks(16, 100);
        for (uint32_t b = 0; b < 16; ++b)
            for (size_t place = 0; place < 64; ++place) {
                const int x = static_cast<int>(place % 8);
                const int y = static_cast<int>(place / 8);
                // The sign of cos((2x + 1) u pi / 16) turns after every half period.
                const auto negative = [](int at, int frequency) {
                    return ((2 * at + 1) * frequency + 8) / 16 % 2 != 0;
                };
                const bool high =
                    (negative(x, static_cast<int>(b % 8)) == negative(y, v)) == (b < 8);
                blocks.Sample(b, place) = high ? 255 : 0;
            }
        blocks.ExpectPlain(*GetParam(), 0);
    }
}

TEST_P(KernelVariant, TransformFlatBlocks) {
    Blocks blocks(256, 100);
    for (uint32_t b = 0; b < 256; ++b)
        for (size_t place = 0; place < 64; ++place)
            blocks.Sample(b, place) = static_cast<uint8_t>(b);
    blocks.ExpectPlain(*GetParam(), 0);
    blocks.ExpectPlain(*GetParam(), 1);
}

// Nothing is coded into a buffer that is too full for another MCU, and nothing is stored there.
TEST_P(KernelVariant, FullBuffersStayAsTheyAre) {
    uint8_t buffer[16];
    std::fill(std::begin(buffer), std::end(buffer), kGuard);
    const BitSink full = {0b101, 3, buffer, buffer};
    BitSink sink = full;
    int16_t predictor = 7;
    const int16_t dc = 9;
    ComponentDcs dcs = {&dc, 1, nullptr, &predictor};
    EXPECT_EQ(GetParam()->codeDcs(&sink, &dcs, 1, 1), 0u);
    const int16_t coefficients[64] = {9};
    const uint64_t nonZero = 1;
    ComponentBlocks blocks = {.coefficients = coefficients,
                              .nonZero = &nonZero,
                              .blocksInMcu = 1,
                              .tables = nullptr,
                              .predictor = &predictor};
    EXPECT_EQ(GetParam()->codeMcus(&sink, &blocks, 1, 1), 0u);
    AcScan scan = {.tables = nullptr, .eobRun = 5};
    const int16_t *packed = coefficients;
    EXPECT_EQ(GetParam()->codeAcs(&sink, &scan, &nonZero, &packed, 1), 0u);
    EXPECT_EQ(sink.accumulator, full.accumulator);
    EXPECT_EQ(sink.pending, full.pending);
    EXPECT_EQ(sink.out, buffer);
    EXPECT_EQ(predictor, 7);
    EXPECT_EQ(scan.eobRun, 5u);
    EXPECT_TRUE(std::all_of(std::begin(buffer), std::end(buffer),
                            [](uint8_t byte) { return byte == kGuard; }));
}

INSTANTIATE_TEST_SUITE_P(OfThisMachine, KernelVariant, testing::ValuesIn(Available()),
                         [](const testing::TestParamInfo<const Kernels *> &variant) {
                             std::string name = variant.param->name;
                             std::erase_if(name, [](char c) { return std::isalnum(c) == 0; });
                             return name;
                         });

} // namespace
} // namespace kowen
