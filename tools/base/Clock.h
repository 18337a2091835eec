// Time that passes, whatever the wall clock is set to.
#pragma once

#include <ctime>

namespace qztool {

// Seconds since a reading of the monotonic clock.
inline double secondsSince(timespec const& start) {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec - start.tv_sec) + static_cast<double>(now.tv_nsec - start.tv_nsec) / 1e9;
}

} // namespace qztool
