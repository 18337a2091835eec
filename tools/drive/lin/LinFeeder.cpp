// From a frame to the key of its signals.
#include "tools/drive/lin/LinFeeder.h"

#include "qzsignal/lin/LINSignal.h"
#include "qzsignal/signal/MessageKey.h"

namespace qztool {

namespace {

constexpr std::uint8_t identifierBits = 0x3F; // of a protected identifier, whose other bits are parity

// The identifier under which the frame's signals are defined. An event-triggered frame carries another frame, whose
// protected identifier is its first byte.
std::uint32_t carriedIdentifier(Frame const& frame, Network const& network) {
    if (frame.length == 0)
        return frame.address;
    std::uint32_t const carried = frame.bytes[0] & identifierBits;
    return network.eventTriggered.mayCarry(frame.address, carried) ? carried : frame.address;
}

} // namespace

Feeder::Fed LinFeeder::feed(Frame const& frame, MessageSink& sink) {
    Fed result = Fed::Nothing;
    for (Network* const network : d_channels.candidates(frame)) {
        std::uint64_t const key =
            qzsignal::linKey(static_cast<std::uint8_t>(network->filed), carriedIdentifier(frame, *network));
        auto const* const signals = LINSignal::linMessageContainer.signals(key);
        if (signals == nullptr)
            continue;
        if (!Channels::claim(*network, frame.channel)) {
            result = result == Fed::Nothing ? Fed::OtherChannel : result;
            continue;
        }
        d_frame.begin(frame);
        for (LINSignal* const signal : *signals)
            signal->write(frame.bytes.data(), frame.length, frame.timestamp);
        sink.onMessage(key);
        result = Fed::Message;
    }
    return result;
}

std::unique_ptr<Feeder> makeLinFeeder(Channels& channels, CurrentFrame& frame) {
    return std::make_unique<LinFeeder>(channels, frame);
}

} // namespace qztool
