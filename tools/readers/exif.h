// The few things of EXIF data that reading a picture needs.
#pragma once

#include <cstdint>
#include <span>

namespace kowen::cli {

/// How the picture was held, 1 to 8; 1 where the data do not say or are none.
///
/// exif  a TIFF structure, with or without the six bytes before it.
uint32_t ExifOrientation(std::span<const uint8_t> exif);

} // namespace kowen::cli
