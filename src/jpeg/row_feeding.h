// Rows fed to the coder band by band, coded bytes written to the output file.
#pragma once

#include "io/file_handle.h"
#include "jpeg/bands.h"

#include <cstdint>

namespace kowen {

struct CompressEnv;

/// Copies the last real pixel of a row into each following place up to the padded width.
/// lastPixel: 3 bytes, with room for the rest behind them. Returns 0.
/// Not on the export path.
int32_t JpgPadRow(uint8_t *lastPixel, uint32_t paddedWidth, uint32_t width) noexcept;

/// Copies the last real row into each following row up to the padded count. Returns 0.
/// Not on the export path.
int32_t JpgPadTo8Rows(uint8_t *lastRow, uint32_t paddedRows, uint32_t rows,
                      uint32_t strideBytes) noexcept;

/// Copies count bytes in pieces of at most 32767. Returns 0.
int32_t HugeMemcpy(void *destination, const void *source, uint32_t count) noexcept;

/// Codes rowCount rows and writes the bytes to the output file.
///
/// rows   mapped pixels, width x 3 bytes a row, top row first; operation 246: the padded picture.
/// Returns 0, also for an operation or colour format that codes nothing; -1 if the band buffer or
/// the progressive coefficient store cannot be allocated, nothing is written then; 300 if the bytes
/// cannot be written for want of memory, the band is lost then.
///
/// Hardened: 300 if the band buffer could not be grown; the band is lost.
/// Test: CompAndWriteNRows.LostGrowthIsReported.
/// Not on the export path.
int32_t CompAndWriteNRows(FileHandle output, const uint8_t *rows, uint32_t width, uint32_t rowCount,
                          CompressEnv *env) noexcept;

/// What MapColors and CompAndWriteNRows do one after the other, for a band as its producer holds
/// it: sequential in MCU rows of at most 8 rows from the top; progressive in one go, padded to
/// whole MCUs. One band buffer serves all MCU rows.
///
/// band  its pixels are mapped in place, also where nothing is coded.
/// Returns 0; KOWEN_ERR_MEMORY (300) if the band buffer cannot be had, or if an MCU row is lost,
/// which is then the last; -1 if the progressive coefficient store cannot be allocated.
int32_t MapAndWriteBand(FileHandle output, const SourceRows &band, CompressEnv *env) noexcept;

} // namespace kowen
