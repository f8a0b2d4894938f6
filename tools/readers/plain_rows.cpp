#include "readers/plain_rows.h"

#include <algorithm>

namespace kowen::cli {
namespace {

constexpr unsigned kOpaque = 255;
constexpr size_t kMostColours = 256;

uint8_t Over(unsigned colour, unsigned alpha, unsigned background) {
    return static_cast<uint8_t>((colour * alpha + background * (kOpaque - alpha) + kOpaque / 2) /
                                kOpaque);
}

} // namespace

PlainRows::PlainRows(Source *rows, const Rgb &under) : source(rows), background(under) {
    const PictureFacts &facts = source->Facts();
    const bool indexed = facts.format == KOWEN_PIXEL_INDEXED || facts.format == KOWEN_PIXEL_BILEVEL;
    const bool greyGround = under[0] == under[1] && under[1] == under[2];
    if (facts.format == KOWEN_PIXEL_GREY ||
        (facts.format == KOWEN_PIXEL_GREY_ALPHA && greyGround) ||
        (facts.format == KOWEN_PIXEL_BILEVEL && facts.palette.empty()))
        channels = 1;
    if (indexed)
        MakePalette();
    row.resize(RowBytes(facts));
}

void PlainRows::MakePalette() {
    const PictureFacts &facts = source->Facts();
    palette.assign(kMostColours * 3, 0);
    std::copy_n(facts.palette.begin(), std::min(facts.palette.size(), palette.size()),
                palette.begin());
    if (facts.palette.empty())
        std::fill_n(palette.begin() + 3, 3, uint8_t{kOpaque});
    for (size_t i = 0; i < facts.paletteAlpha.size() && i < kMostColours; ++i) {
        for (size_t c = 0; c < 3; ++c)
            palette[i * 3 + c] = Over(palette[i * 3 + c], facts.paletteAlpha[i], background[c]);
        paletteFlattened = paletteFlattened || facts.paletteAlpha[i] != kOpaque;
    }
}

void PlainRows::TakeBits(uint8_t *pixels) const {
    for (uint32_t x = 0; x < source->Facts().width; ++x) {
        const size_t index = row[x / 8] >> (7 - x % 8) & 1;
        std::copy_n(palette.begin() + static_cast<ptrdiff_t>(index * 3), channels, pixels);
        pixels += channels;
    }
}

void PlainRows::TakeIndexes(uint8_t *pixels) const {
    for (uint32_t x = 0; x < source->Facts().width; ++x, pixels += 3)
        std::copy_n(palette.begin() + ptrdiff_t{row[x]} * 3, 3, pixels);
}

// colours  1 of grey and alpha, else 3.
void PlainRows::TakeTransparent(uint8_t *pixels, size_t colours) {
    const uint8_t *from = row.data();
    for (uint32_t x = 0; x < source->Facts().width; ++x, from += colours + 1, pixels += channels) {
        const unsigned alpha = from[colours];
        flattened = flattened || alpha != kOpaque;
        for (size_t c = 0; c < channels; ++c)
            pixels[c] = Over(from[std::min(c, colours - 1)], alpha, background[c]);
    }
}

void PlainRows::ReadRow(uint8_t *pixels) {
    const KowenPixelFormat format = source->Facts().format;
    if (format == KOWEN_PIXEL_RGB || format == KOWEN_PIXEL_GREY) {
        source->ReadRow(pixels);
        return;
    }
    source->ReadRow(row.data());
    flattened = flattened || paletteFlattened;
    if (format == KOWEN_PIXEL_BILEVEL)
        TakeBits(pixels);
    else if (format == KOWEN_PIXEL_INDEXED)
        TakeIndexes(pixels);
    else
        TakeTransparent(pixels, format == KOWEN_PIXEL_GREY_ALPHA ? 1 : 3);
}

} // namespace kowen::cli
