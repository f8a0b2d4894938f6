// The colour-mode transform: colours unchanged, inverted or turned grey.
#pragma once

#include <cstdint>

namespace kowen {

void rev_rgb(int32_t count, uint8_t *colors, int32_t mode) noexcept;

} // namespace kowen
