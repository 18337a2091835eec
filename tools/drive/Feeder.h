// Hands the frames of one kind of bus to their signals.
#pragma once

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
        Message       // one at least
    };

    virtual ~Feeder() = default;

    // Feeds a data frame of the feeder's bus. Allocates nothing.
    virtual Fed feed(Frame const& frame, MessageSink& sink) = 0;
};

} // namespace qztool
