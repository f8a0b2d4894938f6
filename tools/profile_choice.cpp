#include "profile_choice.h"

#include "failure.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>

namespace kowen::cli {
namespace {

constexpr const char *kDefaultName = "kowen.ini";

std::string InFolderOfProfiles(const std::string &name) {
    const char *folder = std::getenv("INIDIR");
    if (folder == nullptr || *folder == '\0')
        return "";
    return (std::filesystem::path(folder) / name).string();
}

bool Exists(const std::string &path) {
    std::error_code ignored;
    return !path.empty() && std::filesystem::exists(path, ignored);
}

// As the module looks: in the folder of profiles first, then as the name stands.
std::string Locate(const std::string &name) {
    const std::string there = InFolderOfProfiles(name);
    return Exists(there) ? there : name;
}

// The pixels are what --resize says; a profile's size is for exports without it.
void PassOverSize(PictureOptions *options) {
    const std::string size = options->settings.Get("size");
    if (!options->resize.Wanted() || size == "picture")
        return;
    options->settings.Set("size", "picture");
    options->note = "the profile's size is passed over: --resize says the pixels";
}

} // namespace

ProfileChoice TakeProfile(PictureOptions *options, ProfileUse use) {
    const bool named = !options->profile.empty();
    if (options->resize.Wanted() && options->settings.Get("size") != "picture")
        throw UsageFailure("--resize and --size both say the size; give one of them");
    ProfileChoice choice;
    choice.path = Locate(named ? options->profile : kDefaultName);
    if (Exists(choice.path)) {
        choice.section = options->settings.LoadProfile(choice.path, options->section);
        choice.found = true;
        PassOverSize(options);
        return choice;
    }
    if (named && use == ProfileUse::kRead)
        FailWith(choice.path, ENOENT);
    if (!named && (use == ProfileUse::kSave || !options->section.empty()))
        throw UsageFailure("--save and --section need a profile: name it with --profile");
    if (!named)
        choice.path.clear();
    return choice;
}

} // namespace kowen::cli
