#include "color/resample.h"

#include "color/pixel.h"
#include "platform/global_memory.h"
#include "platform/text.h"

#include <algorithm>
#include <cstring>

namespace kowen {
namespace {

constexpr uint32_t kLastPosition = 0xFFFF;

double Ratio(uint32_t numerator, uint32_t denominator) noexcept {
    return static_cast<double>(numerator) / static_cast<double>(denominator);
}

uint32_t Position(uint32_t i, double ratio) noexcept {
    return TruncateToUInt32(i * ratio);
}

void CopyPixel(const uint8_t *source, uint32_t sourceStride, uint32_t sourceX, uint8_t *destination,
               uint32_t stride, uint32_t x, uint32_t row, uint16_t depth) noexcept {
    rlSetPixel(destination, stride, x, row, depth,
               rlGetPixel(source, sourceStride, sourceX, row, depth), nullptr, nullptr, 0);
}

bool ResampleRow(const uint8_t *source, uint8_t *destination, uint16_t depth, uint32_t width,
                 uint32_t targetWidth) noexcept {
    return targetWidth <= width ? ShrinkX(source, destination, depth, width, 1, targetWidth)
                                : StretchX(source, destination, depth, width, 1, targetWidth);
}

MemoryHandle ResampleBitmap(MemoryHandle bitmap, uint16_t depth, uint32_t width, uint32_t height,
                            uint32_t targetWidth, uint32_t targetHeight) noexcept {
    if (!BitmapFits(bitmap, width, height, depth))
        return 0;
    const MemoryHandle result = rlGetMemory(1, rlCalcNewSize(targetWidth, targetHeight, depth));
    if (result == 0)
        return 0;
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
    const double ratio = Ratio(width, targetWidth);
    const uint32_t sourceStride = rlBytesPerLine(width, depth);
    const uint32_t stride = rlBytesPerLine(targetWidth, depth);
    for (uint32_t row = 0; row < rows; ++row) {
        uint32_t x = 0;
        uint32_t previous = 0;
        for (uint32_t i = 1; i <= targetWidth; ++i) {
            const uint32_t position = Position(i, ratio);
            const uint32_t from = i < targetWidth ? x : width - 1;
            CopyPixel(source, sourceStride, from, destination, stride, i - 1, row, depth);
            x += position - previous;
            previous = position;
        }
    }
    return true;
}

bool StretchX(const uint8_t *source, uint8_t *destination, uint16_t depth, uint32_t width,
              uint32_t rows, uint32_t targetWidth) noexcept {
    const double ratio = Ratio(targetWidth, width);
    if (width != 0 && Position(width, ratio) > kLastPosition)
        return false;
    const uint32_t sourceStride = rlBytesPerLine(width, depth);
    const uint32_t stride = rlBytesPerLine(targetWidth, depth);
    for (uint32_t row = 0; row < rows; ++row) {
        uint32_t x = targetWidth;
        uint32_t previous = 0;
        for (uint32_t from = width; from-- > 0;) {
            const uint32_t position = Position(width - from, ratio);
            for (uint32_t n = position - previous; n > 0; --n)
                CopyPixel(source, sourceStride, from, destination, stride, --x, row, depth);
            previous = position;
        }
    }
    return true;
}

bool Shrink(const uint8_t *source, uint8_t *destination, uint16_t depth, uint32_t width,
            uint32_t height, uint32_t targetWidth, uint32_t targetHeight) noexcept {
    const double ratio = Ratio(height, targetHeight);
    if (targetHeight != 0 && Position(targetHeight, ratio) > kLastPosition)
        return false;
    const size_t sourceStride = rlBytesPerLine(width, depth);
    const size_t stride = rlBytesPerLine(targetWidth, depth);
    uint32_t previous = 0;
    for (uint32_t j = 1; j <= targetHeight; ++j) {
        // The last row of the result is made twice; the second result is the one that stays.
        if (j == targetHeight)
            ResampleRow(source + (height - 1) * sourceStride, destination, depth, width,
                        targetWidth);
        if (!ResampleRow(source + previous * sourceStride, destination, depth, width, targetWidth))
            return false;
        previous = Position(j, ratio);
        destination += stride;
    }
    return true;
}

bool Stretch(const uint8_t *source, uint8_t *destination, uint16_t depth, uint32_t width,
             uint32_t height, uint32_t targetWidth, uint32_t targetHeight) noexcept {
    const double ratio = Ratio(targetHeight, height);
    const size_t sourceStride = rlBytesPerLine(width, depth);
    const size_t stride = rlBytesPerLine(targetWidth, depth);
    uint32_t previous = 0;
    for (uint32_t y = height; y-- > 0;) {
        const uint32_t position = Position(height - y, ratio);
        uint8_t *row = destination + (targetHeight - 1 - previous) * stride;
        if (position > previous &&
            !ResampleRow(source + y * sourceStride, row, depth, width, targetWidth))
            return false;
        for (uint32_t n = position - previous; n > 1; --n, row -= stride)
            std::memcpy(row - stride, row, stride);
        previous = position;
    }
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
