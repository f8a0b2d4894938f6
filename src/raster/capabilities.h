// What the raster driver tells a host about itself at initialisation.
#pragma once

#include <cstdint>

namespace kowen {

/// Writes the driver's capabilities into the host's array of at least 60 words; null is ignored.
/// Words 6, 7, 8, 30, 42, 43, 46 and 48 to 54 are not touched; word 47 takes the colour mode.
void FillCapabilities(int32_t *capabilities, int32_t colorMode) noexcept;

} // namespace kowen
