// The output pipeline of cell arrays: a bitmap is scaled, converted and written as a JPEG.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

/// What the pixels of a bitmap are.
enum CellColors : int32_t {
    kCellsIndexed = 0,
    kCellsRgb = 1,
    kCellsCmyk = 2,
    kCellsRgbAlpha = 3,
};

/// Returns what keeps the device from drawing: KOWEN_ERR_OUTPUT (303), no output is open;
/// KOWEN_ERR_MEMORY (300), there is no current setup to draw by; or 0.
///
/// Hardened: a picture that has nowhere to go is reported, and nothing is read by way of a setup
/// that is not there. Test: RasterWriteCells.NeedsAnOutputAndASetup.
int32_t DrawingObstacle() noexcept;

/// Scales a bitmap to the size that the setup and the resolution ask for, converts it to the
/// setup's depth and writes it to the device's output as a JPEG. Tells the host the progress.
///
/// bitmap      stays the caller's; its pixels may be changed.
/// width       pixels; height rows; resolution dots per inch, 0 = not known; depth bits per pixel.
/// colours     CellColors.
///
/// Pushes DrawingObstacle's code; KOWEN_ERR_MEMORY (300) when memory is exhausted and when a size
/// is 0, does not fit into 32 bits or is more than the bitmap holds; an error of WriteCellBits.
/// After a refused progress call it ends without a code: closing the device asks the host again.
///
/// Hardened: cells without pixels, and fewer of them than the size says, are an error.
/// Tests: RasterWriteCells.EmptyPicturesAreAnError and ...ABitmapThatIsTooSmallIsAnError.
///
/// Kept deliberately: whether to shrink or to stretch is decided by the heights alone. Test:
/// RasterWriteCells.ScalesNothingWhenOnlyTheWidthsDiffer.
void RasterWriteCellData(MemoryHandle bitmap, uint32_t width, uint32_t height, int32_t resolution,
                         uint16_t depth, int32_t colours) noexcept;

} // namespace kowen
