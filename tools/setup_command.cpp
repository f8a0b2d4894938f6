#include "setup_command.h"

#include "host/error.h"
#include "host/profile_file.h"
#include "host/setup_values.h"
#include "host/standard_output.h"

#include <nlohmann/json.hpp>

#include <cerrno>

namespace kowen::host {
namespace {

ProfileFile LoadExisting(const std::string &name) {
    ProfileFile profile = LoadProfile(name);
    if (!profile.exists)
        FailWith(profile.path, ENOENT);
    return profile;
}

Choices ParseAssignments(const std::vector<std::string> &assignments) {
    Choices choices;
    for (const std::string &assignment : assignments) {
        const size_t equals = assignment.find('=');
        if (equals == std::string::npos)
            throw UsageError("a setting is given as key=value, not '" + assignment + "'");
        SetChoice(&choices, assignment.substr(0, equals), assignment.substr(equals + 1));
    }
    return choices;
}

void Show(const Settings &settings, const std::string &section, bool json) {
    if (json) {
        nlohmann::ordered_json report;
        report["section"] = section;
        for (const NamedSetting &setting : ListSettings(settings))
            report[setting.key] = setting.value;
        PrintLine(report.dump(2, ' ', false, nlohmann::json::error_handler_t::replace));
        return;
    }
    std::string text = "[" + section + "]";
    for (const NamedSetting &setting : ListSettings(settings))
        text += "\n" + setting.key + "=" + setting.value;
    PrintLine(text);
}

} // namespace

void RunSetupShow(const SetupOptions &options) {
    const ProfileFile profile = LoadExisting(options.file);
    const std::string section = ChooseSection(profile, options.section);
    Show(LoadSettings(profile, section), section, options.common.json);
}

void RunSetupSet(const SetupOptions &options) {
    const Choices choices = ParseAssignments(options.assignments);
    ProfileFile profile = LoadProfile(options.file);
    std::string section = options.section.empty() ? kDefaultSection : options.section;
    if (profile.exists)
        section = ChooseSection(profile, options.section);
    CheckSectionName(section);
    // A new profile names its section, so that nobody has to from then on.
    if (!profile.exists)
        profile.text.Set(key::kModeSection, key::kMode, section);
    const FilterModule module(ModulePath(options.common));
    KeepChoices(module, choices, section, &profile.text);
    SaveProfile(profile);
    if (!options.common.quiet)
        Show(ReadSettings(profile.text, section), section, options.common.json);
}

void RunSetupSections(const SetupOptions &options) {
    const ProfileFile profile = LoadExisting(options.file);
    const std::vector<std::string> sections = SettingSections(profile.text);
    if (options.common.json) {
        PrintLine(
            nlohmann::json(sections).dump(2, ' ', false, nlohmann::json::error_handler_t::replace));
        return;
    }
    for (const std::string &section : sections)
        PrintLine(section);
}

} // namespace kowen::host
