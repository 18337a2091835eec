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
    CanFeeder(Channels const& channels, CurrentFrame& frame) : d_channels(channels), d_frame(frame) {}

    std::uint64_t feed(Frame const& frame) override;

private:
    bool wanted(Frame const& frame, std::uint8_t channel);

    Channels const& d_channels;
    CurrentFrame& d_frame;
    std::array<unsigned char, 22> d_record{};
    CANExtTraceMessage d_message;
};

std::unique_ptr<Feeder> makeCanFeeder(Channels const& channels, CurrentFrame& frame);

} // namespace qztool
