// Dates in recordings, which are in the local time of the recording machine.
#pragma once

#include <cstdint>
#include <ctime>

namespace qztool {

// Microseconds since 1970 of a local date, read in this machine's time zone, and microseconds after it. 0 if that is
// before 1970.
inline std::uint64_t sinceEpoch(std::tm date, std::uint64_t microseconds) {
    date.tm_isdst = -1;
    std::time_t const seconds = std::mktime(&date);
    return seconds < 0 ? 0 : static_cast<std::uint64_t>(seconds) * 1'000'000 + microseconds;
}

struct Day {
    int year;  // such as 2025
    int month; // 1..12
    int day;   // 1..31
};

struct TimeOfDay {
    int hour;
    int minute;
    int second;
};

// The same. 0 also if there is no such day or time.
inline std::uint64_t sinceEpoch(Day day, TimeOfDay time, std::uint64_t microseconds) {
    bool const exists = day.month >= 1 && day.month <= 12 && day.day >= 1 && day.day <= 31 && time.hour >= 0 &&
                        time.hour < 24 && time.minute >= 0 && time.minute < 60 && time.second >= 0 && time.second <= 60;
    if (!exists)
        return 0;
    std::tm date{};
    date.tm_year = day.year - 1900;
    date.tm_mon = day.month - 1;
    date.tm_mday = day.day;
    date.tm_hour = time.hour;
    date.tm_min = time.minute;
    date.tm_sec = time.second;
    return sinceEpoch(date, microseconds);
}

} // namespace qztool
