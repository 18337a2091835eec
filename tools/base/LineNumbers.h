// Line numbers in few words.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace qztool {

// Collects ascending line numbers as ranges. Numbers beyond `mostRanges` ranges are only counted, so that a large
// damaged file takes no more memory than a small one.
class LineNumbers {
public:
    explicit LineNumbers(std::size_t mostRanges = 50) : d_mostRanges(mostRanges) {}

    // `line` is not below any line before; one that comes again is counted again.
    void add(std::size_t line);
    std::size_t count() const { return d_count; }
    // Such as "3, 17-20, 31 and 120 more"; empty if there are none.
    std::string text() const;

private:
    struct Range {
        std::size_t first;
        std::size_t last;
    };

    std::size_t d_mostRanges;
    std::vector<Range> d_ranges;
    std::size_t d_count = 0;
    std::size_t d_unlisted = 0; // counted, but in no range
};

} // namespace qztool
