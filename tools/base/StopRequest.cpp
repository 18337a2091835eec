// Signal handlers that set a flag.
#include "tools/base/StopRequest.h"

#include "tools/base/Clock.h"

#include <algorithm>
#include <csignal>

namespace qztool {

namespace {

volatile std::sig_atomic_t stopNoted = 0;

void noteStop(int) {
    stopNoted = 1;
}

} // namespace

void noteStopRequests() {
    struct sigaction action {};
    action.sa_handler = noteStop; // without SA_RESTART: a wait for input is to end
    constexpr int requests[] = {SIGINT, SIGTERM, SIGHUP};
    for (int const request : requests)
        sigaction(request, &action, nullptr);
}

bool stopRequested() {
    return stopNoted != 0;
}

void pauseUnlessStopped(double seconds) {
    timespec start{};
    clock_gettime(CLOCK_MONOTONIC, &start);
    while (!stopRequested()) {
        double const left = seconds - secondsSince(start);
        if (left <= 0)
            return;
        // In slices: a stop that arrives between the test and the sleep does not interrupt the sleep.
        timespec const slice = {0, static_cast<long>(std::min(left, 0.1) * 1e9)};
        nanosleep(&slice, nullptr);
    }
}

} // namespace qztool
