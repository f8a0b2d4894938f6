#include "settings/profile_file.h"

#include "base/descriptor.h"
#include "base/failure.h"

#include <cerrno>
#include <cstdlib>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kowen::host {
namespace {

bool Readable(const std::string &path) {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 && !S_ISDIR(status.st_mode) &&
           access(path.c_str(), R_OK) == 0;
}

std::string InDirectoryOfProfiles(const std::string &name) {
    const char *directory = std::getenv("INIDIR");
    if (directory == nullptr || *directory == '\0')
        return "";
    const std::string text = directory;
    return text + (text.ends_with('/') ? "" : "/") + name;
}

[[noreturn]] void Fail(const ProfileFile &profile, const std::string &message) {
    throw Failure(KOWEN_HOST_ERR_PROFILE, profile.path + ": " + message);
}

std::string SectionList(const ProfileText &text) {
    std::string list;
    for (const std::string &section : SettingSections(text))
        list += (list.empty() ? "" : ", ") + section;
    return list.empty() ? "it has none" : "it has " + list;
}

void CheckIsProfile(const ProfileFile &profile, const std::string &text) {
    const bool blank = text.find_first_not_of(" \t\r\n") == std::string::npos;
    if (text.find('\0') != std::string::npos || (!blank && profile.text.Sections().empty()))
        Fail(profile, "this is no settings profile: it has no [section]");
}

} // namespace

ProfileFile LoadProfileFile(const std::string &name) {
    ProfileFile profile;
    profile.path = name;
    const std::string elsewhere = InDirectoryOfProfiles(name);
    if (!elsewhere.empty() && Readable(elsewhere))
        profile.path = elsewhere;
    if (access(profile.path.c_str(), F_OK) != 0) {
        if (errno != ENOENT)
            FailWith(KOWEN_HOST_ERR_PROFILE, profile.path, errno);
        return profile;
    }
    const std::string text = ReadFile(profile.path, KOWEN_HOST_ERR_PROFILE);
    profile.exists = true;
    profile.text = ProfileText(text);
    CheckIsProfile(profile, text);
    return profile;
}

std::string ChooseSection(const ProfileFile &profile, const std::string &wanted) {
    if (!wanted.empty()) {
        CheckSectionName(wanted);
        return wanted;
    }
    const std::optional<std::string> mode = profile.text.Value(key::kModeSection, key::kMode);
    if (mode && !mode->empty())
        return *mode;
    Fail(profile, "which section? Name one; " + SectionList(profile.text));
}

std::vector<std::string> SettingSections(const ProfileText &text) {
    std::vector<std::string> sections;
    for (const std::string &section : text.Sections()) {
        const bool onlyNames = strcasecmp(section.c_str(), key::kModeSection) == 0 &&
                               !text.Value(section, key::kDriver);
        if (!onlyNames)
            sections.push_back(section);
    }
    return sections;
}

FilterSettings LoadSettings(const ProfileFile &profile, const std::string &section) {
    if (!profile.text.Has(section))
        Fail(profile, "there is no section '" + section + "'; " + SectionList(profile.text));
    if (profile.text.Value(section, key::kDriver).value_or("").empty())
        Fail(profile, "section '" + section +
                          "' has no entry 'Driver', so its settings do not count; add the line "
                          "Driver=KOWEN.1");
    return ReadSettings(profile.text, section);
}

} // namespace kowen::host
