#include "selftest_command.h"

#include "failure.h"
#include "host_library.h"
#include "report.h"
#include "selftest/checksum.h"
#include "selftest/machine.h"
#include "selftest/trial.h"
#include "selftest/variants.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace kowen::cli {
namespace {

using Json = nlohmann::ordered_json;

constexpr size_t kMostNames = 3; // in a line

struct Report {
    std::string module;
    std::string version;
    std::string checksum;
    size_t exports = 0; ///< of each variant
    std::vector<Trial> trials;

    bool Passed() const {
        return std::all_of(trials.begin(), trials.end(),
                           [](const Trial &trial) { return trial.Passed(); });
    }
};

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
    text += ", version " + report.version + ", module " + report.module + ", sha256 " +
            report.checksum + ", " + Architecture() + ", " + Processor() + ", " + System();
    for (const Trial &trial : report.trials)
        text += ", " + NameOf(trial) + " " + Score(report, trial) +
                (trial.Passed() ? "" : " (" + Faults(trial).substr(2) + ")");
    return text;
}

void PrintText(const Report &report) {
    PrintLine("module    " + report.module);
    PrintLine("version   " + report.version);
    PrintLine("processor " + Processor());
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
    object["version"] = report.version;
    object["module"] = report.module;
    object["sha256"] = report.checksum;
    object["architecture"] = Architecture();
    object["processor"] = Processor();
    object["system"] = System();
    object["variants"] = Json::array();
    for (const Trial &trial : report.trials)
        object["variants"].push_back(ObjectOf(report, trial));
    object["report"] = PasteLine(report);
    PrintLine(object.dump(-1, ' ', false, Json::error_handler_t::replace));
}

} // namespace

int RunSelftest(const CommonOptions &options) {
    Report report;
    {
        const Module module(options.module);
        report.module = module.Path();
        report.version = module.Version();
    }
    report.checksum = Sha256OfFile(report.module);
    const std::vector<golden::Export> exports = golden::Exports();
    report.exports = exports.size();
    std::vector<std::string> variants = VariantsOf(report.module);
    if (variants.empty())
        variants.emplace_back();
    for (const std::string &variant : variants)
        report.trials.push_back(TryVariant(report.module, variant, exports));
    if (options.json)
        PrintJson(report);
    else
        PrintText(report);
    return report.Passed() ? kExitOk : kExitFailure;
}

} // namespace kowen::cli
