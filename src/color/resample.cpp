#include "color/resample.h"

#include "color/pixel.h"
#include "color/sample_row.h"
#include "platform/global_memory.h"

#include <cstring>

namespace kowen {
namespace {

bool SampleRows(const uint8_t *source, uint8_t *destination, uint16_t depth, uint32_t width,
                uint32_t rows, uint32_t targetWidth) noexcept {
    RowSampler sampler;
    if (!OpenRowSampler(&sampler, depth, width, targetWidth))
        return false;
    for (; rows > 0; --rows) {
        SampleRow(sampler, source, destination);
        source += rlBytesPerLine(width, depth);
        destination += rlBytesPerLine(targetWidth, depth);
    }
    CloseRowSampler(&sampler);
    return true;
}

MemoryHandle ResampleBitmap(MemoryHandle bitmap, uint16_t depth, uint32_t width, uint32_t height,
                            uint32_t targetWidth, uint32_t targetHeight) noexcept {
    if (!BitmapFits(bitmap, width, height, depth))
        return 0;
    const MemoryHandle result = rlGetMemory(1, rlCalcNewSize(targetWidth, targetHeight, depth));
    if (GlobalSize(result) == 0) // no memory, or rows without bytes: there may be billions
        return result;
    const auto *source = Lock<const uint8_t>(bitmap);
    auto *destination = Lock<uint8_t>(result);
    const bool done =
        targetHeight > height
            ? Stretch(source, destination, depth, width, height, targetWidth, targetHeight)
            : Shrink(source, destination, depth, width, height, targetWidth, targetHeight);
    if (done)
        return result;
    GlobalFree(result);
    return 0;
}

} // namespace

bool ShrinkX(const uint8_t *source, uint8_t *destination, uint16_t depth, uint32_t width,
             uint32_t rows, uint32_t targetWidth) noexcept {
    return SampleRows(source, destination, depth, width, rows, targetWidth);
}

bool StretchX(const uint8_t *source, uint8_t *destination, uint16_t depth, uint32_t width,
              uint32_t rows, uint32_t targetWidth) noexcept {
    return SampleRows(source, destination, depth, width, rows, targetWidth);
}

bool Shrink(const uint8_t *source, uint8_t *destination, uint16_t depth, uint32_t width,
            uint32_t height, uint32_t targetWidth, uint32_t targetHeight) noexcept {
    const double ratio = Ratio(height, targetHeight);
    RowSampler sampler;
    if ((targetHeight != 0 && Position(targetHeight, ratio) > kLastPosition) ||
        !OpenRowSampler(&sampler, depth, width, targetWidth))
        return false;
    const size_t sourceStride = rlBytesPerLine(width, depth);
    const size_t stride = rlBytesPerLine(targetWidth, depth);
    for (uint32_t j = 0; j < targetHeight; ++j) {
        // The last row of the result is made twice; the second result is the one that stays.
        if (j + 1 == targetHeight)
            SampleRow(sampler, source + (height - 1) * sourceStride, destination);
        SampleRow(sampler, source + Position(j, ratio) * sourceStride, destination);
        destination += stride;
    }
    CloseRowSampler(&sampler);
    return true;
}

bool Stretch(const uint8_t *source, uint8_t *destination, uint16_t depth, uint32_t width,
             uint32_t height, uint32_t targetWidth, uint32_t targetHeight) noexcept {
    const double ratio = Ratio(targetHeight, height);
    RowSampler sampler;
    if (!OpenRowSampler(&sampler, depth, width, targetWidth))
        return false;
    const size_t sourceStride = rlBytesPerLine(width, depth);
    const size_t stride = rlBytesPerLine(targetWidth, depth);
    uint32_t filled = 0; // rows, from the last one up
    for (uint32_t y = height; y-- > 0;) {
        const uint32_t position = Position(height - y, ratio);
        uint8_t *row = destination + (targetHeight - 1 - filled) * stride;
        if (position > filled)
            SampleRow(sampler, source + y * sourceStride, row);
        for (; filled + 1 < position; ++filled, row -= stride)
            std::memcpy(row - stride, row, stride);
        filled = position;
    }
    CloseRowSampler(&sampler);
    return true;
}

MemoryHandle rlShrinkBitmap(MemoryHandle bitmap, uint16_t depth, uint32_t width, uint32_t height,
                            uint32_t targetWidth, uint32_t targetHeight) noexcept {
    return ResampleBitmap(bitmap, depth, width, height, targetWidth, targetHeight);
}

MemoryHandle rlStretchBitmap(MemoryHandle bitmap, uint16_t depth, uint32_t width, uint32_t height,
                             uint32_t targetWidth, uint32_t targetHeight) noexcept {
    return ResampleBitmap(bitmap, depth, width, height, targetWidth, targetHeight);
}

} // namespace kowen
