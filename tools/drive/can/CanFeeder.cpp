// From a frame to its messages: directly, by parameter group, or by way of packets.
#include "tools/drive/can/CanFeeder.h"

#include "qzsignal/can/CANSignalExt.h"
#include "qzsignal/signal/MessageKey.h"

#include <algorithm>

namespace qztool {

namespace {

bool isFiled(unsigned filed, std::uint32_t identifier, bool extended) {
    std::uint64_t const key = qzsignal::canKey(static_cast<std::uint8_t>(filed), identifier, extended);
    return CANSignalExt::canMessageContainer.signals(key) != nullptr;
}

// What became of a frame that several networks may carry.
Feeder::Fed moreOf(Feeder::Fed a, Feeder::Fed b) {
    return std::max(a, b);
}

bool define(std::vector<Network*> const& networks, std::uint32_t identifier) {
    return std::any_of(networks.begin(), networks.end(), [identifier](Network const* network) {
        return network->groups && network->groups->defines(identifier);
    });
}

} // namespace

Feeder::Fed CanFeeder::feed(Frame const& frame, MessageSink& sink) {
    Fed result = Fed::Nothing;
    bool hasGroups = false;
    Networks const& networks = d_channels.candidates(frame);
    for (Network* const network : networks) {
        if (network->groups && frame.extended()) {
            hasGroups = true;
            if (network->groups->defines(frame.address)) {
                d_message.timestamp = frame.timestamp;
                result = moreOf(result, feedGroup(*network, frame.channel,
                                                  {frame.address, frame.bytes.data(), frame.length}, sink));
                continue;
            }
        }
        if (!isFiled(network->filed, frame.address, frame.extended()))
            continue;
        if (!Channels::claim(*network, frame.channel)) {
            result = moreOf(result, Fed::OtherChannel);
            continue;
        }
        d_frame.begin(frame);
        d_message.timestamp = frame.timestamp;
        d_message.extended = frame.extended() ? 1 : 0;
        d_message.length = static_cast<unsigned char>(std::min<std::size_t>(frame.length, mostClassicBytes));
        std::copy_n(frame.bytes.begin(), mostClassicBytes, d_message.payload);
        decode(frame.address, static_cast<std::uint8_t>(network->filed), sink);
        result = Fed::Message;
    }
    return hasGroups ? moreOf(result, feedPacket(frame, networks, sink)) : result;
}

// Payload, time and kind are in the message already.
void CanFeeder::decode(std::uint32_t identifier, std::uint8_t filed, MessageSink& sink) {
    d_message.channel = filed;
    d_message.identifier = identifier;
    sink.onMessage(CANSignalExt::decodeMessage(d_message));
}

// The network defines the group.
Feeder::Fed CanFeeder::feedGroup(Network& network, std::uint8_t recorded, TransportProtocol::Message const& message,
                                 MessageSink& sink) {
    ParameterGroups::Route const* route = network.groups->route(message.identifier);
    bool const servesAnother = network.channel && *network.channel != recorded;
    if (route == nullptr && !servesAnother) {
        LateSignals* const late = d_channels.lateSignals();
        route = &network.groups->addRoute(
            message.identifier,
            [&](std::size_t index, bool hasPlainNames) {
                if (late != nullptr)
                    late->onSource(network, index, sourceOf(message.identifier), hasPlainNames);
            },
            [&network](std::uint32_t identifier) { return isFiled(network.filed, identifier, true); });
    }
    if (route != nullptr && route->empty())
        return Fed::Nothing;
    if (!Channels::claim(network, recorded))
        return Fed::OtherChannel;
    d_frame.begin(message.bytes, message.length);
    d_message.extended = 1;
    d_message.length = static_cast<unsigned char>(std::min<std::size_t>(message.length, mostClassicBytes));
    std::copy_n(message.bytes, mostClassicBytes, d_message.payload);
    for (std::uint32_t const identifier : *route) {
        d_frame.carried.clear();
        decode(identifier, static_cast<std::uint8_t>(network.filed), sink);
    }
    return Fed::Message;
}

Feeder::Fed CanFeeder::feedPacket(Frame const& frame, Networks const& networks, MessageSink& sink) {
    std::uint32_t const group = groupOf(frame.address);
    std::uint32_t announced = 0;
    TransportProtocol::Message message;
    if (group == transport::data) {
        switch (d_transport.add(frame, message)) {
        case TransportProtocol::Packet::None:
            return Fed::Nothing;
        case TransportProtocol::Packet::Part:
            return Fed::Packet;
        case TransportProtocol::Packet::Last:
            return feedComplete(frame, message, networks, sink);
        }
    }
    if (group == transport::connection) {
        if (!TransportProtocol::announces(frame, announced))
            return d_transport.control(frame) ? Fed::Packet : Fed::Nothing;
        if (!define(networks, announced))
            return Fed::Nothing;
        d_transport.begin(frame);
        return Fed::Packet;
    }
    if (group == transport::extended)
        d_transport.skip(frame);
    return Fed::Nothing;
}

// The frame is the message's last packet, and counts as one even if the message feeds signals.
Feeder::Fed CanFeeder::feedComplete(Frame const& frame, TransportProtocol::Message const& message,
                                    Networks const& networks, MessageSink& sink) {
    d_message.timestamp = frame.timestamp;
    Fed result = Fed::Nothing;
    for (Network* const network : networks)
        if (network->groups && network->groups->defines(message.identifier))
            result = moreOf(result, feedGroup(*network, frame.channel, message, sink));
    return result == Fed::OtherChannel ? result : Fed::Packet;
}

std::unique_ptr<Feeder> makeCanFeeder(Channels& channels, CurrentFrame& frame) {
    return std::make_unique<CanFeeder>(channels, frame);
}

} // namespace qztool
