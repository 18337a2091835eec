// Hands the frames of one kind of bus to their signals.
#pragma once

#include "tools/drive/can/TransportProtocol.h"
#include "tools/recordings/Frame.h"

#include <cstdint>

namespace qztool {

// Hears of each message whose signals have been written.
class MessageSink {
public:
    virtual ~MessageSink() = default;
    // `message` is the key by which expressions know it.
    virtual void onMessage(std::uint64_t message) = 0;
};

class Feeder {
public:
    enum class Fed {
        Nothing,      // the frame carries no signal that is there
        OtherChannel, // it does, but its definitions serve another channel
        Packet,       // it is part of a message that comes in several frames
        Message       // one at least
    };

    virtual ~Feeder() = default;

    // Feeds a data frame of the feeder's bus. Allocates nothing, but for what is seen for the first time: a channel, a
    // source address, a message that comes in several frames.
    virtual Fed feed(Frame const& frame, MessageSink& sink) = 0;
    // Messages that came in several frames so far.
    virtual TransportCounts transport() const { return {}; }
};

} // namespace qztool
