// Bands of pixels to entropy-coded bytes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kowen {

struct CompressEnv;

inline constexpr uint32_t kMcuRowHeight = 8;
inline constexpr uint32_t kPixelBytes = 3;

/// Rows of 3-byte pixels, in either direction through memory.
template <typename Byte> struct PixelRows {
    Byte *top;                ///< the uppermost row
    std::ptrdiff_t stepBytes; ///< from a row to the one below it
    uint32_t rows;
    uint32_t width; ///< pixels

    Byte *Row(uint32_t row) const { return top + static_cast<std::ptrdiff_t>(row) * stepBytes; }
};

/// Pixels as MapColors leaves them.
using MappedRows = PixelRows<const uint8_t>;
/// Pixels as a producer hands them over, red, green, blue; mapped in place as they are coded.
using SourceRows = PixelRows<uint8_t>;

/// Sequential coding of one MCU row, colour format 212: chroma from the even columns.
///
/// outputIgnored  kept for the calling shape; bytes go to the environment's output buffer.
/// pixels         rows x width x 3 bytes, mapped, no row padding, top row first.
/// rows           1 to 8; missing rows repeat the last.
/// width          pixels; missing columns of the last MCU repeat the last column (chroma: the
///                last even column).
/// Returns the band's byte count; bits that do not fill a byte stay in the environment. 0 after a
/// failed growth of the buffer.
/// Not on the export path.
///
/// Kept deliberately: chroma is that of the even columns alone, not a mean of two.
/// Test: Decoded.ChromaIsThatOfTheEvenColumns.
int32_t CompressBands422(uint8_t *outputIgnored, const uint8_t *pixels, uint32_t rows,
                         uint32_t width, CompressEnv *env) noexcept;

/// Sequential coding of one MCU row, colour formats 222 and 215. As CompressBands422, with
/// blocks of every component at full size.
///
/// Kept deliberately: all components share the predictor and the Huffman tables of the first,
/// while they are quantised by their own table; the headers name table 1 for components 2 and 3.
/// Test: CompressBands444.ComponentsShareTheFirstPredictor.
/// Not on the export path.
int32_t CompressBands444(uint8_t *outputIgnored, const uint8_t *pixels, uint32_t rows,
                         uint32_t width, CompressEnv *env) noexcept;

/// Sequential coding of one MCU row as it stands in the producer's band: what MapColors (byte
/// order red, green, blue) and CompressBands422 or CompressBands444, by the environment's colour
/// format, do one after the other.
///
/// rows  1 to 8 rows; their pixels are mapped in place.
/// Returns as CompressBands422.
int32_t MapAndCompressBand(const SourceRows &rows, CompressEnv *env) noexcept;

/// Progressive coding of a whole picture, colour format 212: four scans with their headers.
///
/// pixels       rows x width x 3 bytes, mapped, no row padding, top row first.
/// rows, width  the environment's padded size; of any other size the whole MCUs are coded, none of
///              their blocks counts as padding then.
/// Returns the byte count; 0 after a failed growth of the buffer; -1 if the coefficient store
/// cannot be allocated.
/// Not on the export path.
int32_t CompressProgressive(uint8_t *outputIgnored, const uint8_t *pixels, uint32_t rows,
                            uint32_t width, CompressEnv *env) noexcept;

/// Progressive coding of a picture as it stands in the producer's band: what MapColors (byte order
/// red, green, blue), padding with JpgPadRow and JpgPadTo8Rows, and CompressProgressive do one
/// after the other. The pixels are mapped in place. Returns as CompressProgressive.
int32_t MapAndCompressProgressive(const SourceRows &rows, CompressEnv *env) noexcept;

} // namespace kowen
