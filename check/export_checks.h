// The bitmap door, checked.
#pragma once

#include "kowen/kowen.h"

namespace kowen::check {

int32_t CheckedExportCellData(const char *outputName, BitmapRecord *bitmap, const CellRecord *cell,
                              const HostRecord *host);

} // namespace kowen::check
