// Classes of intervals.
#include "tools/check/Intervals.h"

#include <algorithm>
#include <limits>

namespace qztool {

namespace {

// Position of the highest bit and the four bits after it.
unsigned classOf(std::uint64_t interval) {
    if (interval < 16)
        return static_cast<unsigned>(interval);
    unsigned highest = 4;
    while (interval >> (highest + 1) != 0)
        ++highest;
    return highest * 16 + static_cast<unsigned>(interval >> (highest - 4) & 15);
}

} // namespace

void Intervals::add(std::uint64_t interval, FramePlace const& after) {
    ++d_count;
    unsigned const number = classOf(interval);
    auto const found = std::lower_bound(d_classes.begin(), d_classes.end(), number,
                                        [](Class const& each, unsigned wanted) { return each.number < wanted; });
    if (found == d_classes.end() || found->number != number) {
        d_classes.insert(found, {number, 1, interval, interval, interval, after, after});
        return;
    }
    ++found->count;
    found->sum += interval;
    found->shortest = std::min(found->shortest, interval);
    if (interval > found->longest) {
        found->longest = interval;
        found->beforeLongest = after;
    }
}

double Intervals::median() const {
    std::uint64_t below = 0;
    for (Class const& each : d_classes) {
        below += each.count;
        if (2 * below >= d_count)
            return static_cast<double>(each.sum) / static_cast<double>(each.count);
    }
    return 0.0;
}

double Intervals::mean() const {
    return meanUpTo(std::numeric_limits<double>::infinity());
}

double Intervals::meanUpTo(double longest) const {
    std::uint64_t count = 0, sum = 0;
    for (Class const& each : d_classes)
        if (static_cast<double>(each.longest) <= longest) {
            count += each.count;
            sum += each.sum;
        }
    return count != 0 ? static_cast<double>(sum) / static_cast<double>(count) : 0.0;
}

std::uint64_t Intervals::countWithin(double shortest, double longest) const {
    std::uint64_t count = 0;
    for (Class const& each : d_classes)
        if (static_cast<double>(each.shortest) >= shortest && static_cast<double>(each.longest) <= longest)
            count += each.count;
    return count;
}

Intervals::Silences Intervals::longerThan(double limit) const {
    Silences result;
    for (Class const& each : d_classes) {
        if (static_cast<double>(each.longest) <= limit)
            continue;
        // Of a class on both sides of the limit, one that is longer is known.
        bool const isWhole = static_cast<double>(each.shortest) > limit;
        FramePlace const& first = isWhole ? each.first : each.beforeLongest;
        if (result.count == 0 || first.number < result.first.number)
            result.first = first;
        result.count += isWhole ? each.count : 1;
        result.longest = std::max(result.longest, each.longest);
    }
    return result;
}

} // namespace qztool
