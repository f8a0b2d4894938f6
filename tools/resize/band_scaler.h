// One band of rows scaled by zimg.
#pragma once

#include "resize/resize_choice.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kowen::cli {

/// Rows of one or three planes of bytes, apart from each other as the library wants them.
class PlanarRows {
public:
    PlanarRows(uint32_t width, uint32_t rows, size_t planes);

    uint8_t *Row(size_t plane, uint32_t row) {
        return bytes.data() + offset + (plane * rows + row) * stride;
    }
    size_t Planes() const { return planes; }
    size_t Stride() const { return stride; }

    /// Pixels as they are in a picture, Planes() bytes each, to and from a row.
    void Put(const uint8_t *pixels, uint32_t row);
    void Take(uint8_t *pixels, uint32_t row);

    /// Moves `count` rows that start at `from` to the top.
    void MoveUp(uint32_t from, uint32_t count);

private:
    uint32_t width;
    uint32_t rows;
    size_t planes;
    size_t stride;
    size_t offset = 0; ///< to an aligned address
    std::vector<uint8_t> bytes;
};

/// How many source rows beside a point decide about it.
double KernelReach(const PixelSize &source, const PixelSize &result);

/// Where a band lies.
struct Band {
    PixelSize source;         ///< the whole picture
    PixelSize result;         ///< the whole picture
    uint32_t firstRow = 0;    ///< of the result
    uint32_t rows = 0;        ///< of the result
    uint32_t sourceFirst = 0; ///< the first source row that is there
    uint32_t sourceRows = 0;  ///< how many are
};

/// Scales. `from` has the source rows, `to` gets the result's. Throws Failure when the library
/// cannot.
void ScaleBand(const Band &band, PlanarRows *from, PlanarRows *to);

} // namespace kowen::cli
