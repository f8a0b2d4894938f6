// Settings kept in a profile.
#pragma once

#include "settings/named_settings.h"
#include "settings/profile_text.h"

#include <string>

namespace kowen::host {

/// Puts the settings that were set into a section of the text; a section that is not there, or that
/// the filter would not read, gets every setting.
///
/// Throws BadArgument for a setting that profiles have no key for, or a value that the filter
/// would not take from one.
void KeepSettings(const NamedSettings &settings, const std::string &section, ProfileText *profile);

} // namespace kowen::host
