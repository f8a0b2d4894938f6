// Every variant of the encoder's kernels that this machine can run, on any rows, blocks and
// coefficients, next to the reference.
//
// All inputs and outputs are blocks of exactly the bytes that a kernel may touch. Output buffers
// often hold little more than one step needs, so that the kernels stop and go on.
#include "fuzz/exactly.h"
#include "fuzz/input.h"

#include "jpeg/compress_env.h"
#include "jpeg/kernels.h"
#include "jpeg/picture_env.h"
#include "jpeg/quant_tables.h"
#include "jpeg/transformed_blocks.h"
#include "reference/jpeg/coder.h"
#include "reference/jpeg/colors.h"
#include "reference/jpeg/progressive.h"

#include <algorithm>
#include <vector>

namespace {

using namespace kowen;
using fuzz::Bytes;
using fuzz::Exactly;
using fuzz::Input;
using fuzz::Require;
using reference::Block;
using reference::Pixel;

constexpr uint32_t kMostWidth = 150;
constexpr uint32_t kMostBlocks = 12;
constexpr uint32_t kMostMcus = 12;

template <typename Run> void WithEachVariant(Run run) {
    for (const Kernels *const *variant = AvailableKernels(); *variant != nullptr; ++variant)
        run(**variant);
}

void RequireSame(const Bytes &bytes, const Bytes &expected) {
    Require(bytes == expected, "the bytes of the reference");
}

Bytes MappedRow(const Bytes &row, int colorFormat, bool bgr) {
    Bytes mapped;
    for (size_t i = 0; i < row.size(); i += 3) {
        const Pixel pixel = reference::Mapped({row[i], row[i + 1], row[i + 2]}, colorFormat, bgr);
        mapped.insert(mapped.end(), pixel.begin(), pixel.end());
    }
    return mapped;
}

/// Byte number place of every step-th pixel.
Bytes Samples(const Bytes &row, size_t place, size_t step) {
    Bytes samples;
    for (size_t i = 0; i < row.size(); i += 3 * step)
        samples.push_back(row[i + place]);
    return samples;
}

using MapKernel = void (*Kernels::*)(uint8_t *, uint32_t);
using DeinterleaveKernel = void (*Kernels::*)(const uint8_t *, uint32_t, uint8_t *, uint8_t *,
                                              uint8_t *);
using MapAndDeinterleaveKernel = void (*Kernels::*)(uint8_t *, uint32_t, uint8_t *, uint8_t *,
                                                    uint8_t *);

uint32_t Width(const Bytes &row) {
    return static_cast<uint32_t>(row.size() / 3);
}

void Map(const Bytes &row, MapKernel kernel, int colorFormat, bool bgr) {
    const Bytes expected = MappedRow(row, colorFormat, bgr);
    WithEachVariant([&](const Kernels &variant) {
        const Exactly<uint8_t> pixels(row);
        (variant.*kernel)(pixels.Get(), Width(row));
        RequireSame(pixels.Values(), expected);
    });
}

/// The three planes that a row is deinterleaved into; step: between the samples of the last two.
struct Planes {
    Planes(size_t width, size_t step)
        : first(width), second((width + step - 1) / step), third((width + step - 1) / step) {}

    void RequireOf(const Bytes &row, size_t step) const {
        RequireSame(first.Values(), Samples(row, 0, 1));
        RequireSame(second.Values(), Samples(row, 1, step));
        RequireSame(third.Values(), Samples(row, 2, step));
    }

    Exactly<uint8_t> first, second, third;
};

void Deinterleave(const Bytes &row, DeinterleaveKernel kernel, size_t step) {
    WithEachVariant([&](const Kernels &variant) {
        const Exactly<uint8_t> pixels(row);
        const Planes planes(Width(row), step);
        (variant.*kernel)(pixels.Get(), Width(row), planes.first.Get(), planes.second.Get(),
                          planes.third.Get());
        planes.RequireOf(row, step);
    });
}

void MapAndDeinterleave(const Bytes &row, MapAndDeinterleaveKernel kernel, int colorFormat,
                        size_t step) {
    const Bytes expected = MappedRow(row, colorFormat, false);
    WithEachVariant([&](const Kernels &variant) {
        const Exactly<uint8_t> pixels(row);
        const Planes planes(Width(row), step);
        (variant.*kernel)(pixels.Get(), Width(row), planes.first.Get(), planes.second.Get(),
                          planes.third.Get());
        RequireSame(pixels.Values(), expected);
        planes.RequireOf(expected, step);
    });
}

void MapAndExtractGrey(const Bytes &row) {
    const Bytes expected = MappedRow(row, 215, false);
    WithEachVariant([&](const Kernels &variant) {
        const Exactly<uint8_t> pixels(row);
        const Exactly<uint8_t> greys(Width(row));
        variant.mapAndExtractGrey(pixels.Get(), Width(row), greys.Get());
        RequireSame(pixels.Values(), expected);
        RequireSame(greys.Values(), Samples(expected, 0, 1));
    });
}

void Rows(Input *input) {
    const uint32_t kernel = input->Below(9);
    const Bytes row = input->Fill(3 * (1 + input->Below(kMostWidth)));
    switch (kernel) {
    case 0:
        return Map(row, &Kernels::mapRgbToYcc, 212, false);
    case 1:
        return Map(row, &Kernels::mapBgrToYcc, 212, true);
    case 2:
        return Map(row, &Kernels::mapToGrey, 215, false);
    case 3:
        return Map(row, &Kernels::swapFirstAndThird, 222, false);
    case 4:
        return Deinterleave(row, &Kernels::deinterleave422, 2);
    case 5:
        return Deinterleave(row, &Kernels::deinterleave444, 1);
    case 6:
        return MapAndDeinterleave(row, &Kernels::mapAndDeinterleave422, 212, 2);
    case 7:
        return MapAndDeinterleave(row, &Kernels::mapAndDeinterleave444, 222, 1);
    default:
        return MapAndExtractGrey(row);
    }
}

/// Blocks of samples that lie side by side, transformed by the reference.
std::vector<Block> TransformedPlainly(const Bytes &samples, size_t stride, size_t blocks,
                                      const CompressEnv &env, int table) {
    reference::QuantTable quantisers;
    std::copy_n(env.quantTable[table], 64, quantisers.begin());
    std::vector<Block> transformed;
    for (size_t b = 0; b < blocks; ++b) {
        Block block = reference::CutBlock([&](int x, int y) {
            return samples[static_cast<size_t>(y) * stride + b * 8 + static_cast<size_t>(x)];
        });
        reference::ForwardDct(block);
        reference::Quantise(block, quantisers);
        transformed.push_back(block);
    }
    return transformed;
}

void Transform(Input *input) {
    CompressEnv env = {};
    SetQTable(&env, input->Between(1, 100), 212);
    const int table = input->Bool() ? 1 : 0;
    const size_t blocks = 1 + input->Below(kMostBlocks);
    const size_t stride = blocks * 8 + input->Below(40);
    Bytes samples = input->Fill(7 * stride + blocks * 8);
    const std::vector<Block> expected = TransformedPlainly(samples, stride, blocks, env, table);
    samples.resize(samples.size() + kSampleSlack, 0xA5);
    const Exactly<uint8_t> block(samples);
    WithEachVariant([&](const Kernels &variant) {
        const Transformed plain(expected, variant.zigZag);
        const Exactly<int16_t> coefficients((blocks + kBlockSlack) * 64);
        const Exactly<uint64_t> nonZero(blocks + kBlockSlack);
        variant.transformBlocks(block.Get(), static_cast<uint32_t>(stride),
                                static_cast<uint32_t>(blocks), Divisors(&env, table),
                                coefficients.Get(), nonZero.Get());
        Require(
            std::equal(plain.coefficients.begin(), plain.coefficients.end(), coefficients.Get()),
            "the coefficients of the reference");
        Require(std::equal(plain.nonZero.begin(), plain.nonZero.end(), nonZero.Get()),
                "the positions that are not 0");
    });
}

/// Coefficients as 8-bit samples give them: mostly 0 and small.
Block AnyBlock(Input *input) {
    Block block = {};
    block[0] = static_cast<int16_t>(input->Between(-1023, 1023));
    for (uint32_t place = 1; place < 64; ++place) {
        place += input->Byte() % 70; // often behind the end
        if (place < 64)
            block[static_cast<size_t>(ZZ[place])] = static_cast<int16_t>(
                input->Seldom(4) ? input->Between(-1023, 1023) : input->Between(-70, 70));
    }
    return block;
}

std::vector<Block> AnyBlocks(Input *input, size_t count) {
    std::vector<Block> blocks;
    for (size_t i = 0; i < count; ++i)
        blocks.push_back(input->Seldom(3) && i > 0 ? blocks[i - 1] : AnyBlock(input));
    return blocks;
}

/// A buffer with room for one step and some bytes more, and all that went through it.
class Sink {
public:
    Sink(uint32_t step, uint32_t more) : buffer(step + more) {
        bits = {0, 0, buffer.Get(), buffer.Get() + step + more};
    }
    /// After each step: the buffer is emptied.
    void Take() {
        Require(bits.out >= buffer.Get() && bits.out <= bits.limit, "bytes inside the buffer");
        Require(bits.pending < 8, "bits of less than a byte");
        written.insert(written.end(), buffer.Get(), bits.out);
        bits.out = buffer.Get();
    }
    void RequireOf(const reference::BitSink &plain) const {
        RequireSame(written, plain.Bytes());
        Require(bits.pending == static_cast<uint32_t>(plain.PendingBits()), "the bits that wait");
    }

    BitSink bits;

private:
    Exactly<uint8_t> buffer;
    Bytes written;
};

/// The environment of an operation and the reference's coder for it.
struct Tables {
    explicit Tables(int itsOperation)
        : operation(itsOperation), env(212, itsOperation, 100, 16, 8, 0) {}

    static const Tables &Of(int operation) {
        static const Tables sequential(245);
        static const Tables progressive(246);
        return operation == 245 ? sequential : progressive;
    }
    const CodeTables *Codes(int component) const {
        const int number = component == 0 ? 0 : 1;
        return CodeTablesFor(operation, number);
    }

    int operation;
    PictureEnv env;
};

/// A coder at its start. Its tables take long to make, so there is one for each operation.
reference::Coder &FreshCoder(int operation) {
    static reference::Coder coders[2] = {{245, 100}, {246, 100}};
    reference::Coder &coder = coders[operation - 245];
    coder.bits = {};
    std::fill(std::begin(coder.predictor), std::end(coder.predictor), 0);
    return coder;
}

/// A picture's blocks: mcus of blocksInMcu[c] blocks of each component.
struct Picture {
    Picture(Input *input, uint32_t mcuCount) : mcus(mcuCount) {
        components = input->Bool() ? 3 : 1;
        blocksInMcu[0] = components == 3 && input->Bool() ? 2 : 1;
        for (uint32_t c = 0; c < components; ++c)
            blocks[c] = AnyBlocks(input, size_t{mcus} * blocksInMcu[c]);
    }

    template <typename Code> void ForEachBlock(Code code) const {
        for (uint32_t mcu = 0; mcu < mcus; ++mcu)
            for (uint32_t c = 0; c < components; ++c)
                for (uint32_t i = 0; i < blocksInMcu[c]; ++i)
                    code(blocks[c][size_t{mcu} * blocksInMcu[c] + i], static_cast<int>(c));
    }

    uint32_t mcus;
    uint32_t components;
    uint32_t blocksInMcu[3] = {1, 1, 1};
    std::vector<Block> blocks[3];
};

void CodeMcus(const Kernels &variant, const Tables &tables, const Picture &picture, uint32_t more,
              const reference::Coder &coder) {
    std::vector<Transformed> transformed;
    int16_t predictors[3] = {};
    ComponentBlocks components[3];
    for (uint32_t c = 0; c < picture.components; ++c)
        transformed.emplace_back(picture.blocks[c], variant.zigZag);
    for (uint32_t c = 0; c < picture.components; ++c) {
        const int component = static_cast<int>(c);
        components[c] = {transformed[c].coefficients.data(), transformed[c].nonZero.data(),
                         picture.blocksInMcu[c], tables.Codes(component), &predictors[c]};
    }
    Sink sink(kMaxMcuBytes, more);
    for (uint32_t left = picture.mcus; left > 0; sink.Take()) {
        const uint32_t coded = variant.codeMcus(&sink.bits, components, picture.components, left);
        Require(coded > 0 && coded <= left, "a step with room for one");
        left -= coded;
    }
    sink.RequireOf(coder.bits);
    for (uint32_t c = 0; c < picture.components; ++c)
        Require(predictors[c] == coder.predictor[c], "the predictors");
}

void Mcus(Input *input) {
    const Tables &tables = Tables::Of(input->Between(245, 246));
    // Room for one MCU and little more, or for many: some variants take a batch at a time.
    const uint32_t more = input->Below(input->Bool() ? 700 : 20 * kMaxMcuBytes);
    const Picture picture(input, 1 + input->Below(input->Seldom(4) ? 70 : kMostMcus));
    reference::Coder &coder = FreshCoder(tables.operation);
    picture.ForEachBlock([&](const Block &block, int component) {
        coder.CodeDc(block, component);
        coder.CodeAc(block, component);
    });
    WithEachVariant(
        [&](const Kernels &variant) { CodeMcus(variant, tables, picture, more, coder); });
}

void CodeDcs(const Kernels &variant, const Tables &tables, const Picture &picture, uint32_t more,
             const reference::Coder &coder) {
    std::vector<int16_t> dcs[3];
    picture.ForEachBlock([&](const Block &block, int c) { dcs[c].push_back(block[0]); });
    int16_t predictors[3] = {};
    ComponentDcs components[3];
    for (uint32_t c = 0; c < picture.components; ++c)
        components[c] = {dcs[c].data(), picture.blocksInMcu[c], tables.Codes(static_cast<int>(c)),
                         &predictors[c]};
    Sink sink(kMaxMcuBytes, more);
    for (uint32_t left = picture.mcus; left > 0; sink.Take()) {
        const uint32_t coded = variant.codeDcs(&sink.bits, components, picture.components, left);
        Require(coded > 0 && coded <= left, "a step with room for one");
        left -= coded;
    }
    sink.RequireOf(coder.bits);
}

void Dcs(Input *input) {
    const Tables &tables = Tables::Of(246);
    const uint32_t more = input->Below(20);
    const Picture picture(input, 1 + input->Below(kMostMcus));
    reference::Coder &coder = FreshCoder(tables.operation);
    picture.ForEachBlock(
        [&](const Block &block, int component) { coder.CodeDc(block, component); });
    WithEachVariant(
        [&](const Kernels &variant) { CodeDcs(variant, tables, picture, more, coder); });
}

void CodeAcs(const Kernels &variant, int component, int run, const std::vector<Block> &blocks,
             uint32_t more, const reference::Coder &coder) {
    const Transformed transformed(blocks, variant.zigZag);
    const auto count = static_cast<uint32_t>(blocks.size());
    std::vector<int16_t> dcs(count);
    const Exactly<int16_t> packed(size_t{count} * 64);
    const int16_t *end =
        variant.packBlocks(transformed.coefficients.data(), transformed.nonZero.data(), count,
                           dcs.data(), packed.Get());
    for (uint32_t b = 0; b < count; ++b)
        Require(dcs[b] == blocks[b][0], "the DC coefficients");
    AcScan scan = {Tables::Of(246).Codes(component), static_cast<uint32_t>(run)};
    Sink sink(kMaxBlockBytes, more);
    const int16_t *next = packed.Get();
    for (uint32_t done = 0; done < count; sink.Take()) {
        const uint32_t coded = variant.codeAcs(&sink.bits, &scan, transformed.nonZero.data() + done,
                                               &next, count - done);
        Require(coded > 0 && coded <= count - done, "a step with room for one");
        done += coded;
    }
    Require(next == end, "all that was packed");
    variant.endAcs(&sink.bits, &scan);
    sink.Take();
    sink.RequireOf(coder.bits);
}

void Acs(Input *input) {
    const int component = input->Bool() ? 1 : 0;
    const uint32_t more = input->Below(300);
    // The run of blocks without any coefficient that the first one goes on; 32767 is the longest.
    const int run = input->Seldom(4) ? input->Between(32740, 32766) : 0;
    const uint32_t empty = input->Below(40);
    std::vector<Block> blocks = AnyBlocks(input, 1 + input->Below(kMostMcus));
    const auto middle = static_cast<std::ptrdiff_t>(blocks.size() / 2);
    blocks.insert(blocks.begin() + middle, empty, Block{});
    reference::Coder &coder = FreshCoder(246);
    int bandEnds = run;
    for (const Block &block : blocks)
        reference::CodeAcBand(coder, block, bandEnds, component);
    reference::FlushBandEnds(coder, bandEnds, component);
    WithEachVariant(
        [&](const Kernels &variant) { CodeAcs(variant, component, run, blocks, more, coder); });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(data, size);
    switch (input.Below(5)) {
    case 0:
        Rows(&input);
        break;
    case 1:
        Transform(&input);
        break;
    case 2:
        Mcus(&input);
        break;
    case 3:
        Dcs(&input);
        break;
    default:
        Acs(&input);
        break;
    }
    return 0;
}
