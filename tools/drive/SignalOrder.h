// A signal that is to be built.
#pragma once

#include "tools/definitions/Database.h"

#include <cstdint>
#include <string>

namespace qztool {

// What it refers to must outlive the signal.
struct SignalOrder {
    MessageDefinition const& message;
    SignalDefinition const& signal;
    std::string const& instance;
    std::uint8_t channel;  // under which it is filed
    std::uint32_t address; // likewise
    bool shared;           // in a segment; otherwise in this process alone
    bool wanted;           // for its value; otherwise it is there for the signals that it selects
};

} // namespace qztool
