// The caller's rows, one after another, as the filter's bitmap holds them.
#pragma once

#include "picture/colour_transform.h"
#include "picture/given_picture.h"

#include <array>
#include <cstdint>
#include <vector>

namespace kowen::host {

/// What becomes of the pixels on their way to the filter.
struct PixelPlan {
    bool adjust = true;    ///< the filter is to give what JFIF asks for
    bool resized = false;  ///< by the filter
    bool greyFile = false; ///< one component
    int32_t colourMode = 0;
    std::array<uint8_t, 3> background = {255, 255, 255};
    const ColourTransform *toSrgb = nullptr; ///< or null
};

/// Rows without transparency, in the colours that are wanted, but not yet adjusted.
class RowSource {
public:
    /// Both must outlive the source.
    RowSource(const GivenPicture &given, const PixelPlan &pixelPlan);

    /// Bits per pixel of the bitmap: 1, 4, 8 or 24.
    int Depth() const { return depth; }

    /// 2^Depth entries of red, green and blue; empty at 24 bits.
    const std::vector<uint8_t> &Palette() const { return palette; }

    /// Bytes of a pixel in rows: 3, or 1 for an index, whatever the depth.
    size_t PixelBytes() const { return depth == 24 ? 3 : 1; }

    /// Writes a row; 0 is the stored picture's first. Each once, in order.
    /// Throws Failure (KOWEN_HOST_ERR_PICTURE).
    void Take(uint32_t row, uint8_t *out);

    /// Whether a pixel was transparent so far.
    bool SawTransparency() const { return transparent; }

private:
    void MakePalette();
    void ChooseDepth();
    const uint8_t *Find(uint32_t row);
    void TakeIndexes(const uint8_t *from, uint8_t *out) const;
    void TakePaletteColours(const uint8_t *from, uint8_t *out);
    void TakeColours(const uint8_t *from, uint8_t *out);
    void Unpack(const uint8_t *from, uint8_t *out) const;
    void UnpackAlpha(const uint8_t *from);
    void Flatten(uint8_t *rgb, const uint8_t *alpha, size_t count);
    void Recolour(uint8_t *rgb, const uint8_t *alpha, size_t count);

    const GivenPicture &picture;
    const PixelPlan &plan;
    int depth = 24;
    bool transparent = false;
    uint32_t colours = 0; ///< of the palette; 0 = the pixels are colours
    std::vector<uint8_t> palette;
    std::vector<uint8_t> stored;  ///< a row that was read
    std::vector<uint8_t> indexes; ///< of a row, or its alpha
};

/// Keeps a copy of the message that the caller's row reader leaves on this thread; null forgets it.
void SetRowMessage(const char *message);

} // namespace kowen::host
