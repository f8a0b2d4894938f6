#include "nearest_word.h"

#include <algorithm>

namespace kowen::cli {
namespace {

// The restricted edit distance: swapped neighbours count once.
size_t Mistakes(const std::string &a, const std::string &b) {
    std::vector<std::vector<size_t>> table(a.size() + 1, std::vector<size_t>(b.size() + 1));
    for (size_t i = 0; i <= a.size(); ++i) {
        for (size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                table[i][j] = i + j;
                continue;
            }
            const size_t same = a[i - 1] == b[j - 1] ? 0 : 1;
            table[i][j] =
                std::min({table[i - 1][j] + 1, table[i][j - 1] + 1, table[i - 1][j - 1] + same});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                table[i][j] = std::min(table[i][j], table[i - 2][j - 2] + 1);
        }
    }
    return table[a.size()][b.size()];
}

} // namespace

std::string NearestWord(const std::string &word, const std::vector<std::string> &candidates) {
    std::string nearest;
    size_t fewest = std::max<size_t>(1, word.size() / 3) + 1;
    for (const std::string &candidate : candidates) {
        const size_t mistakes = Mistakes(word, candidate);
        if (mistakes < fewest) {
            fewest = mistakes;
            nearest = candidate;
        }
    }
    return nearest;
}

std::string Suggestion(const std::string &word, const std::vector<std::string> &candidates) {
    const std::string nearest = NearestWord(word, candidates);
    return nearest.empty() ? "" : "; did you mean " + nearest + "?";
}

} // namespace kowen::cli
