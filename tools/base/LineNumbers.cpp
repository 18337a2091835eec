// Ranges of line numbers, and their text.
#include "tools/base/LineNumbers.h"

namespace qztool {

void LineNumbers::add(std::size_t line) {
    ++d_count;
    if (!d_ranges.empty() && d_unlisted == 0 && line == d_ranges.back().last)
        return; // listed already
    if (!d_ranges.empty() && line == d_ranges.back().last + 1)
        d_ranges.back().last = line;
    else if (d_ranges.size() < d_mostRanges)
        d_ranges.push_back({line, line});
    else
        ++d_unlisted;
}

std::string LineNumbers::text() const {
    std::string result;
    for (Range const& range : d_ranges) {
        if (!result.empty())
            result += ", ";
        result += std::to_string(range.first);
        if (range.last != range.first)
            result += '-' + std::to_string(range.last);
    }
    if (d_unlisted != 0)
        result += (result.empty() ? "" : " and ") + std::to_string(d_unlisted) + " more";
    return result;
}

} // namespace qztool
