// Drawing routine for a host bitmap; the picture record is its BitmapRecord.
#pragma once

#include <cstdint>

namespace kowen {

/// A DrawingRoutine; what each operation takes and answers is told there. It has one band, the
/// whole picture, brought to the off-screen's size and depth: shrunk, converted, stretched. A
/// bitmap that has them is answered as it is: the band's pixels are then the host's, else the
/// routine's own until close.
///
/// Without memory open answers 0 rows, and a band answers 0 with bandLost set. An unknown operation
/// answers 0.
uintptr_t DrawExportCellData(int32_t operation, void *record, uintptr_t argument1,
                             uintptr_t argument2) noexcept;

} // namespace kowen
