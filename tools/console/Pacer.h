// Lets recorded time pass at the speed of the wall clock, or a multiple of it.
#pragma once

#include <cstdint>
#include <ctime>

namespace qztool {

class Pacer {
public:
    // `speed` is how much faster than recorded; 0: as fast as possible.
    explicit Pacer(double speed) : d_speed(speed) {}

    // Returns when a frame recorded at this time (microseconds) is due, or when a stop is requested. Recorded time that
    // steps back, as at the seam of two recordings, starts over from there.
    void waitFor(std::uint64_t recorded);

private:
    double d_speed;
    bool d_started = false;
    std::uint64_t d_firstRecorded = 0;
    std::uint64_t d_lastRecorded = 0;
    timespec d_start{};
};

} // namespace qztool
