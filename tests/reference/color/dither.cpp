#include "reference/color/dither.h"

#include "reference/color/median_cut.h"

#include <algorithm>

namespace kowen::reference {
namespace {

uint8_t Clamp(int x) {
    return static_cast<uint8_t>(x < 0 ? 0 : x > 255 ? 255 : x);
}

// 7 of 16, less so many eighths.
int Share(int error, int eighths) {
    return 7 * error / 16 - eighths * (error / 8);
}

Bytes EntryAt(const Bytes &table, uint32_t count, uint32_t index) {
    if (index >= count || index >= table.size() / 3)
        return {0, 0, 0};
    const auto entry = table.begin() + ptrdiff_t{3} * index;
    return {entry, entry + 3};
}

} // namespace

DitheredRow DitherRow(const Bytes &row, const Bytes &table, uint32_t count) {
    DitheredRow dithered = {{}, std::vector<int>(row.size(), 0)};
    Bytes chosen = EntryAt(table, count, 0);
    for (size_t i = 0; i < row.size(); i += 3) {
        int pixel[3];
        for (size_t c = 0; c < 3; ++c)
            pixel[c] = i == 0 ? row[c] : Clamp(row[i + c] + Share(dithered.errors[i + c - 3], 0));
        if (i + 3 < row.size()) {
            chosen =
                EntryAt(table, count, NearestRGBIndex(pixel[0], pixel[1], pixel[2], table, count));
            for (size_t c = 0; c < 3; ++c)
                dithered.errors[i + c] = pixel[c] - chosen[c];
        }
        dithered.colours.insert(dithered.colours.end(), chosen.begin(), chosen.end());
    }
    return dithered;
}

// The error of the pixel above to the left comes first, then that of the one above, then that of
// the one to the right of it; but what a last pixel of the row above would hand on does not exist.
Bytes WithErrors(const Bytes &row, const std::vector<int> &errorsAbove) {
    Bytes result = row;
    const auto takeFrom = [&](size_t i, size_t source, int eighths) {
        result[i] = Clamp(result[i] + Share(errorsAbove[source], eighths));
    };
    for (size_t i = 0; i < row.size(); ++i) {
        if (i >= 3)
            takeFrom(i, i - 3, 3);
        takeFrom(i, i, 1);
        if (i + 3 < row.size())
            takeFrom(i, i + 3, 2);
    }
    return result;
}

Bytes DitherGivenCT(const Bytes &bitmap, uint32_t width, uint32_t height, uint16_t from,
                    uint16_t to, const Bytes *palette, const Bytes &table, uint32_t count) {
    Bytes copy = ConvertBitmapDepth(bitmap, width, height, from, 24, palette, nullptr, 0);
    const auto stride = static_cast<ptrdiff_t>(BytesPerLine(width, 24));
    std::vector<int> errors(size_t{width} * 3, 0);
    for (uint32_t y = 0; y < height; ++y) {
        const auto row = copy.begin() + y * stride;
        if (to == 1 && width != 0)
            ColorMode(static_cast<int>(width), &*row, 3);
        const DitheredRow dithered =
            DitherRow(WithErrors({row, row + ptrdiff_t{3} * width}, errors), table, count);
        std::copy(dithered.colours.begin(), dithered.colours.end(), row);
        errors = dithered.errors;
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
    Bytes table =
        n > 8 ? ReduceColours(copy, width, height, static_cast<uint16_t>(n - 8)) : Bytes();
    const Bytes mustHave = {255, 255, 255, 255, 255, 0, 255, 0, 255, 0, 255, 255,
                            255, 0,   0,   0,   255, 0, 0,   0, 255, 0, 0,   0};
    table.insert(table.end(), mustHave.begin(), mustHave.end());
    table.resize(size_t{n} * 3, 0);
    return {table, n};
}

} // namespace kowen::reference
