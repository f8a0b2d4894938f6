// EXIF data of a source picture, made to fit the JPEG that it goes into.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace kowen::host {

/// What the JPEG is.
struct ExifFit {
    uint32_t width = 0;  ///< pixels of the JPEG
    uint32_t height = 0; ///< pixels of the JPEG
    bool keepThumbnail = false;
    uint32_t xDpi = 0; ///< dots per inch of the JPEG; 0 = what the data say stays
    uint32_t yDpi = 0;
};

/// The TIFF structure for the JPEG: the orientation says upright, sizes and resolution are the
/// JPEG's where the data state them, and a thumbnail that is not to be kept is gone, its pixels
/// included.
///
/// exif  a TIFF structure, with or without "Exif\0\0" before it.
/// Returns it; empty when it is damaged. Never reads outside of what it is given.
std::vector<uint8_t> FitExif(std::span<const uint8_t> exif, const ExifFit &fit);

/// The size of the picture that the data itself names; 0 when it does not.
struct ExifSize {
    uint32_t width = 0;
    uint32_t height = 0;
};
ExifSize SizeInExif(std::span<const uint8_t> exif);

} // namespace kowen::host
