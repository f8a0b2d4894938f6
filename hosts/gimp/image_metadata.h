// What an image of GIMP's says beside its pixels.
#pragma once

#include <libgimp/gimp.h>

#include <cstdint>
#include <string>
#include <vector>

namespace kowen::gimp {

struct ImageMetadata {
    std::vector<uint8_t> exif; ///< a TIFF structure without a thumbnail, or empty
    std::vector<uint8_t> icc;  ///< the profile that the pixels are delivered in, or empty: sRGB
    std::string profileName;   ///< of icc, as GIMP shows it
    std::string comment;       ///< or empty
    bool curved = false;       ///< icc has the curve of sRGB where the image's own one is linear
};

/// Reads them; the image stays as it is.
ImageMetadata MetadataOf(gint32 image);

} // namespace kowen::gimp
