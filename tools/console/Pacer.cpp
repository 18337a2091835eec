// Sleeping until a frame is due.
#include "tools/console/Pacer.h"

#include "tools/base/Clock.h"
#include "tools/base/StopRequest.h"

namespace qztool {

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
    pauseUnlessStopped(due - secondsSince(d_start));
}

} // namespace qztool
