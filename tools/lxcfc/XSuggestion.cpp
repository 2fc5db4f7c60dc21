// SPDX-License-Identifier: MIT
#include "XSuggestion.h"

#include <algorithm>
#include <cctype>
#include <numeric>

namespace {
/// The edit distance: the number of insertions, deletions, replacements and exchanges of neighbours.
std::size_t Distance(const std::string& a, const std::string& b) {
    std::vector<std::vector<std::size_t>> least(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
    std::iota(least[0].begin(), least[0].end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        least[i][0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t replaced = least[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            least[i][j] = std::min({least[i - 1][j] + 1, least[i][j - 1] + 1, replaced});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                least[i][j] = std::min(least[i][j], least[i - 2][j - 2] + 1);
            }
        }
    }
    return least[a.size()][b.size()];
}

/// The rank of a name as a suggestion; less is better. A name that begins or ends with the wanted one ranks better than
/// one with a further typing error.
std::size_t Rank(const std::string& wanted, const std::string& name) {
    const std::string folded = LXFolded(name);
    if (folded == wanted) { return 0; }
    if (wanted.size() >= 3 && (folded.starts_with(wanted) || folded.ends_with(wanted))) { return 1; }
    return Distance(wanted, folded);
}
} // namespace

std::string LXFolded(const std::string& name) {
    std::string folded;
    for (const char c : name) {
        if (c != ' ' && c != '_' && c != '-') {
            folded += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        }
    }
    return folded;
}

std::string LXDidYouMean(const std::string& wanted, const std::vector<std::string>& names) {
    constexpr std::size_t Most = 3;
    const std::string folded = LXFolded(wanted);
    std::size_t least = std::max<std::size_t>(1, folded.size() / 3);
    std::vector<std::string> closest;
    for (const std::string& name : names) {
        const std::size_t rank = Rank(folded, name);
        if (rank < least) { closest.clear(); }
        if (rank <= least) {
            least = rank;
            closest.push_back(name);
        }
    }
    if (closest.empty()) { return ""; }
    closest.resize(std::min(closest.size(), Most));
    std::string question = "; did you mean ";
    for (const std::string& name : closest) {
        question += (&name == &closest.front() ? "\"" : &name == &closest.back() ? " or \"" : ", \"") + name + "\"";
    }
    return question + "?";
}
