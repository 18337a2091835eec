// A line that overwrites itself.
#include "tools/console/Progress.h"

#include "tools/base/Clock.h"

#include <iostream>
#include <unistd.h>

namespace qztool {

namespace {

constexpr char wipe[] = "\r\033[K";

} // namespace

Progress::Progress() : d_terminal(isatty(STDERR_FILENO) != 0) {
    clock_gettime(CLOCK_MONOTONIC, &d_last);
}

Progress::~Progress() {
    hide();
}

void Progress::hide() {
    if (d_shown)
        std::cerr << wipe << std::flush;
    d_shown = false;
}

void Progress::show(std::uint64_t frames, std::uint64_t bytesRead, std::uint64_t totalBytes) {
    if (!d_terminal || secondsSince(d_last) < 0.5)
        return;
    clock_gettime(CLOCK_MONOTONIC, &d_last);
    d_shown = true;
    std::cerr << wipe << std::dec << frames << " frames";
    if (totalBytes != 0)
        std::cerr << ", " << bytesRead * 100 / totalBytes << " %";
    std::cerr << std::flush;
}

} // namespace qztool
