#include "color/sample_row.h"

#include "color/pixel.h"
#include "color/pixel_bytes.h"
#include "platform/global_memory.h"
#include "platform/text.h"

#include <algorithm>
#include <cstring>

namespace kowen {
namespace {

// The last target pixel comes from the last source pixel, whatever its position.
void ShrinkPositions(RowSampler *sampler) noexcept {
    const double ratio = Ratio(sampler->width, sampler->targetWidth);
    sampler->first = 0;
    for (uint32_t i = 0; i + 1 < sampler->targetWidth; ++i)
        sampler->source[i] = Position(i, ratio);
    if (sampler->targetWidth != 0)
        sampler->source[sampler->targetWidth - 1] = sampler->width - 1;
}

// Filled from the right; what truncation leaves over at the left is not filled.
void StretchPositions(RowSampler *sampler) noexcept {
    const double ratio = Ratio(sampler->targetWidth, sampler->width);
    uint32_t x = sampler->targetWidth;
    for (uint32_t from = sampler->width; from-- > 0;) {
        const uint32_t end = sampler->targetWidth - Position(sampler->width - from, ratio);
        while (x > end)
            sampler->source[--x] = from;
    }
    sampler->first = x;
}

bool PositionsFit(uint32_t width, uint32_t targetWidth) noexcept {
    return targetWidth <= width || width == 0 ||
           Position(width, Ratio(targetWidth, width)) <= kLastPosition;
}

// One byte per pixel.
void SampleBytes(const RowSampler &sampler, const uint8_t *source, uint8_t *target) noexcept {
    for (uint32_t x = sampler.first; x < sampler.targetWidth; ++x)
        target[x] = source[sampler.source[x]];
}

// Three bytes per pixel, copied as four while the fourth is inside both rows: it is overwritten by
// the next pixel. The last target pixel and all that come from the last source pixel are not.
void SampleTriples(const RowSampler &sampler, const uint8_t *source, uint8_t *target) noexcept {
    const uint32_t *const from = sampler.source;
    const uint32_t count = sampler.targetWidth;
    const uint32_t *const last =
        std::lower_bound(from + sampler.first, from + count, sampler.width - 1);
    const uint32_t safe = std::min(static_cast<uint32_t>(last - from), count - 1);
    uint32_t x = sampler.first;
    for (; x < safe; ++x)
        std::memcpy(target + size_t{x} * 3, source + size_t{from[x]} * 3, 4);
    for (; x < count; ++x)
        std::memcpy(target + size_t{x} * 3, source + size_t{from[x]} * 3, 3);
}

void SampleWords(const RowSampler &sampler, const uint8_t *source, uint8_t *target) noexcept {
    for (uint32_t x = sampler.first; x < sampler.targetWidth; ++x)
        std::memcpy(target + size_t{x} * 4, source + size_t{sampler.source[x]} * 4, 4);
}

// Below 8 bits by way of bytes.
void SamplePacked(const RowSampler &sampler, const uint8_t *source, uint8_t *target) noexcept {
    UnpackPixels(sampler.depth, source, sampler.width, sampler.values);
    SampleBytes(sampler, sampler.values, sampler.samples);
    PackPixels(sampler.depth, sampler.samples, sampler.targetWidth, target);
}

// Traces in the order in which the pixels are defined to be written.
void TraceRow(const RowSampler &sampler) noexcept {
    const bool shrinks = sampler.targetWidth <= sampler.width;
    const uint32_t count = sampler.targetWidth - sampler.first;
    for (uint32_t i = 0; TracesPixels() && i < count; ++i)
        TracePixel(shrinks ? i : sampler.targetWidth - 1 - i, 0);
}

} // namespace

double Ratio(uint32_t numerator, uint32_t denominator) noexcept {
    return static_cast<double>(numerator) / static_cast<double>(denominator);
}

uint32_t Position(uint32_t i, double ratio) noexcept {
    return TruncateToUInt32(i * ratio);
}

bool OpenRowSampler(RowSampler *sampler, uint16_t depth, uint32_t width,
                    uint32_t targetWidth) noexcept {
    *sampler = {};
    if (!PositionsFit(width, targetWidth))
        return false;
    const bool isPacked = depth == 1 || depth == 4;
    const uint64_t bytes =
        uint64_t{targetWidth} * sizeof(uint32_t) + (isPacked ? uint64_t{width} + targetWidth : 0);
    sampler->block = GlobalAlloc(kGlobalFlags, bytes < kSizeTooLarge ? static_cast<uint32_t>(bytes)
                                                                     : kSizeTooLarge);
    if (sampler->block == 0)
        return false;
    sampler->depth = depth;
    sampler->width = width;
    sampler->targetWidth = targetWidth;
    sampler->source = Lock<uint32_t>(sampler->block);
    sampler->samples = reinterpret_cast<uint8_t *>(sampler->source + targetWidth);
    sampler->values = sampler->samples + (isPacked ? targetWidth : 0);
    if (targetWidth <= width)
        ShrinkPositions(sampler);
    else
        StretchPositions(sampler);
    return true;
}

void CloseRowSampler(RowSampler *sampler) noexcept {
    rlFreeNewData(sampler->block);
}

void SampleRow(const RowSampler &sampler, const uint8_t *source, uint8_t *target) noexcept {
    TraceRow(sampler);
    if (sampler.first == sampler.targetWidth)
        return; // nothing to take
    switch (sampler.depth) {
    case 1:
    case 4:
        return SamplePacked(sampler, source, target);
    case 8:
        return SampleBytes(sampler, source, target);
    case 24:
        return SampleTriples(sampler, source, target);
    case 32:
        return SampleWords(sampler, source, target);
    default:
        return; // a depth that is not written
    }
}

} // namespace kowen
