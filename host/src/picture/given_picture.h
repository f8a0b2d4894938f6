// The caller's picture, checked.
#pragma once

#include "kowen/host.h"

#include <cstddef>
#include <cstdint>

namespace kowen::host {

/// How a format's pixels are stored.
struct PixelLayout {
    int channels; ///< bytes of a pixel; 0 for bits
    int red;      ///< channel numbers
    int green;
    int blue;
    int alpha; ///< -1: opaque
};

/// A picture with every default filled in. What the caller's record points at stays the caller's.
struct GivenPicture : KowenPicture {
    /// Throws BadArgument, or Failure (KOWEN_HOST_ERR_SIZE) for a picture without pixels or too
    /// many of them.
    explicit GivenPicture(const KowenPicture *given);

    PixelLayout layout = {};

    bool HasPalette() const {
        return format == KOWEN_PIXEL_INDEXED || format == KOWEN_PIXEL_BILEVEL;
    }

    /// Whether rows become columns.
    bool Transposed() const { return orientation >= 5; }
    uint32_t UprightWidth() const { return Transposed() ? height : width; }
    uint32_t UprightHeight() const { return Transposed() ? width : height; }

    /// Bytes of a row without gaps.
    size_t PackedRowBytes() const;

private:
    void CheckRecord() const;
    void FillIn();
};

} // namespace kowen::host
