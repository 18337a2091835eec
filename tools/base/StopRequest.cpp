// Signal handlers that set a flag, and make a descriptor readable.
#include "tools/base/StopRequest.h"

#include "tools/base/Clock.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <poll.h>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>

namespace qztool {

namespace {

// Set by signal handlers and threads.
std::atomic<bool> stopNoted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "handlers may use it");

// Readable from the first request on: a wait for it ends also if the request came in the instant before. -1: requests
// are not noted, and waits pass over it.
int stopDescriptor = -1;

void noteStop(int) {
    int const before = errno;
    stopNoted = true;
    constexpr std::uint64_t one = 1;
    [[maybe_unused]] ssize_t const written = write(stopDescriptor, &one, sizeof one);
    errno = before;
}

} // namespace

void noteStopRequests() {
    stopDescriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (stopDescriptor == -1)
        throw std::system_error(errno, std::generic_category(), "eventfd");
    struct sigaction action {};
    action.sa_handler = noteStop; // without SA_RESTART: whatever else waits is to end as well
    constexpr int requests[] = {SIGINT, SIGTERM, SIGHUP};
    for (int const request : requests)
        sigaction(request, &action, nullptr);
}

void requestStop() {
    noteStop(0);
}

bool stopRequested() {
    return stopNoted;
}

void pauseUnlessStopped(double seconds) {
    timespec start{};
    clock_gettime(CLOCK_MONOTONIC, &start);
    while (!stopRequested()) {
        double const left = seconds - secondsSince(start);
        if (left <= 0)
            return;
        double const part = std::min(left, 1e6); // which every target's clock can count
        auto const whole = static_cast<time_t>(part);
        timespec const pause = {whole, static_cast<long>((part - static_cast<double>(whole)) * 1e9)};
        pollfd stop = {stopDescriptor, POLLIN, 0};
        ppoll(&stop, 1, &pause, nullptr);
    }
}

bool awaitInput(int descriptor) {
    pollfd awaited[] = {{descriptor, POLLIN, 0}, {stopDescriptor, POLLIN, 0}};
    if (poll(awaited, 2, -1) == -1)
        return errno != EINTR;
    return awaited[1].revents == 0;
}

} // namespace qztool
