// Which format a picture is in: by its first bytes, not by its name.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace kowen::cli {

/// The format's name, such as PNG, as the picture library has it. Formats without a mark of their
/// own go by the ending of the path. Empty for everything else: what the library could only guess
/// at, scripts of drawing commands among it, is not read.
std::string PictureFormat(std::span<const uint8_t> bytes, const std::string &path);

/// All formats that PictureFormat knows, each once.
std::vector<std::string> KnownFormats();

} // namespace kowen::cli
