#include "picture/row_source.h"

#include "base/failure.h"
#include "picture/adjust.h"
#include "picture/colour_mode.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace kowen::host {
namespace {

constexpr uint32_t kGreys = 256;

thread_local std::string rowMessage;

bool IsGrey(const uint8_t *rgb) {
    return rgb[0] == rgb[1] && rgb[1] == rgb[2];
}

int BitsFor(uint32_t colours) {
    return colours <= 2 ? 1 : colours <= 16 ? 4 : 8;
}

uint8_t Over(uint8_t colour, uint8_t alpha, uint8_t background) {
    return static_cast<uint8_t>((colour * alpha + background * (255 - alpha) + 127) / 255);
}

} // namespace

void SetRowMessage(const char *message) {
    rowMessage = message != nullptr ? message : "";
}

RowSource::RowSource(const GivenPicture &given, const PixelPlan &pixelPlan)
    : picture(given), plan(pixelPlan) {
    if (picture.readRow != nullptr)
        stored.resize(picture.PackedRowBytes());
    indexes.resize(picture.width);
    if (picture.HasPalette() || picture.format == KOWEN_PIXEL_GREY)
        MakePalette();
}

void RowSource::MakePalette() {
    if (picture.format == KOWEN_PIXEL_GREY) {
        colours = kGreys;
        for (uint32_t i = 0; i < kGreys; ++i)
            palette.insert(palette.end(), 3, static_cast<uint8_t>(i));
    } else if (picture.palette != nullptr) {
        colours = picture.paletteSize;
        palette.assign(picture.palette, picture.palette + size_t{colours} * 3);
    } else {
        colours = 2;
        palette = {0, 0, 0, 255, 255, 255};
    }
    const bool hasAlpha = picture.palette != nullptr && picture.HasPalette();
    Recolour(palette.data(), hasAlpha ? picture.paletteAlpha : nullptr, colours);
    if (plan.greyFile && plan.adjust)
        FastestAdjust().grey(palette.data(), colours);
    ChooseDepth();
}

// Greys lose nothing in the filter's formula, so they are handed over as they are.
void RowSource::ChooseDepth() {
    bool small = true;
    for (uint32_t i = 0; i < colours; ++i)
        small = small && (!plan.adjust || IsGrey(&palette[size_t{i} * 3]));
    if (!small)
        return;
    depth = picture.orientation == 1 ? BitsFor(colours) : 8;
    palette.resize((size_t{1} << depth) * 3);
}

const uint8_t *RowSource::Find(uint32_t row) {
    if (picture.pixels != nullptr)
        return static_cast<const uint8_t *>(picture.pixels) +
               static_cast<ptrdiff_t>(row) * picture.stride;
    rowMessage.clear();
    if (picture.readRow(picture.rowContext, row, stored.data()) != 0)
        throw Failure(KOWEN_HOST_ERR_PICTURE,
                      !rowMessage.empty()
                          ? rowMessage
                          : "row " + std::to_string(row) + " of the picture cannot be read");
    return stored.data();
}

void RowSource::Take(uint32_t row, uint8_t *out) {
    const uint8_t *from = Find(row);
    if (depth != 24)
        TakeIndexes(from, out);
    else if (colours != 0)
        TakePaletteColours(from, out);
    else
        TakeColours(from, out);
}

// An index without a colour is taken for the first.
void RowSource::TakeIndexes(const uint8_t *from, uint8_t *out) const {
    if (picture.format == KOWEN_PIXEL_BILEVEL) {
        for (uint32_t x = 0; x < picture.width; ++x)
            out[x] = from[x / 8] >> (7 - x % 8) & 1;
        return;
    }
    for (uint32_t x = 0; x < picture.width; ++x, from += picture.pixelStride)
        out[x] = *from < colours ? *from : 0;
}

void RowSource::TakePaletteColours(const uint8_t *from, uint8_t *out) {
    TakeIndexes(from, indexes.data());
    for (uint32_t x = 0; x < picture.width; ++x, out += 3)
        std::memcpy(out, &palette[size_t{indexes[x]} * 3], 3);
}

void RowSource::TakeColours(const uint8_t *from, uint8_t *out) {
    Unpack(from, out);
    const bool hasAlpha = picture.layout.alpha >= 0;
    if (hasAlpha)
        UnpackAlpha(from);
    Recolour(out, hasAlpha ? indexes.data() : nullptr, picture.width);
}

void RowSource::Unpack(const uint8_t *from, uint8_t *out) const {
    const PixelLayout &layout = picture.layout;
    if (picture.format == KOWEN_PIXEL_RGB && picture.pixelStride == 3 &&
        picture.channelStride == 1) {
        std::memcpy(out, from, size_t{picture.width} * 3);
        return;
    }
    const uint8_t *red = from + layout.red * picture.channelStride;
    const uint8_t *green = from + layout.green * picture.channelStride;
    const uint8_t *blue = from + layout.blue * picture.channelStride;
    for (uint32_t x = 0; x < picture.width; ++x) {
        const ptrdiff_t at = static_cast<ptrdiff_t>(x) * picture.pixelStride;
        out[size_t{x} * 3] = red[at];
        out[size_t{x} * 3 + 1] = green[at];
        out[size_t{x} * 3 + 2] = blue[at];
    }
}

void RowSource::UnpackAlpha(const uint8_t *from) {
    from += picture.layout.alpha * picture.channelStride;
    for (uint32_t x = 0; x < picture.width; ++x)
        indexes[x] = from[static_cast<ptrdiff_t>(x) * picture.pixelStride];
}

void RowSource::Flatten(uint8_t *rgb, const uint8_t *alpha, size_t count) {
    if (std::all_of(alpha, alpha + count, [](uint8_t value) { return value == 255; }))
        return;
    transparent = true;
    for (size_t i = 0; i < count; ++i, rgb += 3) {
        for (size_t c = 0; c < 3; ++c)
            rgb[c] = Over(rgb[c], alpha[i], plan.background[c]);
    }
}

void RowSource::Recolour(uint8_t *rgb, const uint8_t *alpha, size_t count) {
    if (plan.toSrgb != nullptr)
        plan.toSrgb->Apply(rgb, count);
    if (alpha != nullptr)
        Flatten(rgb, alpha, count);
    ApplyColourMode(plan.colourMode, rgb, count);
}

} // namespace kowen::host
