// The cell that makes the filter produce the size that the user wants.
//
// The filter works in inches: pixels / cell resolution x output resolution, truncated. At some
// resolutions a width loses a pixel on the way (55 pixels at 75 dpi give 54).
#pragma once

#include "settings/values.h"

#include <cstdint>

namespace kowen::host {

/// Size of a source picture; its resolutions are 0 when the file does not say.
struct SourceSize {
    int width = 0;
    int height = 0;
    double xDpi = 0;
    double yDpi = 0;
};

/// What goes into the cell record, and what the setup must say for it.
struct CellPlan {
    int32_t width = 0;
    int32_t height = 0;
    int resolution = 0;

    /// Pixels that the JPEG is to have; 0 when the filter decides about them.
    int32_t outputWidth = 0;
    int32_t outputHeight = 0;

    /// Dots per inch that the JPEG is to state; 0 when the filter decides about them.
    int32_t xDpi = 0;
    int32_t yDpi = 0;
    bool dpiMoved = false; ///< the resolution asked for cannot be stated

    /// The settings with which the filter gives that size.
    FilterSettings settings;
};

/// Works out the cell for exactly the pixels that were asked for.
///
/// Size from the picture: with the resolution from the picture too the output has the picture's
/// pixels; with another resolution it has the picture's inches, or its pixels when the file does
/// not say a resolution. Other sizes are boxes that the picture's proportions are fitted into. A
/// box in inches is turned as the picture is.
///
/// The filter is made to take the size in pixels from the cell; the resolution that the JPEG
/// states is the caller's to write.
///
/// Throws Failure (KOWEN_HOST_ERR_SIZE) when the output would have more pixels than a JPEG can.
CellPlan PlanExactCell(const ExportSettings &settings, const SourceSize &source);

/// Works out the cell under which the filter itself does the fitting and states the resolution;
/// for boxes in pixels and sizes from the picture it gives the size asked for all the same.
/// Throws as PlanExactCell. The settings have passed CheckTogether.
CellPlan PlanFilterCell(const ExportSettings &settings, const SourceSize &source);

} // namespace kowen::host
