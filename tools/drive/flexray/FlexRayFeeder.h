// Hands recorded FlexRay frames to the signals, the way a trace reader does.
#pragma once

#include "qzsignal/trace/FlexRayExtTraceMessage.h"
#include "tools/drive/Channels.h"
#include "tools/drive/CurrentFrame.h"
#include "tools/drive/Feeder.h"

#include <cstdint>
#include <memory>

namespace qztool {

class FlexRayFeeder : public Feeder {
public:
    FlexRayFeeder(Channels& channels, CurrentFrame& frame);

    // A frame of both channels, or of a recording that does not say which, is fed to the signals of either.
    Fed feed(Frame const& frame, MessageSink& sink) override;

private:
    std::uint64_t keyOn(Network const& network, bool isB);
    void decode(Network const& network, bool isB, MessageSink& sink);

    Channels& d_channels;
    CurrentFrame& d_frame;
    FlexRayExtTraceMessage d_message;
};

std::unique_ptr<Feeder> makeFlexRayFeeder(Channels& channels, CurrentFrame& frame);

} // namespace qztool
