// The shared signals of this machine, each with its value and the processes around it.
#pragma once

#include "tools/machine/FeederLocks.h"
#include "tools/machine/Processes.h"
#include "tools/machine/SharedSignals.h"
#include "tools/machine/SignalReader.h"

#include <optional>
#include <string>
#include <vector>

namespace qztool {

struct SignalEntry {
    SignalState state;
    Segment segment;
    std::string command;         // of the creator; empty if it is gone or does not say
    bool alive = false;          // the creator still runs
    bool orphan = false;         // no process is attached, and the creator is gone
    std::optional<double> age;   // seconds since the last write; nothing if its time is not the clock's
    std::optional<pid_t> feeder; // the process that feeds it, if it is known
};

// Seconds from the recorded time (microseconds) to `now` (seconds since 1970). Nothing if the time is not that of this
// machine's clock: a time before the segment was made, in seconds, was recorded elsewhere or counts from another
// beginning, and one to come cannot be the clock's either.
std::optional<double> ageAt(double now, std::uint64_t timestamp, std::time_t made);

// True if one of the patterns, as for file names, matches the name. No pattern: true.
bool matchesAny(std::string const& name, std::vector<std::string> const& patterns);

// Reads signals one after the other. What processes hold locked is waited for, but for half a second in all.
class SignalLister {
public:
    // Nothing if the signal is gone in the meantime.
    std::optional<SignalEntry> entry(ListedSignal const& signal);

private:
    ProcessTable d_processes;
    FeederLocks d_locks{FeederLocks::Access::Look};
    std::chrono::milliseconds d_patience{500};
};

} // namespace qztool
