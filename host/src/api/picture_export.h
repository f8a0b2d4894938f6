// From the caller's picture and settings to a JPEG in its place.
#pragma once

#include "api/outcome.h"
#include "api/target.h"
#include "base/progress.h"
#include "filter/cell_plan.h"
#include "picture/hand_over.h"
#include "settings/named_settings.h"
#include "stream/jpeg_head.h"

#include <memory>
#include <string>
#include <vector>

namespace kowen::host {

/// What of a picture remains when its pixels are handed over.
struct SourceFacts {
    SourceSize size; ///< upright
    bool turned = false;
    std::vector<uint8_t> exif;
    std::vector<uint8_t> icc; ///< of the pixels as they were handed over; empty = sRGB
    bool iccDropped = false;
    bool converted = false; ///< from a profile's colours to sRGB
    std::string comment;
};

/// A picture that was handed over, with the settings that decided about its pixels.
struct PreparedPicture {
    const FilterModule &module;
    SourceFacts facts;
    ExportSettings settings;
    HandedOver handed;
};

/// Checks the settings and hands the picture over. Throws Failure.
PreparedPicture Prepare(const FilterModule &module, const GivenPicture &picture,
                        const ExportSettings &settings, Progress *progress);

/// Exports it. `last` says that its pixels are not needed any more; else a copy is made.
/// Throws Failure; the outcome has what there is to say until then.
void Export(const PreparedPicture &prepared, const ExportSettings &settings, bool last,
            Target *target, Progress *progress, Outcome *outcome);

/// The settings with those of the prepared picture that decided about its pixels.
ExportSettings WithPixelSettings(const ExportSettings &settings, const ExportSettings &pixels);

} // namespace kowen::host
