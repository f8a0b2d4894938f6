// Pixels for which the filter's colour formula gives the samples that JFIF asks for.
//
// The filter makes of a pixel (r, g, b), every division truncating toward zero
//
//     y = (3 r + 6 g + b) / 10    cb = (b - y) / 2 + 128    cr = (r - y) 10 / 16 + 128
//
// where JFIF 1.02 says Y = 0.299 R + 0.587 G + 0.114 B, Cb = (B - Y) / 1.772 + 128,
// Cr = (R - Y) / 1.402 + 128. Files of the filter's own samples show colours at 0.88 of what they
// were. So the pixel handed over is
//
//     b = Y + 2 (Cb - 128)    r = Y + 1.6 (Cr - 128), away from Y    g = (10 Y - 3 r - b) / 6, up
//
// for which the filter gives exactly the rounded Y, Cb and Cr, as long as r, g and b are bytes.
// Where one of them is not, it is clipped, and g is what makes up for it in y.
#pragma once

#include <cstdint>

namespace kowen::host {

/// A row of 3-byte pixels, changed in place. Returns the number of pixels whose colours are visibly
/// beyond what the filter can be given: r, g or b more than 16 outside its byte.
using AdjustRow = uint32_t (*)(uint8_t *row, uint32_t width);

/// One variant of the loops. All give the same bytes.
struct AdjustVariant {
    const char *name;

    /// For samples that are subsampled across, of which the filter takes the chroma of each first
    /// column: that gets the luminance of its own and the mean chroma of both; the second gets its
    /// luminance as a grey, but for the row's last one, which gets the chroma as well.
    AdjustRow pairs;

    /// For pixels that the filter resamples: each one by itself.
    AdjustRow single;

    /// For grey files: each pixel becomes a grey of its luminance. Nothing is clipped.
    AdjustRow grey;
};

/// The forms that this machine runs, the fastest first, null behind the last, which is the plain
/// one.
const AdjustVariant *const *AdjustVariants();

inline const AdjustVariant &FastestAdjust() {
    return *AdjustVariants()[0];
}

extern const AdjustVariant kAdjustScalar;
#ifdef KOWEN_HOST_X86
extern const AdjustVariant kAdjustAvx2;
extern const AdjustVariant kAdjustAvx512; ///< with the parts BW and VBMI
#endif

} // namespace kowen::host
