// The state of one shared signal, read by name.
#pragma once

#include "qzsignal/signal/SignalDefinition.h"

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
    bool locked = false;              // another process held the lock for half a second
};

// Attaches to the signal, reads it and detaches. Nothing if there is no such signal (yet); it is looked for without a
// warning, so that one can ask again and again.
std::optional<SignalState> readSignal(std::string const& instance);

} // namespace qztool
