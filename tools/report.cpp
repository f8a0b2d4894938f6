#include "report.h"

#include "failure.h"
#include "json_line.h"
#include "readers/source.h"
#include "terminal_text.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <unistd.h>

namespace kowen::cli {
namespace {

using Json = nlohmann::ordered_json;

Json ObjectOf(const JobReport &report) {
    Json object;
    object["picture"] = report.source;
    object["output"] = report.target;
    object["done"] = report.Done();
    if (!report.Done()) {
        object["error"] = report.error;
        object["milliseconds"] = Rounded(report.milliseconds, 1);
        return object;
    }
    object["bytes"] = report.bytes;
    object["width"] = report.width;
    object["height"] = report.height;
    object["dpi"] = {report.xDpi, report.yDpi};
    object["grey"] = report.grey;
    object["progressive"] = report.progressive;
    object["quality"] = report.quality;
    object["clippedPercent"] = Rounded(report.clippedPercent, 2);
    object["notes"] = report.notes;
    object["milliseconds"] = Rounded(report.milliseconds, 1);
    return object;
}

std::string Summary(const JobReport &report) {
    char text[200];
    std::snprintf(text, sizeof text, ": %u x %u pixels, %u x %u dpi, %llu bytes, %.0f ms",
                  report.width, report.height, report.xDpi, report.yDpi,
                  static_cast<unsigned long long>(report.bytes), report.milliseconds);
    return (report.target == "-" ? "standard output" : report.target) + text;
}

void PrintForPeople(const JobReport &report, bool quiet) {
    if (!report.Done()) {
        PrintError(report.error);
        return;
    }
    if (quiet)
        return;
    for (const std::string &note : report.notes)
        PrintError("note: " + NameOf(report.source) + ": " + note);
    if (report.target == "-")
        std::fprintf(stderr, "%s\n", TextFor(STDERR_FILENO, Summary(report)).c_str());
    else
        PrintLine(Summary(report));
}

} // namespace

double Rounded(double value, int digits) {
    const double unit = std::pow(10, digits);
    return std::round(value * unit) / unit;
}

void PrintLine(const std::string &line) {
    PrintText(TextFor(STDOUT_FILENO, line) + "\n");
}

void PrintText(const std::string &text) {
    const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    if (written && std::fflush(stdout) == 0)
        return;
    if (errno == EPIPE)
        throw ReaderGone();
    FailWith("standard output", errno);
}

void PrintReport(const JobReport &report, const CommonOptions &options) {
    if (options.json)
        PrintLine(JsonLine(ObjectOf(report)));
    else
        PrintForPeople(report, options.quiet);
}

} // namespace kowen::cli
