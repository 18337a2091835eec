// Sleeping until a frame is due.
#include "tools/replay/Pacer.h"

#include "tools/base/StopRequest.h"

#include <algorithm>

namespace qztool {

double secondsSince(timespec const& start) {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec - start.tv_sec) + static_cast<double>(now.tv_nsec - start.tv_nsec) / 1e9;
}

void Pacer::waitFor(std::uint64_t recorded) {
    if (d_speed == 0)
        return;
    if (!d_started || recorded < d_lastRecorded) {
        d_started = true;
        d_firstRecorded = recorded;
        clock_gettime(CLOCK_MONOTONIC, &d_start);
    }
    d_lastRecorded = recorded;

    double const due = static_cast<double>(recorded - d_firstRecorded) / 1e6 / d_speed;
    while (!stopRequested()) {
        double const ahead = due - secondsSince(d_start);
        if (ahead <= 0)
            return;
        // In slices: a stop that arrives between the test and the sleep does not interrupt the sleep.
        double const slice = std::min(ahead, 0.1);
        timespec const pause = {0, static_cast<long>(slice * 1e9)};
        nanosleep(&pause, nullptr);
    }
}

} // namespace qztool
