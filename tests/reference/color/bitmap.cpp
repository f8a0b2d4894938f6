#include "reference/color/bitmap.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace kowen::reference {

uint32_t BytesPerLine(uint32_t width, uint16_t bits) {
    const uint32_t total = width * bits;
    uint32_t bytes = total / 8;
    if (total % 8 != 0)
        ++bytes;
    return bytes % 4 == 0 ? bytes : (bytes / 4 + 1) * 4;
}

Bytes MakeBitmap(uint32_t width, uint32_t height, uint16_t bits) {
    return Bytes(static_cast<size_t>(BytesPerLine(width, bits)) * height, 0);
}

namespace {

size_t Offset(uint32_t bytesPerLine, uint32_t x, uint32_t y, uint16_t bits) {
    return static_cast<size_t>(y) * bytesPerLine + static_cast<size_t>(x * (bits / 8.0));
}

bool Close(int a, int b, int tolerance) {
    return std::abs(a - b) <= tolerance;
}

bool AllClose(int r, int g, int b, int tolerance) {
    return Close(r, g, tolerance) && Close(g, b, tolerance) && Close(r, b, tolerance);
}

} // namespace

uint32_t GetPixel(const uint8_t *pixels, uint32_t bytesPerLine, uint32_t x, uint32_t y,
                  uint16_t bits) {
    const uint8_t *p = pixels + Offset(bytesPerLine, x, y, bits);
    if (bits == 1)
        return (*p >> (7 - x % 8)) & 1;
    if (bits == 4)
        return x % 2 == 0 ? *p >> 4 : *p & 15;
    if (bits == 8)
        return *p;
    uint32_t value = 0;
    if (bits == 24 || bits == 32)
        for (int i = 0; i < bits / 8; ++i)
            value |= static_cast<uint32_t>(p[i]) << (24 - 8 * i);
    return value;
}

void SetPixel(uint8_t *pixels, uint32_t bytesPerLine, uint32_t x, uint32_t y, uint16_t bits,
              uint32_t value, const std::vector<uint32_t> *indexMap, const Bytes *table,
              uint32_t count) {
    uint32_t v = value;
    if (indexMap != nullptr)
        v = indexMap->at(value);
    else if (table != nullptr && bits < 24)
        v = NearestRGBIndex(value >> 24, value >> 16 & 255, value >> 8 & 255, *table, count);
    uint8_t *p = pixels + Offset(bytesPerLine, x, y, bits);
    if (bits == 1) {
        const int shift = static_cast<int>(7 - x % 8);
        *p = static_cast<uint8_t>((*p & ~(1 << shift)) | static_cast<int>(v & 1) << shift);
    } else if (bits == 4) {
        *p =
            static_cast<uint8_t>(x % 2 == 0 ? (*p & 0x0F) | (v & 15) << 4 : (*p & 0xF0) | (v & 15));
    } else if (bits == 8) {
        *p = static_cast<uint8_t>(v);
    } else if (bits == 24 || bits == 32) {
        if (table != nullptr && indexMap != nullptr) {
            const bool known = v < count && v < table->size() / 3;
            for (uint32_t i = 0; i < 3; ++i)
                p[i] = known ? table->at(v * 3 + i) : 0;
            if (bits == 32)
                p[3] = 0;
        } else {
            for (int i = 0; i < bits / 8; ++i)
                p[i] = static_cast<uint8_t>(v >> (24 - 8 * i));
        }
    }
}

uint32_t NearestRGBIndex(int red, int green, int blue, const Bytes &table, uint32_t count) {
    const bool wantGrey = AllClose(red, green, blue, 4);
    std::pair<uint32_t, uint32_t> best = {0x7FFFFFFF, 0}; // distance, then index
    for (uint32_t i = 0; i < count && i < table.size() / 3; ++i) {
        const int r = table[3 * i], g = table[3 * i + 1], b = table[3 * i + 2];
        const auto distance = static_cast<uint32_t>(
            (red - r) * (red - r) + (green - g) * (green - g) + (blue - b) * (blue - b));
        if ((r == g && g == b) == wantGrey)
            best = std::min(best, {distance, i});
    }
    return best.second;
}

std::vector<uint32_t> BuildColormap(const Bytes *fromTable, uint16_t from, const Bytes *toTable,
                                    uint16_t to, uint32_t count) {
    if (from > 16)
        return {};
    std::vector<uint32_t> map(size_t{1} << from, 0);
    if (fromTable == nullptr)
        return map;
    Bytes source = *fromTable;
    source.resize(map.size() * 3, 0);
    if (from <= to && toTable == nullptr) {
        toTable = &source;
        count = 1u << from;
    }
    if (toTable == nullptr)
        return map;
    // Depths that are not read have the value 0 only.
    const size_t used = from == 1 || from == 4 || from == 8 ? map.size() : 1;
    for (size_t i = 0; i < used; ++i) {
        const uint32_t r = source[3 * i], g = source[3 * i + 1], b = source[3 * i + 2];
        map[i] = to == 24 ? r << 24 | g << 16 | b << 8
                          : NearestRGBIndex(static_cast<int>(r), static_cast<int>(g),
                                            static_cast<int>(b), *toTable, count);
    }
    return map;
}

Bytes ConvertBitmapDepth(const Bytes &bits, uint32_t width, uint32_t height, uint16_t from,
                         uint16_t to, const Bytes *fromTable, const Bytes *toTable,
                         uint32_t count) {
    Bytes result = MakeBitmap(width, height, to);
    const std::vector<uint32_t> map = BuildColormap(fromTable, from, toTable, to, count);
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x)
            SetPixel(result.data(), BytesPerLine(width, to), x, y, to,
                     GetPixel(bits.data(), BytesPerLine(width, from), x, y, from),
                     map.empty() ? nullptr : &map, toTable, count);
    return result;
}

void ColorMode(int count, uint8_t *colours, int mode) {
    for (int i = 0; i < count; ++i) {
        uint8_t *c = colours + 3 * i;
        const int grey = (3 * c[0] + 6 * c[1] + c[2]) / 10;
        const bool isGrey = AllClose(c[0], c[1], c[2], 10);
        for (int k = 0; k < 3; ++k) {
            if (mode == 1 || (mode == 2 && isGrey))
                c[k] = static_cast<uint8_t>(255 - c[k]);
            else if (mode == 3)
                c[k] = static_cast<uint8_t>(grey);
            else if (mode == 4)
                c[k] = static_cast<uint8_t>(255 - grey);
        }
    }
}

} // namespace kowen::reference
