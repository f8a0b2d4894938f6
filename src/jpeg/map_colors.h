// Pixels to component bytes, in place.
#pragma once

#include <cstdint>

namespace kowen {

/// Byte order codes of MapColors: 1 takes pixels as blue, green, red; 2 as red, green, blue.
inline constexpr int32_t kByteOrderBgr = 1;
inline constexpr int32_t kByteOrderRgb = 2;

/// Converts 3-byte pixels to the bytes the block coder reads, in place.
///
///   222: b0 and b2 are exchanged.
///   215: all bytes become (3 b2 + 6 b1 + b0) / 10.
///   any other, pixels (r, g, b): y = (3 r + 6 g + b) / 10; the bytes become
///   y, (b - y) / 2 + 128, ((r - y) x 10) / 16 + 128. Divisions truncate toward zero.
///
/// pixels     rows of width pixels, strideBytes apart.
/// byteOrder  kByteOrderBgr or kByteOrderRgb; counts for colour transforms only.
/// Returns 0.
///
/// Kept deliberately: the transform is the filter's own. Its chroma is 0.88 of what decoders undo
/// (0.886 of the blue difference, 0.877 of the red one), so that they show (255, 0, 0) as
/// (232, 10, 9). Test: Decoded.PureColoursComeOutPaler.
/// Kept deliberately: grey weighs b2, not b0, with 3 whatever the byte order.
/// Test: MapColors.GreyWeighsTheThirdByteMost.
int32_t MapColors(uint8_t *pixels, uint32_t width, uint32_t strideBytes, uint32_t rows,
                  int32_t colorFormat, int32_t byteOrder) noexcept;

} // namespace kowen
