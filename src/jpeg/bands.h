// Bands of mapped pixels to entropy-coded bytes.
#pragma once

#include <cstdint>

namespace kowen {

struct CompressEnv;

inline constexpr uint32_t kBandRows = 8;
inline constexpr uint32_t kPixelBytes = 3;

/// Sequential coding of one MCU row, colour format 212: chroma from the even columns.
///
/// outputIgnored  kept for the calling shape; bytes go to the environment's output buffer.
/// pixels         rows x width x 3 bytes, no row padding, top row first.
/// rows           1 to 8; missing rows repeat the last.
/// width          pixels; missing columns of the last MCU repeat the last column (chroma: the
///                last even column).
/// Returns the band's byte count; bits that do not fill a byte stay in the environment. 0 after a
/// failed growth of the buffer.
int32_t CompressBands422(uint8_t *outputIgnored, const uint8_t *pixels, uint32_t rows,
                         uint32_t width, CompressEnv *env) noexcept;

/// Sequential coding of one MCU row, colour formats 222 and 215. As CompressBands422, with
/// blocks of every component at full size.
///
/// Kept deliberately: all components share the predictor and the Huffman tables of the first,
/// while they are quantised by their own table; the headers name table 1 for components 2 and 3.
/// Test: CompressBands444.ComponentsShareTheFirstPredictor.
int32_t CompressBands444(uint8_t *outputIgnored, const uint8_t *pixels, uint32_t rows,
                         uint32_t width, CompressEnv *env) noexcept;

/// Progressive coding of a whole picture, colour format 212: four scans with their headers.
///
/// pixels       rows x width x 3 bytes, no row padding, top row first.
/// rows, width  the environment's padded size; of any other size the whole MCUs are coded, none of
///              their blocks counts as padding then.
/// Returns the byte count; 0 after a failed growth of the buffer; -1 if the coefficient store
/// cannot be allocated.
int32_t CompressProgressive(uint8_t *outputIgnored, const uint8_t *pixels, uint32_t rows,
                            uint32_t width, CompressEnv *env) noexcept;

} // namespace kowen
