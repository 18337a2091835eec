// A record, its segment and their processes put together.
#include "tools/machine/SignalList.h"

#include "tools/machine/Leftovers.h"

#include <algorithm>
#include <fnmatch.h>

namespace qztool {

std::optional<double> ageAt(double now, std::uint64_t timestamp, std::time_t made) {
    constexpr double microsecondsPerSecond = 1e6;
    double const written = static_cast<double>(timestamp) / microsecondsPerSecond;
    if (written < static_cast<double>(made) || written > now)
        return std::nullopt;
    return now - written;
}

bool matchesAny(std::string const& name, std::vector<std::string> const& patterns) {
    return patterns.empty() || std::any_of(patterns.begin(), patterns.end(), [&name](std::string const& pattern) {
               return fnmatch(pattern.c_str(), name.c_str(), 0) == 0;
           });
}

std::optional<SignalEntry> SignalLister::entry(ListedSignal const& signal) {
    using Clock = std::chrono::steady_clock;
    Clock::time_point const start = Clock::now();
    std::optional<SignalState> state = readSignal(signal.instance, signal.segment, d_patience);
    if (!state)
        return std::nullopt;
    if (state->locked)
        d_patience -= std::min(d_patience, std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start));
    SignalEntry entry;
    entry.segment = signal.segment;
    entry.alive = d_processes.isAlive(signal.segment.creator, signal.segment.made);
    entry.orphan = isOrphan(signal.segment, d_processes);
    if (entry.alive)
        entry.command = d_processes.command(signal.segment.creator);
    if (state->value) {
        auto const now = std::chrono::system_clock::now().time_since_epoch();
        entry.age = ageAt(std::chrono::duration<double>(now).count(), state->value->timestamp, signal.segment.made);
    }
    // A feeder that filled another one's segment again did not make it.
    if (entry.alive && signal.segment.attached != 0)
        entry.feeder = signal.segment.creator;
    else if (!entry.orphan)
        entry.feeder = d_locks.holder(signal.instance);
    entry.state = std::move(*state);
    return entry;
}

} // namespace qztool
