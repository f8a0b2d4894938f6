#include "selftest_command.h"

#include "failure.h"
#include "host_library.h"
#include "json_line.h"
#include "report.h"
#include "selftest/checksum.h"
#include "selftest/loading.h"
#include "selftest/machine.h"
#include "selftest/trial.h"

#include <algorithm>
#include <sys/resource.h>

namespace kowen::cli {
namespace {

using Json = nlohmann::ordered_json;

constexpr size_t kMostNames = 3; // in a line

// What the settings of an export, a file in memory, may take.
constexpr rlim_t kSettingsBytes = 512;

struct Report {
    LoadedModule module;
    std::string checksum;
    size_t exports = 0; ///< of each variant
    std::vector<Trial> trials;

    bool Passed() const {
        return module.missing.empty() &&
               std::all_of(trials.begin(), trials.end(),
                           [](const Trial &trial) { return trial.Passed(); });
    }
};

// The limit would look like a fault of the module.
void CheckFileSizeLimit() {
    rlimit limit = {};
    if (getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur < kSettingsBytes)
        throw Failure("the limit of a file's size (ulimit -f, RLIMIT_FSIZE) is " +
                      std::to_string(limit.rlim_cur) + " bytes; the self-test needs " +
                      std::to_string(kSettingsBytes) + " for files in memory");
}

std::string Version(const Report &report) {
    const std::string &version = report.module.version;
    return version == KOWEN_VERSION ? version : version + " (the program is " KOWEN_VERSION ")";
}

std::string Missing(const Report &report) {
    std::string text;
    for (const std::string &name : report.module.missing)
        text += (text.empty() ? "" : ", ") + name;
    return text;
}

std::string NameOf(const Trial &trial) {
    return trial.variant.empty() ? "default" : trial.variant;
}

std::string Score(const Report &report, const Trial &trial) {
    return std::to_string(trial.right) + "/" + std::to_string(report.exports);
}

std::string Faults(const Trial &trial) {
    std::string text;
    for (size_t i = 0; i < std::min(trial.wrong.size(), kMostNames); ++i)
        text += (i == 0 ? "; wrong: " : ", ") + trial.wrong[i];
    if (trial.wrong.size() > kMostNames)
        text += " and " + std::to_string(trial.wrong.size() - kMostNames) + " more";
    return text + (trial.ended.empty() ? "" : "; " + trial.ended);
}

// All that a report of a fault needs.
std::string PasteLine(const Report &report) {
    std::string text = "kowen selftest: ";
    text += report.Passed() ? "passed" : "FAILED";
    text += ", version " + Version(report) + ", module " + report.module.path + ", sha256 " +
            report.checksum + ", " + Architecture() + ", " + Processor() + ", " + System();
    if (!report.module.missing.empty())
        text += ", no entries " + Missing(report);
    for (const Trial &trial : report.trials)
        text += ", " + NameOf(trial) + " " + Score(report, trial) +
                (trial.Passed() ? "" : " (" + Faults(trial).substr(2) + ")");
    return text;
}

void PrintText(const Report &report) {
    PrintLine("module    " + report.module.path);
    PrintLine("version   " + Version(report));
    PrintLine("processor " + Processor());
    if (!report.module.missing.empty())
        PrintLine("entries   its table has no " + Missing(report));
    for (const Trial &trial : report.trials) {
        const std::string name = NameOf(trial);
        PrintLine(name + std::string(10 - std::min<size_t>(name.size(), 9), ' ') +
                  std::to_string(trial.right) + " of " + std::to_string(report.exports) +
                  " exports are right" + Faults(trial));
    }
    PrintLine("");
    PrintLine("For a report of a fault:");
    PrintLine(PasteLine(report));
}

Json ObjectOf(const Report &report, const Trial &trial) {
    Json object;
    object["name"] = NameOf(trial);
    object["exports"] = report.exports;
    object["right"] = trial.right;
    object["wrong"] = trial.wrong;
    object["ended"] = trial.ended;
    return object;
}

void PrintJson(const Report &report) {
    Json object;
    object["passed"] = report.Passed();
    object["version"] = report.module.version;
    object["program"] = KOWEN_VERSION;
    object["module"] = report.module.path;
    object["sha256"] = report.checksum;
    object["architecture"] = Architecture();
    object["processor"] = Processor();
    object["system"] = System();
    object["missing"] = report.module.missing;
    object["variants"] = Json::array();
    for (const Trial &trial : report.trials)
        object["variants"].push_back(ObjectOf(report, trial));
    object["report"] = PasteLine(report);
    PrintLine(JsonLine(object));
}

} // namespace

int RunSelftest(const CommonOptions &options) {
    CheckFileSizeLimit();
    Report report;
    report.module = TryLoading(options.module);
    report.checksum = Sha256OfFile(report.module.path);
    const std::vector<golden::Export> exports = golden::Exports();
    report.exports = exports.size();
    std::vector<std::string> variants = report.module.variants;
    if (variants.empty())
        variants.emplace_back();
    for (const std::string &variant : variants)
        report.trials.push_back(TryVariant(report.module.path, variant, exports));
    if (options.json)
        PrintJson(report);
    else
        PrintText(report);
    return report.Passed() ? kExitOk : kExitFailure;
}

} // namespace kowen::cli
