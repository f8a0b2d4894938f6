// The bitmap door: one host bitmap exported from end to end.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

int32_t ExportCellData(const char *outputName, BitmapRecord *bitmap, const CellRecord *cell,
                       const HostRecord *host) noexcept;

} // namespace kowen
