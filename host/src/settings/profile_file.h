// Profiles on disk: found as the module finds them.
#pragma once

#include "settings/profile_text.h"

#include <string>
#include <vector>

namespace kowen::host {

/// The user's profile file.
struct ProfileFile {
    std::string path;
    bool exists = false;
    ProfileText text;
};

/// The section of a new profile.
inline constexpr const char *kDefaultSection = "JPG Export";

/// Looks in the directory named by INIDIR first, then for the name as it stands, as the module
/// does. `exists` tells whether there is one. Throws Failure (KOWEN_HOST_ERR_PROFILE) when it
/// cannot be read, is a directory, or is no profile: it has zero bytes, or no section at all.
ProfileFile LoadProfileFile(const std::string &name);

/// The section to use: the one asked for, else the one that the profile's mode names. Throws
/// Failure that lists the sections when there is neither.
std::string ChooseSection(const ProfileFile &profile, const std::string &wanted);

/// The sections that can hold settings: all but the one that only names another.
std::vector<std::string> SettingSections(const ProfileText &text);

/// The settings of a section. Throws Failure when the section is not there or the module would
/// not read it.
FilterSettings LoadSettings(const ProfileFile &profile, const std::string &section);

} // namespace kowen::host
