// Hands recorded CAN frames to the signals, the way a trace reader does.
#pragma once

#include "qzsignal/trace/CANExtTraceMessage.h"
#include "tools/drive/Channels.h"
#include "tools/drive/CurrentFrame.h"
#include "tools/drive/Feeder.h"
#include "tools/drive/can/TransportProtocol.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace qztool {

// Builds and dispatches a message only if it has signals. Of networks with J1939, the signals are found by parameter
// group and source address.
class CanFeeder : public Feeder {
public:
    CanFeeder(Channels& channels, CurrentFrame& frame) : d_channels(channels), d_frame(frame) {}

    Fed feed(Frame const& frame, MessageSink& sink) override;
    TransportCounts transport() const override { return d_transport.counts(); }

private:
    using Networks = std::vector<Network*>;

    void decode(std::uint32_t identifier, std::uint8_t filed, MessageSink& sink);
    Fed feedGroup(Network& network, std::uint8_t recorded, TransportProtocol::Message const& message,
                  MessageSink& sink);
    Fed feedPacket(Frame const& frame, Networks const& networks, MessageSink& sink);
    Fed feedComplete(Frame const& frame, TransportProtocol::Message const& message, Networks const& networks,
                     MessageSink& sink);

    Channels& d_channels;
    CurrentFrame& d_frame;
    CANExtTraceMessage d_message;
    TransportProtocol d_transport;
};

std::unique_ptr<Feeder> makeCanFeeder(Channels& channels, CurrentFrame& frame);

} // namespace qztool
