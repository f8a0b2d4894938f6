// How many pixels the exported picture gets: fitting a picture into the setup's page.
//
// All read the setup at lpRaster. Without a current setup they do nothing and write nothing.
// Sizes and ratios are computed in double, pixels are 32-bit and saturate at their limits; a
// resolution of 0 makes a size of 0.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

/// Width and height in inches.
struct SizeInches {
    double width;
    double height;
};

/// Answers the host's question how large its picture will become.
///
/// setup   ignored.
/// query   of its resolutions the low 16 bits count, as signed numbers; 0 = not known.
/// answer  out: pixels, rounded up, and the depth, always 24.
///
/// Changes the current setup: with the size or resolution taken from the picture or the display,
/// the setup's size or resolutions become theirs.
///
/// Kept deliberately: the pixels have gone through inches before they are rounded up, so that some
/// pictures gain one (7 pixels at 100 dots per inch become 8).
/// Test: GetRasterInfoTest.SevenPixelsAtHundredDpiBecomeEight.
void GetRasterInfo(MemoryHandle setup, const RasterQuery *query, RasterAnswer *answer) noexcept;

/// Fits a picture of so many pixels into the setup's page: the page shrinks along one side to the
/// picture's ratio. Signs are ignored.
///
/// Kept deliberately: the sides count as inclusive extents, one more on both.
/// Test: AdjustAspectTest.SidesCountAsInclusiveExtents.
void AdjustAspect(SizeInches *size, int32_t pictureWidth, int32_t pictureHeight) noexcept;

/// As AdjustAspect, with the plain ratio of two sizes in any unit. Returns 0.
int32_t RasterAdjustAspect(SizeInches *size, double pictureWidth, double pictureHeight) noexcept;

/// Caps the longer side of a size in inches at KOWEN_MAX_INCHES, keeping the ratio. Without
/// both pointers nothing happens. Returns 0.
int32_t ScaleImageSize(double *width, double *height) noexcept;

} // namespace kowen
