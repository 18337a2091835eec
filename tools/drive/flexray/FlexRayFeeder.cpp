// Frame, key, message, dispatch.
#include "tools/drive/flexray/FlexRayFeeder.h"

#include "qzsignal/flexray/FlexRaySignal.h"
#include "tools/drive/flexray/ChannelCode.h"

namespace qztool {

FlexRayFeeder::FlexRayFeeder(Channels& channels, CurrentFrame& frame) : d_channels(channels), d_frame(frame) {
    d_message.payload.reserve(mostFrameBytes); // so that feeding allocates nothing
}

// The key under which signals of the message are filed on this channel; 0 if there are none.
std::uint64_t FlexRayFeeder::keyOn(Network const& network, bool isB) {
    d_message.channel = flexRayCode(network.filed, isB);
    std::uint64_t const key = FlexRaySignal::getFlexRayId(d_message);
    return FlexRaySignal::frMessageContainer.signals(key) != nullptr ? key : 0;
}

void FlexRayFeeder::decode(Network const& network, bool isB, MessageSink& sink) {
    d_message.channel = flexRayCode(network.filed, isB);
    d_frame.carried.clear();
    sink.onMessage(FlexRaySignal::decodeMessage(d_message));
}

Feeder::Fed FlexRayFeeder::feed(Frame const& frame, MessageSink& sink) {
    bool const isUnknown = !frame.is(frameFlag::channelA | frameFlag::channelB);
    d_message.timestamp = frame.timestamp;
    d_message.slot = static_cast<std::uint16_t>(frame.address);
    d_message.cycle = frame.cycle;
    Fed result = Fed::Nothing;
    for (Network* const network : d_channels.candidates(frame)) {
        if (network->filed >= mostFlexRayNetworks)
            continue; // no signal of it could be built
        std::uint64_t const keyA = isUnknown || frame.is(frameFlag::channelA) ? keyOn(*network, false) : 0;
        std::uint64_t const keyB = isUnknown || frame.is(frameFlag::channelB) ? keyOn(*network, true) : 0;
        if (keyA == 0 && keyB == 0)
            continue;
        if (!Channels::claim(*network, frame.channel)) {
            result = result == Fed::Nothing ? Fed::OtherChannel : result;
            continue;
        }
        d_frame.begin(frame);
        d_message.payload.assign(frame.bytes.begin(), frame.bytes.begin() + frame.length);
        if (keyA != 0)
            decode(*network, false, sink);
        if (keyB != 0 && keyB != keyA)
            decode(*network, true, sink);
        result = Fed::Message;
    }
    return result;
}

std::unique_ptr<Feeder> makeFlexRayFeeder(Channels& channels, CurrentFrame& frame) {
    return std::make_unique<FlexRayFeeder>(channels, frame);
}

} // namespace qztool
