// Which reader a picture file needs.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace kowen::host {

/// The picture library's name of the format, told by the first bytes or, for formats that have no
/// mark, by the end of the file's name. Empty for anything else: only formats that hold pixels are
/// known here, none that fetches other files or runs programs when it is read.
std::string PictureFormat(std::span<const uint8_t> bytes, const std::string &path);

} // namespace kowen::host
