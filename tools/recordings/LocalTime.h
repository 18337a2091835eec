// Dates in recordings, which are in the local time of the recording machine.
#pragma once

#include <cstdint>
#include <ctime>

namespace qztool {

// Microseconds since 1970 of a local date, read in this machine's time zone, and microseconds after it. 0 if there is
// no such date, or one before 1970.
inline std::uint64_t sinceEpoch(std::tm date, std::uint64_t microseconds) {
    date.tm_isdst = -1;
    std::time_t const seconds = std::mktime(&date);
    return seconds < 0 ? 0 : static_cast<std::uint64_t>(seconds) * 1'000'000 + microseconds;
}

} // namespace qztool
