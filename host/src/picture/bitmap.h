// A picture in the form that the filter takes.
#pragma once

#include "filter/module.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace kowen::host {

/// Rows from the bottom up, each padded to 4 bytes, in memory that the module has a handle of.
class Bitmap {
public:
    /// depth    bits per pixel: 1, 4, 8 or 24.
    /// palette  2^depth colours of red, green and blue; empty at 24 bits.
    /// Throws Failure when there is not enough memory.
    Bitmap(const FilterModule &owner, uint32_t columns, uint32_t rows, int bits,
           const std::vector<uint8_t> &colours);

    /// A picture of its own with the same pixels: an export may change those it is given.
    Bitmap Copy() const;

    /// For the time of an export.
    BitmapRecord Record() const;

    /// For an export whose outcome nobody wants any more: what it still reads are pixels of one
    /// colour, which are coded in a fraction of the time. The pixels are lost.
    void Discard() const { pixels.Discard(); }

    uint32_t Width() const { return width; }
    uint32_t Height() const { return height; }
    int Depth() const { return depth; }

    /// y  0 is the top row.
    uint8_t *Row(uint32_t y) const { return pixels.Data() + rowBytes * (height - 1 - y); }

private:
    const FilterModule &module;
    uint32_t width;
    uint32_t height;
    int depth;
    size_t rowBytes;
    std::vector<uint8_t> palette;
    WrappedBlock pixels;
    WrappedBlock paletteBlock;
};

} // namespace kowen::host
