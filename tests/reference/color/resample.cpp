#include "reference/color/resample.h"

#include <cstring>
#include <utility>

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

void ExchangeBits(Bytes &block, size_t a, size_t b) {
    const auto bitOf = [&](size_t i) { return block[i / 8] >> (7 - i % 8) & 1; };
    if (bitOf(a) == bitOf(b))
        return;
    block[a / 8] ^= static_cast<uint8_t>(128 >> a % 8);
    block[b / 8] ^= static_cast<uint8_t>(128 >> b % 8);
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
    const bool isKnown = depth == 1 || depth == 4 || depth == 8 || depth == 24 || depth == 32;
    const auto mirror = [&](uint32_t y) {
        for (uint32_t x = 0; isKnown && x < width / 2; ++x) {
            const size_t near = y * stride * 8 + size_t{x} * depth;
            const size_t far = y * stride * 8 + size_t{width - x} * depth;
            for (size_t bit = 0; far + depth <= bitmap.size() * 8 && bit < depth; ++bit)
                ExchangeBits(bitmap, near + bit, far + bit);
        }
    };
    for (uint32_t y = 0; stride != 0 && y < (height + 1) / 2; ++y) {
        const uint32_t bottom = height - 1 - y;
        for (size_t i = 0; vertical && y != bottom && i < stride; ++i)
            std::swap(bitmap[y * stride + i], bitmap[bottom * stride + i]);
        if (horizontal) {
            mirror(y);
            mirror(bottom);
        }
    }
}

} // namespace kowen::reference
