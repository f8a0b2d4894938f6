// Which settings profile an export starts from.
#pragma once

#include "options.h"

namespace kowen::cli {

enum class ProfileUse { kRead, kSave };

struct ProfileChoice {
    std::string path;    ///< empty = none is in use
    std::string section; ///< that the settings came from
    bool found = false;  ///< the settings came from there
};

/// Takes the profile's settings into `options`. Without a profile named, it is kowen.ini in the
/// folder that INIDIR names or in the working one, as the module looks for it; there need be none.
///
/// Throws Failure for a named profile that is missing (unless it is to be made) or is none,
/// UsageFailure for a section or a wish to save without a profile.
ProfileChoice TakeProfile(PictureOptions *options, ProfileUse use);

} // namespace kowen::cli
