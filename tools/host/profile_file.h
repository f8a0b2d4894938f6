// Profiles on disk: the user's, found as the module finds it and replaced in one step, and the
// private one that carries an export's settings into the module.
#pragma once

#include "host/profile_text.h"

#include <optional>
#include <string>
#include <vector>

namespace kowen::host {

/// The user's profile file.
struct ProfileFile {
    std::string path;
    bool exists = false;
    ProfileText text;
};

/// Looks in the directory named by INIDIR first, then for the name as it stands, as the module
/// does. `exists` tells whether there is one. Throws HostError when it cannot be read.
ProfileFile LoadProfile(const std::string &name);

/// The name of the profile that the module takes when it is given none: its own, with ".ini".
std::string DefaultProfileName(const std::string &modulePath);

/// Replaces the file in one step. Throws HostError; the file is as it was then.
void SaveProfile(const ProfileFile &profile);

/// The section to use: the one asked for, else the one that the profile's mode names. Throws
/// HostError that lists the sections when there is neither.
std::string ChooseSection(const ProfileFile &profile, const std::string &wanted);

/// The section of a new profile.
inline constexpr const char *kDefaultSection = "JPG Export";

/// The sections that can hold settings: all but the one that only names another.
std::vector<std::string> SettingSections(const ProfileText &text);

/// The settings of a section. Throws HostError when the section is not there or the module would
/// not read it.
Settings LoadSettings(const ProfileFile &profile, const std::string &section);

/// A profile of one section in a private directory; both go at the end of its life.
class PrivateProfile {
public:
    static constexpr const char *kSection = "host";

    explicit PrivateProfile(const ProfileText &text);
    ~PrivateProfile();
    PrivateProfile(const PrivateProfile &) = delete;
    PrivateProfile &operator=(const PrivateProfile &) = delete;

    const std::string &Path() const { return path; }

    /// What the file holds now; the module may have written to it.
    ProfileText Read() const;

private:
    void Remove();

    std::string directory;
    std::string path;
    int directorySlot = -1;
    int fileSlot = -1;
};

} // namespace kowen::host
