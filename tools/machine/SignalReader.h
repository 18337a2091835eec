// The state of one shared signal, read by name.
#pragma once

#include "qzsignal/signal/SignalDefinition.h"
#include "tools/machine/SegmentTable.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace qztool {

struct SignalValue {
    double physical = 0;
    std::uint64_t raw = 0;       // decoded; of a signed signal sign-extended
    std::uint64_t timestamp = 0; // in the writer's unit; microseconds if it was replayed
};

struct SignalState {
    std::string instance;
    std::string signal; // descriptive name
    std::string unit;
    signalValue_t type = signalUnsigned;
    std::optional<SignalValue> value; // nothing: never written, or cleared; or the record is locked
    bool locked = false;              // another process held the lock for too long
};

// Attaches to the signal, reads it and detaches. Nothing if there is no such signal (yet); it is looked for without a
// warning, so that one can ask again and again. A process that holds the lock is waited for as long as `patience`.
std::optional<SignalState> readSignal(std::string const& instance,
                                      std::chrono::milliseconds patience = std::chrono::milliseconds(500));

// The same of a segment that was found under the name.
std::optional<SignalState> readSignal(std::string const& instance, Segment const& segment,
                                      std::chrono::milliseconds patience);

} // namespace qztool
