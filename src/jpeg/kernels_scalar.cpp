// The scalar kernels: the definition of what every other variant gives.
#include "jpeg/compress_env.h"
#include "jpeg/forward_dct.h"
#include "jpeg/kernels.h"
#include "jpeg/quant_tables.h"

namespace kowen {

namespace {

// Red and Blue are the offsets of the pixel's bytes. All divisions truncate toward zero.
template <int Red, int Blue> void MapToYcc(uint8_t *row, uint32_t width) {
    for (uint8_t *p = row, *end = row + 3u * width; p != end; p += 3) {
        const int red = p[Red], green = p[1], blue = p[Blue];
        const int y = (3 * red + 6 * green + blue) / 10;
        p[0] = static_cast<uint8_t>(y);
        p[1] = static_cast<uint8_t>((blue - y) / 2 + 128);
        p[2] = static_cast<uint8_t>((red - y) * 10 / 16 + 128);
    }
}

} // namespace

namespace scalar {

namespace {
inline uint32_t Place(uint32_t k) {
    return static_cast<uint32_t>(ZZ[k]);
}
} // namespace

constexpr uint32_t kStuffSlack = 8;

// Eight bytes at a time, where none of them is 255.
inline uint8_t *StuffBytes(const uint8_t *bytes, const uint8_t *end, uint8_t *out) {
    for (; end - bytes >= 8; bytes += 8) {
        uint64_t word;
        __builtin_memcpy(&word, bytes, sizeof(word));
        // A byte is 255 when its top bit is set and adding 1 clears it.
        if ((word & 0x8080808080808080u & ~(word + 0x0101010101010101u)) == 0) [[likely]] {
            __builtin_memcpy(out, &word, sizeof(word));
            out += sizeof(word);
            continue;
        }
        for (uint32_t i = 0; i < 8; ++i) {
            *out++ = bytes[i];
            if (bytes[i] == 0xFF)
                *out++ = 0;
        }
    }
    for (; bytes < end; ++bytes) {
        *out++ = *bytes;
        if (*bytes == 0xFF)
            *out++ = 0;
    }
    return out;
}

#include "jpeg/pairs.inl"

#include "jpeg/entropy_kernel.inl"

#include "jpeg/mcu_coder.inl"

void MapRgbToYcc(uint8_t *row, uint32_t width) {
    MapToYcc<0, 2>(row, width);
}

void MapBgrToYcc(uint8_t *row, uint32_t width) {
    MapToYcc<2, 0>(row, width);
}

void MapToGrey(uint8_t *row, uint32_t width) {
    for (uint8_t *p = row, *end = row + 3u * width; p != end; p += 3)
        p[0] = p[1] = p[2] = static_cast<uint8_t>((3 * p[2] + 6 * p[1] + p[0]) / 10);
}

void SwapFirstAndThird(uint8_t *row, uint32_t width) {
    for (uint8_t *p = row, *end = row + 3u * width; p != end; p += 3) {
        const uint8_t first = p[0];
        p[0] = p[2];
        p[2] = first;
    }
}

void Deinterleave422(const uint8_t *row, uint32_t width, uint8_t *first, uint8_t *second,
                     uint8_t *third) {
    for (uint32_t x = 0; x < width; ++x)
        first[x] = row[3 * x];
    for (uint32_t x = 0; x < (width + 1) / 2; ++x) {
        second[x] = row[6 * x + 1];
        third[x] = row[6 * x + 2];
    }
}

void Deinterleave444(const uint8_t *row, uint32_t width, uint8_t *first, uint8_t *second,
                     uint8_t *third) {
    for (uint32_t x = 0; x < width; ++x) {
        first[x] = row[3 * x];
        second[x] = row[3 * x + 1];
        third[x] = row[3 * x + 2];
    }
}

void MapAndDeinterleave422(uint8_t *row, uint32_t width, uint8_t *first, uint8_t *second,
                           uint8_t *third) {
    MapRgbToYcc(row, width);
    Deinterleave422(row, width, first, second, third);
}

void MapAndDeinterleave444(uint8_t *row, uint32_t width, uint8_t *first, uint8_t *second,
                           uint8_t *third) {
    SwapFirstAndThird(row, width);
    Deinterleave444(row, width, first, second, third);
}

void MapAndExtractGrey(uint8_t *row, uint32_t width, uint8_t *first) {
    MapToGrey(row, width);
    for (uint32_t x = 0; x < width; ++x)
        first[x] = row[3 * x];
}

} // namespace scalar

namespace {

int16_t Quotient(int16_t c, const QuantDivisors &d, int i) {
    const int half = 1 << (14 - d.shift[i]);
    return static_cast<int16_t>(((4 * c - 1) * d.reciprocal[i] + half) >> (15 - d.shift[i]));
}

void TransformBlocks(const uint8_t *samples, uint32_t strideBytes, uint32_t blocks,
                     const QuantDivisors &divisors, int16_t *coefficients, uint64_t *nonZero) {
    for (uint32_t b = 0; b < blocks; ++b, coefficients += kBlockSize) {
        for (uint32_t y = 0; y < 8; ++y)
            for (uint32_t x = 0; x < 8; ++x)
                coefficients[8 * y + x] =
                    static_cast<int16_t>(samples[y * strideBytes + 8 * b + x] - 128);
        ForwardDCT(coefficients);
        for (int i = 0; i < kBlockSize; ++i)
            coefficients[i] = Quotient(coefficients[i], divisors, i);
        nonZero[b] = 0;
        for (int k = 0; k < kBlockSize; ++k)
            nonZero[b] |= uint64_t{coefficients[ZZ[k]] != 0} << k;
    }
}

} // namespace

const Kernels kScalarKernels = {
    .name = "scalar",
    .zigZag = false,
    .mapRgbToYcc = scalar::MapRgbToYcc,
    .mapBgrToYcc = scalar::MapBgrToYcc,
    .mapToGrey = scalar::MapToGrey,
    .swapFirstAndThird = scalar::SwapFirstAndThird,
    .deinterleave422 = scalar::Deinterleave422,
    .deinterleave444 = scalar::Deinterleave444,
    .mapAndDeinterleave422 = scalar::MapAndDeinterleave422,
    .mapAndDeinterleave444 = scalar::MapAndDeinterleave444,
    .mapAndExtractGrey = scalar::MapAndExtractGrey,
    .transformBlocks = TransformBlocks,
    .codeMcus = scalar::CodeMcus,
    .packBlocks = scalar::PackBlocks,
    .codeDcs = scalar::CodeDcs,
    .codeAcs = scalar::CodeAcs,
    .endAcs = scalar::EndAcs,
};

} // namespace kowen
