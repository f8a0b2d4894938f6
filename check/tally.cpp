#include "tally.h"

namespace kowen::check {
namespace {

constexpr size_t kMostToldOfAKind = 3;

std::string WithoutNumbers(const std::string &text) {
    std::string rest;
    for (const char c : text)
        if (c < '0' || c > '9')
            rest += c;
    return rest;
}

} // namespace

Telling Tally::Count(const Report &report) {
    ++reports_;
    ++byRule_[report.rule];
    Kind &kind = kinds_[TextOf(report.rule).name + WithoutNumbers(report.how)];
    const bool isInSameCall = report.number != 0 && report.number == kind.lastCall;
    kind.lastCall = report.number;
    if (!isInSameCall && kind.told.size() < kMostToldOfAKind &&
        kind.told.insert(report.function + report.how).second)
        return Telling::kWhole;
    if (kind.saidThatThereAreMore)
        return Telling::kNot;
    kind.saidThatThereAreMore = true;
    return Telling::kAreMore;
}

std::string Tally::ByRule() const {
    std::string text;
    for (const auto &[rule, count] : byRule_)
        text += (text.empty() ? "" : ", ") + std::string(TextOf(rule).name) + " " +
                std::to_string(count);
    return text;
}

} // namespace kowen::check
