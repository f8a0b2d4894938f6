#include "reference/color/resample.h"

#include <cstring>

namespace kowen::reference {
namespace {

uint32_t Trunc(double x) {
    return static_cast<uint32_t>(x);
}

void CopyPixel(const uint8_t *source, uint32_t width, uint32_t from, uint8_t *destination,
               uint32_t targetWidth, uint32_t to, uint16_t depth) {
    SetPixel(destination, BytesPerLine(targetWidth, depth), to, 0, depth,
             GetPixel(source, BytesPerLine(width, depth), from, 0, depth), nullptr, nullptr, 0);
}

void ShrinkRow(const uint8_t *source, uint8_t *destination, uint16_t depth, uint32_t width,
               uint32_t targetWidth) {
    const double ratio = static_cast<double>(width) / targetWidth;
    uint32_t x = 0, previous = 0;
    for (uint32_t i = 1; i <= targetWidth; ++i) {
        const uint32_t p = Trunc(i * ratio);
        const uint32_t step = p - previous;
        previous = p;
        if (i < targetWidth) {
            CopyPixel(source, width, x, destination, targetWidth, i - 1, depth);
            x += step;
        } else {
            CopyPixel(source, width, width - 1, destination, targetWidth, i - 1, depth);
        }
    }
}

void StretchRow(const uint8_t *source, uint8_t *destination, uint16_t depth, uint32_t width,
                uint32_t targetWidth) {
    const double ratio = static_cast<double>(targetWidth) / width;
    uint32_t x = targetWidth - 1, previous = 0;
    for (uint32_t from = width; from-- > 0;) {
        const uint32_t p = Trunc((width - from) * ratio);
        for (uint32_t n = p - previous; n > 0; --n)
            CopyPixel(source, width, from, destination, targetWidth, x--, depth);
        previous = p;
    }
}

void Row(const uint8_t *source, uint8_t *destination, uint16_t depth, uint32_t width,
         uint32_t targetWidth) {
    (targetWidth > width ? StretchRow : ShrinkRow)(source, destination, depth, width, targetWidth);
}

// Whether pixel (x, y) lies inside the block, within its row or past it.
bool Inside(const Bytes &bitmap, uint16_t depth, uint32_t width, uint32_t x, uint32_t y) {
    const uint64_t bit = uint64_t{y} * BytesPerLine(width, depth) * 8 + uint64_t{x} * depth;
    return bit + depth <= uint64_t{bitmap.size()} * 8;
}

void Exchange(Bytes &bitmap, uint16_t depth, uint32_t width, uint32_t x, uint32_t far, uint32_t y) {
    if (!Inside(bitmap, depth, width, far, y))
        return;
    const uint32_t stride = BytesPerLine(width, depth);
    const uint32_t a = GetPixel(bitmap.data(), stride, x, y, depth);
    const uint32_t b = GetPixel(bitmap.data(), stride, far, y, depth);
    SetPixel(bitmap.data(), stride, x, y, depth, b, nullptr, nullptr, 0);
    SetPixel(bitmap.data(), stride, far, y, depth, a, nullptr, nullptr, 0);
}

} // namespace

Bytes Resample(const Bytes &bitmap, uint16_t depth, uint32_t width, uint32_t height,
               uint32_t targetWidth, uint32_t targetHeight) {
    Bytes result = MakeBitmap(targetWidth, targetHeight, depth);
    const size_t sourceStride = BytesPerLine(width, depth);
    const size_t stride = BytesPerLine(targetWidth, depth);
    uint32_t previous = 0;
    if (targetHeight <= height) {
        const double ratio = static_cast<double>(height) / targetHeight;
        size_t from = 0;
        for (uint32_t j = 1; j <= targetHeight; ++j) {
            const uint32_t p = Trunc(j * ratio);
            uint8_t *row = result.data() + (j - 1) * stride;
            if (j == targetHeight)
                Row(bitmap.data() + (height - 1) * sourceStride, row, depth, width, targetWidth);
            Row(bitmap.data() + from * sourceStride, row, depth, width, targetWidth);
            from += p - previous;
            previous = p;
        }
        return result;
    }
    const double ratio = static_cast<double>(targetHeight) / height;
    size_t to = targetHeight - 1;
    for (uint32_t y = height; y-- > 0;) {
        const uint32_t p = Trunc((height - y) * ratio);
        const uint32_t n = p - previous;
        previous = p;
        if (n == 0)
            continue;
        Row(bitmap.data() + y * sourceStride, result.data() + to * stride, depth, width,
            targetWidth);
        for (uint32_t i = 1; stride != 0 && i < n; ++i)
            std::memcpy(result.data() + (to - i) * stride, result.data() + to * stride, stride);
        to -= n;
    }
    return result;
}

void Flip(Bytes &bitmap, uint16_t depth, uint32_t width, uint32_t height, bool horizontal,
          bool vertical) {
    const size_t stride = BytesPerLine(width, depth);
    for (uint32_t step = 0; stride != 0 && step < (height + 1) / 2; ++step) {
        const uint32_t top = step, bottom = height - 1 - step;
        if (vertical) {
            const Bytes row(bitmap.begin() + static_cast<ptrdiff_t>(top * stride),
                            bitmap.begin() + static_cast<ptrdiff_t>((top + 1) * stride));
            std::memmove(bitmap.data() + top * stride, bitmap.data() + bottom * stride, stride);
            std::memcpy(bitmap.data() + bottom * stride, row.data(), stride);
        }
        for (uint32_t x = 0; horizontal && x < width / 2; ++x) {
            Exchange(bitmap, depth, width, x, width - x, top);
            Exchange(bitmap, depth, width, x, width - x, bottom);
        }
    }
}

} // namespace kowen::reference
