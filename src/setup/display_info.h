// What the size and resolution modes know of the display and the printer.
#pragma once

#include <cstdint>

namespace kowen {

/// Stores the display's size in pixels and its resolutions in dots per inch; 0 = not known.
/// Process-wide, until the next call.
void SetDisplayInfo(double width, double height, int16_t xResolution, int16_t yResolution) noexcept;

/// Stores the printer's size, in units that only the host knows, and its resolutions in dots per
/// inch. The filter itself never calls this.
void SetPrinterInfo(double width, double height, int16_t xResolution, int16_t yResolution) noexcept;

/// Tells the display's size in inches and its resolutions in dots per inch; each pointer may be
/// null. Returns 0.
///
/// The environment variable DISPLAYINFO, four integers such as "1024x768x72x72", comes before
/// everything that was stored; what neither names is 1280 x 1078 pixels at 96 x 96. A missing
/// integer of the variable counts as 0.
/// Hardened: a resolution of 0 in the variable counts as 96; the size would be infinite.
/// Test: GetDisplayInfoTest.AZeroResolutionInTheVariableCountsAs96.
/// Kept deliberately: the size is divided by the whole resolution, of which the low 16 bits are
/// answered. Test: GetDisplayInfoTest.ALargeResolutionIsCutTo16BitsAfterTheDivision.
int32_t GetDisplayInfo(double *width, double *height, int16_t *xResolution,
                       int16_t *yResolution) noexcept;

/// Tells what SetPrinterInfo stored, unchanged, 0 before; each pointer may be null. Returns 0.
int32_t GetPrinterInfo(double *width, double *height, int16_t *xResolution,
                       int16_t *yResolution) noexcept;

/// Returns 0.
/// Not on the export path.
int32_t GetDisplayColorInfo(void *ignored) noexcept;

/// Advances *text past the digits it stands on and past one more character, whatever that is,
/// but never past the terminating zero.
void moveptr(const char **text) noexcept;

} // namespace kowen
