// The few things of EXIF data that reading a picture needs.
#pragma once

#include "readers/source.h"

#include <cstdint>
#include <span>

namespace kowen::cli {

/// How the picture was held, 1 to 8; 1 where the data do not say or are none.
///
/// exif  a TIFF structure, with or without the six bytes before it.
uint32_t ExifOrientation(std::span<const uint8_t> exif);

/// Dots per inch, before the picture is turned; 0 where the data do not say both.
struct ExifDpi {
    double x = 0;
    double y = 0;
};
ExifDpi ExifResolution(std::span<const uint8_t> exif);

/// Takes what the facts' own EXIF data say: the orientation, and the resolution where the file says
/// none elsewhere.
void TakeExif(PictureFacts *facts);

} // namespace kowen::cli
