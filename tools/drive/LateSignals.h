// Signals that cannot be built before a recording is read, as their names say which channel or which source address
// their frames come from.
#pragma once

#include "tools/recordings/Frame.h"

#include <cstddef>
#include <cstdint>

namespace qztool {

struct Network;

// Builds them when the first such frame is there.
class LateSignals {
public:
    virtual ~LateSignals() = default;

    // True if the frame carries a message of the network, or announces one.
    virtual bool isOf(Network const& network, Frame const& frame) const = 0;
    // The network has begun to serve its channel.
    virtual void onChannel(Network& network) = 0;
    // The first frame of a message (index in the file of its network) from a source address is there. `hasPlainNames`:
    // the signals without a source address in their names are those of this source.
    virtual void onSource(Network& network, std::size_t message, std::uint8_t source, bool hasPlainNames) = 0;
};

} // namespace qztool
