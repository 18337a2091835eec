// How long many calls took: numbers of any size in a fixed number of classes, so that noting one allocates nothing.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace qzbench {

// Counts of times in nanoseconds. Times below 32 have a class each; from there on each power of two is cut into 32
// classes of equal width, so that a class is never wider than a 32nd of the times in it. Can be in shared memory.
class LatencyHistogram {
public:
    void note(std::uint64_t time) {
        ++d_counts[classOf(time)];
        ++d_count;
        d_largest = std::max(d_largest, time);
    }

    // Takes in what another one has noted.
    void add(LatencyHistogram const& other) {
        for (std::size_t i = 0; i < classes; ++i)
            d_counts[i] += other.d_counts[i];
        d_count += other.d_count;
        d_largest = std::max(d_largest, other.d_largest);
    }

    std::uint64_t count() const { return d_count; }
    std::uint64_t largest() const { return d_largest; }

    // A time that this part of all times (0 to 1) does not exceed: the longest of the class in which the part ends.
    // 0 if there are none.
    std::uint64_t quantile(double part) const {
        auto const wanted = static_cast<std::uint64_t>(std::ceil(part * static_cast<double>(d_count)));
        std::uint64_t seen = 0;
        for (std::size_t i = 0; i < classes; ++i) {
            seen += d_counts[i];
            if (seen != 0 && seen >= wanted)
                return std::min(longestIn(i), d_largest);
        }
        return 0;
    }

private:
    static constexpr unsigned widthBits = 5;
    static constexpr std::uint64_t width = std::uint64_t{1} << widthBits;
    static constexpr std::size_t classes = (64 - widthBits + 1) * width;

    static std::size_t classOf(std::uint64_t time) {
        if (time < width)
            return static_cast<std::size_t>(time);
        auto const shift = static_cast<unsigned>(63 - __builtin_clzll(time)) - widthBits;
        // The highest bit of `time >> shift` counts the first class of its power of two on.
        return static_cast<std::size_t>(shift * width + (time >> shift));
    }

    static std::uint64_t longestIn(std::size_t i) {
        if (i < width)
            return i;
        auto const shift = static_cast<unsigned>(i / width) - 1;
        std::uint64_t const shortest = (i % width + width) << shift;
        return shortest + ((std::uint64_t{1} << shift) - 1);
    }

    std::array<std::uint64_t, classes> d_counts{};
    std::uint64_t d_count = 0;
    std::uint64_t d_largest = 0;
};

} // namespace qzbench
