#include "setup_command.h"

#include "failure.h"
#include "json_line.h"
#include "nearest_word.h"
#include "report.h"
#include "setting_values.h"

#include <algorithm>
#include <iterator>

namespace kowen::cli {
namespace {

using Json = nlohmann::ordered_json;

// What a profile can keep; the other settings are for single exports.
constexpr const char *kKept[] = {"quality", "progressive", "colour", "colour-mode", "size", "dpi"};

bool IsKept(std::string name) {
    if (name.starts_with("color"))
        name.insert(4, "u");
    return std::find(std::begin(kKept), std::end(kKept), name) != std::end(kKept);
}

void CheckKept(const std::string &name) {
    if (IsKept(name))
        return;
    std::string list;
    for (const char *kept : kKept)
        list += (list.empty() ? "" : ", ") + std::string(kept);
    throw UsageFailure("a profile cannot keep '" + name + "'" +
                       Suggestion(name, {std::begin(kKept), std::end(kKept)}) + "; it keeps " +
                       list);
}

// A profile keeps inches, which nobody recognises a paper in.
std::string SizeForPeople(const std::string &size) {
    for (const char *paper :
         {"A0", "A1", "A2", "A3", "A4", "A5", "A6", "letter", "legal", "tabloid"}) {
        Settings settings;
        settings.Set("size", paper);
        if (settings.Get("size") == size)
            return paper;
    }
    return size;
}

void Show(const Settings &settings, const std::string &section, bool json) {
    Json object;
    object["section"] = section;
    std::vector<std::string> lines = {"[" + section + "]"};
    for (const char *name : kKept) {
        const std::string value = settings.Get(name);
        object[name] = SettingValue(value);
        lines.push_back(std::string(name) + "=" +
                        (name == std::string("size") ? SizeForPeople(value) : value));
    }
    if (json)
        lines = {JsonLine(object)};
    for (const std::string &line : lines)
        PrintLine(line);
}

std::vector<std::string> Sections(const std::string &file) {
    std::vector<std::string> names;
    for (size_t i = 0;; ++i) {
        char name[256] = "";
        KowenResult result = NewResult();
        const int32_t code = KowenProfileSection(file.c_str(), i, name, sizeof name, &result);
        if (code == KOWEN_HOST_ERR_ARGUMENT)
            return names;
        if (code != KOWEN_HOST_OK)
            ThrowResult(result);
        names.emplace_back(name);
    }
}

} // namespace

void RunSetupShow(const SetupOptions &options) {
    Settings settings;
    const std::string section = settings.LoadProfile(options.file, options.section);
    Show(settings, section, options.common.json);
}

void RunSetupSet(const SetupOptions &options) {
    Settings settings;
    for (const std::string &assignment : options.assignments) {
        const size_t equals = assignment.find('=');
        if (equals == std::string::npos)
            throw UsageFailure("a setting is given as name=value, not '" + assignment + "'");
        CheckKept(assignment.substr(0, equals));
        settings.Set(assignment.substr(0, equals), assignment.substr(equals + 1));
    }
    settings.SaveProfile(options.file, options.section);
    if (options.common.quiet)
        return;
    Settings kept;
    const std::string section = kept.LoadProfile(options.file, options.section);
    Show(kept, section, options.common.json);
}

void RunSetupSections(const SetupOptions &options) {
    const std::vector<std::string> sections = Sections(options.file);
    if (options.common.json) {
        PrintLine(JsonLine(sections));
        return;
    }
    for (const std::string &section : sections)
        PrintLine(section);
}

} // namespace kowen::cli
