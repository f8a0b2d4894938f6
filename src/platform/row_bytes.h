// How long a row of pixels is.
#pragma once

#include <cstdint>

namespace kowen {

/// Bytes of a row of pixels of so many bits, padded to a multiple of 4. Exact for every 32-bit
/// width and depth.
constexpr uint64_t PaddedRowBytes(uint64_t width, uint64_t bits) noexcept {
    return ((width * bits + 7) / 8 + 3) / 4 * 4;
}

} // namespace kowen
