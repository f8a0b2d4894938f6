#include "reference/color/dither.h"

#include "reference/color/median_cut.h"

#include <algorithm>

namespace kowen::reference {
namespace {

uint8_t Clamp(int x) {
    return static_cast<uint8_t>(x < 0 ? 0 : x > 255 ? 255 : x);
}

uint8_t Entry(const Bytes &table, uint32_t count, uint32_t k, int channel) {
    return k < count && k < table.size() / 3 ? table[3 * k + static_cast<uint32_t>(channel)] : 0;
}

} // namespace

void DitherOneLine(uint8_t *current, uint8_t *next, const Bytes &table, uint32_t width,
                   uint32_t count) {
    uint32_t k = 0;
    for (uint32_t i = 0; i + 1 < width; ++i) {
        uint8_t *pixel = current + 3 * i;
        k = NearestRGBIndex(pixel[0], pixel[1], pixel[2], table, count);
        for (int c = 0; c < 3; ++c) {
            const int e = pixel[c] - Entry(table, count, k, c);
            const int q = e / 8;
            const int s = 7 * e / 16;
            pixel[c] = Entry(table, count, k, c);
            pixel[c + 3] = Clamp(pixel[c + 3] + s);
            if (next == nullptr)
                continue;
            uint8_t *below = next + 3 * i + c;
            *below = Clamp(*below + s - q);
            if (i > 0)
                below[-3] = Clamp(below[-3] + s - 2 * q);
            below[3] = Clamp(below[3] + s - 3 * q);
        }
    }
    for (int c = 0; width > 0 && c < 3; ++c)
        current[3 * (width - 1) + static_cast<uint32_t>(c)] = Entry(table, count, k, c);
}

Bytes DitherGivenCT(const Bytes &bitmap, uint32_t width, uint32_t height, uint16_t from,
                    uint16_t to, const Bytes *palette, const Bytes &table, uint32_t count) {
    Bytes copy = ConvertBitmapDepth(bitmap, width, height, from, 24, palette, nullptr, 0);
    const size_t stride = BytesPerLine(width, 24);
    for (uint32_t y = 0; y < height; ++y) {
        uint8_t *current = copy.data() + y * stride;
        uint8_t *next = y + 1 < height ? current + stride : nullptr;
        if (to == 1) {
            if (y == 0)
                ColorMode(static_cast<int>(width), current, 3);
            if (next != nullptr)
                ColorMode(static_cast<int>(width), next, 3);
        }
        DitherOneLine(current, next, table, width, count);
    }
    return ConvertBitmapDepth(copy, width, height, 24, to, nullptr, &table, count);
}

Table DitherGetCT(const Bytes &bitmap, uint32_t width, uint32_t height, uint16_t from, uint16_t to,
                  const Bytes *palette) {
    const uint32_t n = 1u << to;
    if (n < 3) {
        Bytes mono;
        for (int grey : {0, 255, 64, 128, 160, 192, 208, 224})
            mono.insert(mono.end(), 3, static_cast<uint8_t>(grey));
        return {mono, 8};
    }
    const Bytes copy = ConvertBitmapDepth(bitmap, width, height, from, 24, palette, nullptr, 0);
    Bytes table = n > 8 ? ReduceColors(copy, width, height, static_cast<uint16_t>(n - 8)) : Bytes();
    const Bytes mustHave = {255, 255, 255, 255, 255, 0, 255, 0, 255, 0, 255, 255,
                            255, 0,   0,   0,   255, 0, 0,   0, 255, 0, 0,   0};
    table.insert(table.end(), mustHave.begin(), mustHave.end());
    table.resize(size_t{n} * 3, 0);
    return {table, n};
}

} // namespace kowen::reference
