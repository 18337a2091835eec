// What is particular to each kind of bus: how its signals are built, and how its frames are fed.
#pragma once

#include "tools/definitions/Database.h"
#include "tools/drive/Channels.h"
#include "tools/drive/CurrentFrame.h"
#include "tools/drive/DrivenSignal.h"
#include "tools/drive/Feeder.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace qztool {

// A signal that is to be built.
struct SignalOrder {
    MessageDefinition const& message;
    SignalDefinition const& signal;
    std::string const& instance;
    std::uint8_t channel; // under which it is filed
    bool shared;          // in a segment; otherwise in this process alone
};

struct BusSupport {
    Bus bus;
    std::size_t networks; // that the library can tell apart
    std::unique_ptr<DrivenSignal> (*build)(SignalOrder const& order, CurrentFrame& frame);
    std::unique_ptr<Feeder> (*makeFeeder)(Channels& channels, CurrentFrame& frame);
};

// Null if signals of this bus cannot be fed.
BusSupport const* supportOf(Bus bus);

} // namespace qztool
