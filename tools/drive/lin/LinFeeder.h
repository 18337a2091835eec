// Hands recorded LIN frames to the signals.
#pragma once

#include "tools/drive/Channels.h"
#include "tools/drive/CurrentFrame.h"
#include "tools/drive/Feeder.h"

#include <memory>

namespace qztool {

// Feeds the signals itself: `LINSignal::decodeMessage` looks for them under a key that no constructor files them under.
class LinFeeder : public Feeder {
public:
    LinFeeder(Channels& channels, CurrentFrame& frame) : d_channels(channels), d_frame(frame) {}

    Fed feed(Frame const& frame, MessageSink& sink) override;

private:
    Channels& d_channels;
    CurrentFrame& d_frame;
};

std::unique_ptr<Feeder> makeLinFeeder(Channels& channels, CurrentFrame& frame);

} // namespace qztool
