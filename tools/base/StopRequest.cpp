// Signal handlers that set a flag.
#include "tools/base/StopRequest.h"

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

} // namespace qztool
