// The cell that makes the filter produce the size that the user wants.
//
// The filter works in inches: pixels / cell resolution x output resolution, truncated. So a width
// may lose a pixel on the way (55 pixels at 75 dpi give 54), and any odd height gains one row.
#pragma once

#include "host/settings.h"

#include <optional>
#include <string>

namespace kowen::host {

/// Size of a source picture; its resolutions are 0 when the file does not say.
struct SourceSize {
    int width = 0;
    int height = 0;
    double xDpi = 0;
    double yDpi = 0;
};

/// The page of the cell; zeros leave it to the filter.
struct Page {
    int32_t width = 0;  ///< pixels
    int32_t height = 0; ///< pixels
    int16_t dpi = 0;
};

/// What goes into the cell record, and what has to be set for it.
struct CellPlan {
    int32_t width = 0;
    int32_t height = 0;
    int resolution = 0;

    /// The size comes from the cell although the settings say otherwise (a box in pixels).
    bool sizeFromCell = false;

    /// The output resolutions to set; empty leaves the setup's resolution mode alone.
    std::optional<ResolutionChoice> resolutionChoice;

    /// The size to set, in inches; empty leaves the setup's size alone.
    std::optional<SizeChoice> sizeChoice;
};

/// Works out the cell.
///
/// settings  as the setup has them.
/// box       a box in pixels to fit the picture into, or null.
///
/// Size from the picture: with the resolution from the picture too the output has the picture's
/// pixels; with a resolution of the user's it has the picture's inches, or its pixels when the
/// file does not say a resolution. Sizes of the user and of the page: the filter fits the
/// picture's proportions into them.
///
/// Throws HostError when the output would have more pixels than a JPEG can.
CellPlan PlanCell(const Settings &settings, const SourceSize &source, const Extent *box);

/// Works out the same for a picture that is drawn on the device, which has no cell: width and
/// height are the picture's, and its resolution is one. So a box in pixels becomes the setup's
/// size, resolutions that differ across and down are taken as the one across, and sizes that the
/// filter truncates may be a pixel short. With size and resolution from the picture no pixel is
/// lost: the nearest resolution that keeps them is taken.
///
/// Throws as PlanCell; UsageError for a box that is beyond the setup's inches.
CellPlan PlanDevicePicture(const Settings &settings, const SourceSize &source, const Extent *box);

/// Makes a page from a size and a resolution.
Page MakePage(const Extent &size, int dpi);

} // namespace kowen::host
