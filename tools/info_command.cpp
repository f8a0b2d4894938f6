#include "info_command.h"

#include "host/module.h"
#include "host/standard_output.h"

#include <nlohmann/json.hpp>

#include <cstdio>

namespace kowen::host {
namespace {

// 0x02000005 is version 2.0, release 5.
std::string VersionText(uint32_t version) {
    char text[48];
    std::snprintf(text, sizeof text, "%u.%u.%u", version >> 24, version >> 16 & 0xFF,
                  version & 0xFFFF);
    return text;
}

nlohmann::ordered_json Json(const FilterModule &module) {
    nlohmann::ordered_json entries = nlohmann::ordered_json::array();
    for (const TableEntry &entry : module.Entries()) {
        nlohmann::ordered_json row;
        row["name"] = entry.name;
        row["ordinal"] = entry.ordinal;
        entries.push_back(row);
    }
    nlohmann::ordered_json report;
    report["module"] = module.Path();
    report["version"] = VersionText(module.getFilterVersion());
    report["entries"] = entries;
    return report;
}

std::string Table(const FilterModule &module) {
    std::string text = module.Path() + "\nversion " + VersionText(module.getFilterVersion()) + "\n";
    for (const TableEntry &entry : module.Entries())
        text += "\n" + std::to_string(entry.ordinal) + "  " + entry.name;
    return text;
}

} // namespace

void RunInfo(const CommonOptions &options) {
    const FilterModule module(ModulePath(options));
    if (options.json)
        PrintLine(Json(module).dump(2, ' ', false, nlohmann::json::error_handler_t::replace));
    else
        PrintLine(Table(module));
}

} // namespace kowen::host
