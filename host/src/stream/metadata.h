// Segments that carry what a source picture says beside its pixels.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace kowen::host {

/// Whether the data fits: EXIF and comments have one segment, profiles up to 255.
bool ExifFits(size_t size);
bool IccFits(size_t size);
bool CommentFits(size_t size);

/// Append whole segments. What they are given must fit.
void AppendExif(std::span<const uint8_t> tiff, std::vector<uint8_t> *segments);
void AppendIcc(std::span<const uint8_t> profile, std::vector<uint8_t> *segments);
void AppendComment(const std::string &text, std::vector<uint8_t> *segments);

} // namespace kowen::host
