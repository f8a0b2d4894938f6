// EXIF data out of a TIFF file, whose directories have it among what describes the pixels.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace kowen::cli {

/// A TIFF structure of what the first page says about the picture: maker, model, program, date,
/// artist, copyright, resolution, and its EXIF and GPS directories, in the file's byte order.
/// Without the description, which is the picture's comment.
///
/// Empty when there is nothing but resolution and program. Never reads outside of `file`; values
/// that lie there are passed over.
std::vector<uint8_t> ExifOfTiff(std::span<const uint8_t> file);

} // namespace kowen::cli
