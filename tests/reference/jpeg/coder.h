// Mapped pixels to entropy-coded bytes: MCUs cut, transformed, quantised and coded one by one.
#pragma once

#include "reference/jpeg/bits.h"
#include "reference/jpeg/colors.h"
#include "reference/jpeg/transform.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <vector>

namespace kowen::reference {

/// Mapped pixels, top row first.
struct Picture {
    int width = 0;
    int height = 0;
    std::vector<Pixel> pixels;

    const Pixel &At(int x, int y) const {
        return pixels[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)];
    }

    /// The pixel at x, y, or the nearest one when that lies beyond the right or bottom edge.
    const Pixel &Near(int x, int y) const {
        return At(std::min(x, width - 1), std::min(y, height - 1));
    }

    /// Rows first .. first + count - 1.
    Picture Rows(int first, int count) const {
        const auto begin = pixels.begin() + static_cast<std::ptrdiff_t>(first) * width;
        return {width, count, {begin, begin + static_cast<std::ptrdiff_t>(count) * width}};
    }
};

/// A block whose sample in column x and row y is what sampleAt says, less 128.
inline Block CutBlock(const std::function<int(int x, int y)> &sampleAt) {
    Block block{};
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x)
            block[static_cast<size_t>(y * 8 + x)] = static_cast<int16_t>(sampleAt(x, y) - 128);
    return block;
}

/// The state of one picture's coder.
struct Coder {
    QuantTable quantisers[2];
    std::map<int, Code> dcCodes[2];
    std::map<int, Code> acCodes[2];
    int predictor[3] = {0, 0, 0};
    BitSink bits;

    Coder(int operation, int quality) {
        const HuffmanLists lists = operation == 245 ? SequentialLists() : ProgressiveLists();
        quantisers[0] = Quantisers(kLuminanceBase, quality);
        quantisers[1] = Quantisers(kChrominanceBase, quality);
        for (int i = 0; i < 2; ++i) {
            dcCodes[i] = CodesOf(lists.dc[i]);
            acCodes[i] = CodesOf(lists.ac[i]);
        }
    }

    static int Table(int component) { return component == 0 ? 0 : 1; }

    void PutCode(const std::map<int, Code> &codes, int symbol) {
        const auto found = codes.find(symbol);
        if (found != codes.end())
            bits.Put(found->second.bits, found->second.length);
    }

    void CodeDc(const Block &block, int component) {
        const int difference = block[0] - predictor[component];
        predictor[component] = block[0];
        PutCode(dcCodes[Table(component)], Category(difference));
        bits.Put(AppendedBits(difference), Category(difference));
    }

    /// A non-zero coefficient behind a run of zeros; runs above 15 go out in sixteens.
    void CodeCoefficient(int run, int coefficient, int component) {
        const auto &codes = acCodes[Table(component)];
        for (; run > 15; run -= 16)
            PutCode(codes, 0xF0);
        PutCode(codes, run * 16 + Category(coefficient));
        bits.Put(AppendedBits(coefficient), Category(coefficient));
    }

    void CodeAc(const Block &block, int component) {
        int run = 0;
        for (const int place : kZigZag) {
            if (place == 0)
                continue;
            const int coefficient = block[static_cast<size_t>(place)];
            if (coefficient == 0) {
                ++run;
            } else {
                CodeCoefficient(run, coefficient, component);
                run = 0;
            }
        }
        if (run > 0)
            PutCode(acCodes[Table(component)], 0x00);
    }

    Block Transformed(Block block, int table) const {
        ForwardDct(block);
        Quantise(block, quantisers[table]);
        return block;
    }

    /// Samples to bits: quantised by table, coded as component.
    void CodeBlock(const Block &samples, int table, int component) {
        const Block block = Transformed(samples, table);
        CodeDc(block, component);
        CodeAc(block, component);
    }
};

/// One row of MCUs of 16 x 8 pixels, chroma from the even columns. band: 1 to 8 rows.
inline void CodeBand422(Coder &coder, const Picture &band) {
    for (int left = 0; left < band.width; left += 16) {
        for (int half = 0; half < 2; ++half)
            coder.CodeBlock(
                CutBlock([&](int x, int y) { return band.Near(left + half * 8 + x, y)[0]; }), 0, 0);
        // Beyond the edge chroma repeats the last even column, not the last column.
        const int lastEven = (band.width - 1) / 2 * 2;
        for (int component = 1; component < 3; ++component)
            coder.CodeBlock(CutBlock([&](int x, int y) {
                                return band.Near(std::min(left + 2 * x, lastEven),
                                                 y)[static_cast<size_t>(component)];
                            }),
                            1, component);
    }
}

/// One row of MCUs of 8 x 8 pixels. All components are coded as the first.
inline void CodeBand444(Coder &coder, const Picture &band, int components) {
    for (int left = 0; left < band.width; left += 8)
        for (int component = 0; component < components; ++component)
            coder.CodeBlock(CutBlock([&](int x, int y) {
                                return band.Near(left + x, y)[static_cast<size_t>(component)];
                            }),
                            Coder::Table(component), 0);
}

} // namespace kowen::reference
