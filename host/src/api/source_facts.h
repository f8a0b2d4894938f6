// What of the caller's picture an export needs besides its pixels.
#pragma once

#include "api/outcome.h"
#include "filter/cell_plan.h"
#include "picture/colour_transform.h"
#include "picture/given_picture.h"
#include "settings/values.h"

#include <memory>
#include <string>
#include <vector>

namespace kowen::host {

/// What becomes of the picture's colour profile.
enum class IccFate : uint8_t {
    kNone,      ///< it has none
    kKept,      ///< it goes into the JPEG
    kApplied,   ///< the pixels are converted to sRGB
    kUnusable,  ///< damaged, or for pixels of another kind: dropped, the pixels stay
    kLeftAlone, ///< dropped, the pixels stay: the filter knows no profiles
};

struct SourceFacts {
    SourceSize size; ///< upright
    bool turned = false;
    bool recoloured = false; ///< by a colour mode or a profile
    IccFate iccFate = IccFate::kNone;
    std::vector<uint8_t> exif;
    std::vector<uint8_t> icc; ///< when it is kept
    std::string comment;
};

/// Copies what the picture has, and decides about its profile. `transform` receives the way to sRGB
/// when it is to be applied.
SourceFacts FactsOf(const GivenPicture &picture, const ExportSettings &settings,
                    std::unique_ptr<ColourTransform> *transform);

/// The segments to stand behind the JFIF header of a JPEG of this size, with notes about what is
/// kept and what is lost.
std::vector<uint8_t> MetadataFor(const SourceFacts &facts, const ExportSettings &settings,
                                 const CellPlan &plan, Outcome *outcome);

} // namespace kowen::host
