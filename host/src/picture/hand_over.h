// The caller's picture becomes the filter's bitmap: read once, turned upright, adjusted.
#pragma once

#include "base/progress.h"
#include "picture/bitmap.h"
#include "picture/row_source.h"

namespace kowen::host {

/// What became of the pixels.
struct HandedOver {
    Bitmap bitmap;
    double clippedPercent = 0; ///< pixels beyond what the filter can be given
    bool flattened = false;
};

/// Throws Failure for memory, a row that cannot be read and a cancel.
HandedOver HandOver(const FilterModule &module, const GivenPicture &picture, const PixelPlan &plan,
                    Progress *progress);

} // namespace kowen::host
