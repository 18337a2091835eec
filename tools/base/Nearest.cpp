// Edit distance.
#include "tools/base/Nearest.h"

#include <algorithm>
#include <cctype>
#include <numeric>

namespace qztool {

namespace {

// Letters of different case are alike: names are often remembered without it.
bool alike(char a, char b) {
    return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
}

std::size_t distance(std::string const& from, std::string const& to) {
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < from.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < to.size(); ++j) {
            std::size_t const change = diagonal + (alike(from[i], to[j]) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({change, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

} // namespace

std::string nearest(std::string const& word, std::vector<std::string> const& candidates) {
    std::string best;
    std::size_t fewest = std::max<std::size_t>(word.size() / 3, 2) + 1;
    for (std::string const& candidate : candidates) {
        std::size_t const edits = distance(word, candidate);
        if (edits < fewest) {
            fewest = edits;
            best = candidate;
        }
    }
    return best;
}

} // namespace qztool
