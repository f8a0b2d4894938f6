// Drawing routine for a host bitmap; the picture record is its BitmapRecord.
#pragma once

#include <cstdint>

namespace kowen {

uintptr_t DrawExportCellData(int32_t operation, void *record, uintptr_t argument1,
                             uintptr_t argument2) noexcept;

} // namespace kowen
