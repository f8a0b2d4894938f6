// The sentences that the checking module quotes stand in the guides.
#include "check/rules.h"

#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>
#include <string>

namespace {

/// A page in one line, as a sentence may run over several.
std::string PageInOneLine(const std::string &name) {
    std::ifstream file(std::string(KOWEN_DOCS) + "/" + name);
    std::ostringstream text;
    std::string word;
    while (file >> word)
        text << word << ' ';
    return text.str();
}

TEST(CheckRules, EverySentenceStandsInItsGuide) {
    for (const kowen::check::RuleText &rule : kowen::check::AllRules())
        EXPECT_NE(PageInOneLine(rule.page).find(rule.sentence), std::string::npos)
            << rule.page << " does not say: " << rule.sentence;
}

TEST(CheckRules, NamesAreDifferent) {
    std::set<std::string> names;
    for (const kowen::check::RuleText &rule : kowen::check::AllRules())
        EXPECT_TRUE(names.insert(rule.name).second) << rule.name;
}

} // namespace
