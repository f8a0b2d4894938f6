#include "api/handles.h"
#include "api/outcome.h"
#include "base/descriptor.h"
#include "base/failure.h"
#include "output/output_file.h"
#include "settings/profile_file.h"
#include "settings/profile_keeping.h"

#include <cerrno>
#include <cstring>

using namespace kowen::host;

namespace {

ProfileFile ExistingProfile(const char *path) {
    if (path == nullptr)
        throw BadArgument("there is no profile");
    ProfileFile profile = LoadProfileFile(path);
    if (!profile.exists)
        FailWith(KOWEN_HOST_ERR_PROFILE, profile.path, ENOENT);
    return profile;
}

void WriteProfile(const ProfileFile &profile) {
    const std::string text = profile.text.Text();
    try {
        OutputFile file(profile.path, KOWEN_REPLACE_ANY);
        if (const int failed = WriteAll(file.Open(), text.data(), text.size()); failed != 0)
            FailWith(KOWEN_HOST_ERR_PROFILE, profile.path, failed);
        file.Commit();
    } catch (const Failure &failure) {
        throw Failure(KOWEN_HOST_ERR_PROFILE, failure.what(), failure.SystemError());
    }
}

// The section that a profile's mode names can be any text, but not every one can be a header.
std::string SectionToRewrite(const std::string &wanted, const ProfileFile &profile) {
    const std::string section = ChooseSection(profile, wanted);
    try {
        CheckSectionName(section);
    } catch (const BadArgument &refused) {
        throw Failure(KOWEN_HOST_ERR_PROFILE, profile.path + ": it names the section '" + section +
                                                  "', but " + refused.what());
    }
    return section;
}

// The section to write to. A new profile names it, so that nobody has to from then on.
std::string SectionToKeep(const std::string &wanted, ProfileFile *profile) {
    if (profile->exists)
        return SectionToRewrite(wanted, *profile);
    const std::string section = wanted.empty() ? kDefaultSection : wanted;
    CheckSectionName(section);
    profile->text.Set(key::kModeSection, key::kMode, section);
    return section;
}

// The profile with the settings kept in it.
ProfileFile Kept(const KowenSettings *settings, const char *path, const char *section,
                 Outcome *outcome) {
    if (settings == nullptr || path == nullptr)
        throw BadArgument("there are no settings or no profile");
    ProfileFile profile = LoadProfileFile(path);
    outcome->profilePath = profile.path;
    outcome->profileSection = SectionToKeep(section != nullptr ? section : "", &profile);
    if (profile.text.IsHidden(outcome->profileSection))
        throw Failure(KOWEN_HOST_ERR_PROFILE,
                      profile.path + ": a line '" + outcome->profileSection +
                          "' without brackets stands in front of the section, and the filter would "
                          "read there instead; remove that line, or put brackets around it");
    KeepSettings(settings->named, outcome->profileSection, &profile.text);
    return profile;
}

} // namespace

int32_t KowenLoadProfile(KowenSettings *settings, const char *path, const char *section,
                         KowenResult *result) {
    return Call(result, [&](Outcome *outcome) {
        if (settings == nullptr)
            throw BadArgument("there are no settings");
        const ProfileFile profile = ExistingProfile(path);
        outcome->profilePath = profile.path;
        outcome->profileSection = ChooseSection(profile, section != nullptr ? section : "");
        settings->named.TakeProfile(LoadSettings(profile, outcome->profileSection), profile.path,
                                    outcome->profileSection);
    });
}

int32_t KowenSaveProfile(const KowenSettings *settings, const char *path, const char *section,
                         KowenResult *result) {
    return Call(result,
                [&](Outcome *outcome) { WriteProfile(Kept(settings, path, section, outcome)); });
}

int32_t KowenCheckSaveProfile(const KowenSettings *settings, const char *path, const char *section,
                              KowenResult *result) {
    return Call(result, [&](Outcome *outcome) { Kept(settings, path, section, outcome); });
}

int32_t KowenProfileSection(const char *path, size_t index, char *name, size_t nameSize,
                            KowenResult *result) {
    return Call(result, [&](Outcome *) {
        const ProfileFile profile = ExistingProfile(path);
        const std::vector<std::string> sections = SettingSections(profile.text);
        if (index >= sections.size())
            throw BadArgument(profile.path + ": there is no such section");
        const std::string &section = sections[index];
        if (name == nullptr || section.size() >= nameSize)
            throw BadArgument("the section's name does not fit");
        std::memcpy(name, section.c_str(), section.size() + 1);
    });
}
