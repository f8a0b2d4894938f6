// What the conversions print under the diagnostic level.
#pragma once

#include <cstdint>

namespace kowen {

/// What rlConvertBitmapDepth reports, on standard error: before the rows, after each row, and at
/// the end. bytes is the size of the target.
void ReportConversionStart(uint32_t bytes) noexcept;
void ReportConvertedRow() noexcept;
void ReportConversionEnd() noexcept;

/// What rlReduceColorTable reports, on standard error: the wanted count and the resulting table.
void ReportReduction(uint16_t wanted, const uint8_t *table, uint16_t count) noexcept;

/// What the ditherer reports, on standard output: the table, before the rows, after each row and
/// at the end.
void ReportDitherTable(const uint8_t *table, uint32_t count) noexcept;
void ReportDitherStart() noexcept;
void ReportDitheredRow() noexcept;
void ReportDitherEnd() noexcept;

} // namespace kowen
