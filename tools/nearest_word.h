// What a mistyped word may have been meant to be.
#pragma once

#include <string>
#include <vector>

namespace kowen::cli {

/// The candidate that takes the fewest typing mistakes (a letter wrong, left out, added, or two
/// swapped) to become `word`; empty when all are too far away to be what was meant.
std::string NearestWord(const std::string &word, const std::vector<std::string> &candidates);

/// "; did you mean X?", or nothing.
std::string Suggestion(const std::string &word, const std::vector<std::string> &candidates);

} // namespace kowen::cli
