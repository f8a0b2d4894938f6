// From the caller's picture and settings to a JPEG in its place.
#pragma once

#include "api/outcome.h"
#include "api/source_facts.h"
#include "api/target.h"
#include "base/progress.h"
#include "picture/hand_over.h"
#include "settings/values.h"

namespace kowen::host {

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

/// Exports it, at the highest quality that fits when the settings limit the bytes. `last` says that
/// its pixels are not needed any more; else, and for each try at a limit, a copy is made.
/// Throws Failure; the outcome has what there is to say until then.
void Export(const PreparedPicture &prepared, const ExportSettings &settings, bool last,
            Target *target, Progress *progress, Outcome *outcome);

/// The settings with those of the prepared picture that decided about its pixels.
ExportSettings WithPixelSettings(const ExportSettings &settings, const ExportSettings &pixels);

} // namespace kowen::host
