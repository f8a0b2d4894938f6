// A source's rows as opaque grey or RGB, whatever its format.
#pragma once

#include "readers/source.h"

#include <array>

namespace kowen::cli {

using Rgb = std::array<uint8_t, 3>;

class PlainRows {
public:
    /// source      borrowed.
    /// background  what transparent pixels show.
    PlainRows(Source *source, const Rgb &background);

    /// 3, or 1 where every pixel is grey by its format.
    size_t Channels() const { return channels; }

    /// Writes the next row, Channels() bytes a pixel.
    void ReadRow(uint8_t *pixels);

    /// Whether a transparent pixel has been put on the background so far.
    bool Flattened() const { return flattened; }

private:
    void MakePalette();
    void TakeBits(uint8_t *pixels) const;
    void TakeIndexes(uint8_t *pixels) const;
    void TakeTransparent(uint8_t *pixels, size_t colours);

    Source *source;
    Rgb background;
    size_t channels = 3;
    bool flattened = false;
    bool paletteFlattened = false;
    std::vector<uint8_t> palette; ///< opaque, 256 colours
    std::vector<uint8_t> row;
};

} // namespace kowen::cli
