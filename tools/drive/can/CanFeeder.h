// Hands recorded CAN frames to the signals, the way a trace reader does.
#pragma once

#include "qzsignal/trace/CANExtTraceMessage.h"
#include "tools/drive/Channels.h"
#include "tools/drive/CurrentFrame.h"
#include "tools/drive/Feeder.h"

#include <array>
#include <cstdint>
#include <memory>

namespace qztool {

// Forms the serialized record of a frame, asks the pre-filter, and only then builds the message and dispatches it.
class CanFeeder : public Feeder {
public:
    CanFeeder(Channels& channels, CurrentFrame& frame) : d_channels(channels), d_frame(frame) {}

    Fed feed(Frame const& frame, MessageSink& sink) override;

private:
    bool wanted(Frame const& frame, std::uint8_t filed);

    Channels& d_channels;
    CurrentFrame& d_frame;
    std::array<unsigned char, 22> d_record{};
    CANExtTraceMessage d_message;
};

std::unique_ptr<Feeder> makeCanFeeder(Channels& channels, CurrentFrame& frame);

} // namespace qztool
