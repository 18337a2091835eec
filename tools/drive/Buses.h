// What is particular to each kind of bus: how its signals are built, and how its frames are fed.
#pragma once

#include "tools/drive/Channels.h"
#include "tools/drive/CurrentFrame.h"
#include "tools/drive/DrivenSignal.h"
#include "tools/drive/Feeder.h"
#include "tools/drive/SignalOrder.h"

#include <cstddef>
#include <memory>

namespace qztool {

struct BusSupport {
    Bus bus;
    std::size_t networks; // that the library can tell apart
    std::unique_ptr<DrivenSignal> (*build)(SignalOrder const& order, CurrentFrame& frame);
    std::unique_ptr<Feeder> (*makeFeeder)(Channels& channels, CurrentFrame& frame);
};

// Null if signals of this bus cannot be fed.
BusSupport const* supportOf(Bus bus);

} // namespace qztool
