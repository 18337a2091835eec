// The times between frames of one kind, in a few numbers.
#pragma once

#include "tools/check/Finding.h"

#include <cstdint>
#include <vector>

namespace qztool {

// Sorts intervals by length, 16 classes for each power of two, so that memory does not grow with their number. It
// keeps, of the intervals of a class, their number, sum and ends.
class Intervals {
public:
    // An interval in microseconds, after a frame.
    void add(std::uint64_t interval, FramePlace const& after);

    std::uint64_t count() const { return d_count; }
    // In microseconds; 0 if there are none. The mean of those in the median's class.
    double median() const;
    double mean() const;
    // Mean of those that are not longer than this; 0 if there are none.
    double meanUpTo(double longest) const;
    // How many are at least, and at most, as long, to the class.
    std::uint64_t countWithin(double shortest, double longest) const;

    struct Silences {
        std::uint64_t count = 0;
        std::uint64_t longest = 0;
        FramePlace first; // the frame before the first of them
    };
    // Those that are longer than this.
    Silences longerThan(double limit) const;

private:
    struct Class {
        unsigned number = 0;
        std::uint64_t count = 0;
        std::uint64_t sum = 0;
        std::uint64_t shortest = 0;
        std::uint64_t longest = 0;
        FramePlace first;
        FramePlace beforeLongest;
    };

    std::vector<Class> d_classes; // that have any, by number
    std::uint64_t d_count = 0;
};

} // namespace qztool
