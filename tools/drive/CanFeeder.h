// Hands recorded frames to the signals, the way a trace reader does.
#pragma once

#include "qzsignal/trace/CANExtTraceMessage.h"
#include "tools/drive/CanDriveSignal.h"
#include "tools/drive/Channels.h"
#include "tools/recordings/Frame.h"

#include <array>
#include <cstdint>

namespace qztool {

// Forms the serialized record of a frame, asks the pre-filter, and only then builds the message and dispatches it.
class CanFeeder {
public:
    CanFeeder(Channels const& channels, FrameInHand& frame) : d_channels(channels), d_frame(frame) {}

    // Returns the key of the frame's message; 0 if it carries no signal.
    std::uint64_t feed(Frame const& frame);

    std::uint64_t decoded() const { return d_decoded; }   // frames with signals
    std::uint64_t filtered() const { return d_filtered; } // frames that the pre-filter kept away

private:
    bool wanted(Frame const& frame, std::uint8_t channel);

    Channels const& d_channels;
    FrameInHand& d_frame;
    std::array<unsigned char, 22> d_record{};
    CANExtTraceMessage d_message;
    std::uint64_t d_decoded = 0;
    std::uint64_t d_filtered = 0;
};

} // namespace qztool
