// Pixels of less than 8 bits as one byte each, and back: what the row loops work on.
#pragma once

#include <cstdint>

namespace kowen {

/// Writes the values of the first count pixels of a row of 1, 4 or 8 bits per pixel; 0 for other
/// depths, which are not read.
void UnpackPixels(uint16_t bits, const uint8_t *row, uint32_t count, uint8_t *values) noexcept;

/// Stores count values, of which the lowest bits count, as the first pixels of a row of 1, 4 or 8
/// bits per pixel; whole bytes are written, the rest of the last one is 0. Other depths are not
/// written.
void PackPixels(uint16_t bits, const uint8_t *values, uint32_t count, uint8_t *row) noexcept;

} // namespace kowen
