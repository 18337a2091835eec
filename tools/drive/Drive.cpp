// Reading, counting, feeding.
#include "tools/drive/Drive.h"

#include "tools/drive/Buses.h"

namespace qztool {

Drive::Drive(RecordingReader& recording, Channels& channels, CurrentFrame& frame, Stop& stop)
    : d_recording(recording), d_stop(stop) {
    for (std::size_t i = 0; i < busKinds; ++i)
        if (BusSupport const* const support = supportOf(static_cast<Bus>(i)))
            d_feeders[i] = support->makeFeeder(channels, frame);
}

void Drive::run(DriveListener& listener) {
    constexpr unsigned progressFrames = 64;
    d_listener = &listener;
    while (!d_stop.requested()) {
        RecordingReader::Next const next = d_recording.next(d_frame);
        if (next == RecordingReader::Next::End)
            break;
        if (next == RecordingReader::Next::Interrupted || ++d_sinceProgress == progressFrames) {
            d_sinceProgress = 0;
            listener.onProgress(d_recording);
        }
        if (next == RecordingReader::Next::Interrupted)
            continue;
        listener.onRead(d_frame);
        if (d_frame.is(frameFlag::withoutData)) {
            count(d_frame);
            continue;
        }
        if (!listener.onFrame(d_frame))
            break;
        feed();
    }
    listener.onEnd();
}

void Drive::feed() {
    ++d_counts.frames;
    d_counts.fdFrames += d_frame.is(frameFlag::fd) ? 1 : 0;
    Feeder* const feeder = d_feeders[static_cast<std::size_t>(d_frame.bus)].get();
    switch (feeder != nullptr ? feeder->feed(d_frame, *this) : Feeder::Fed::Nothing) {
    case Feeder::Fed::Nothing:
        d_unfed.add(d_frame);
        break;
    case Feeder::Fed::OtherChannel:
        ++d_counts.otherChannel;
        break;
    case Feeder::Fed::Packet:
        ++d_counts.packets;
        break;
    case Feeder::Fed::Message:
        ++d_counts.decoded;
        break;
    }
}

TransportCounts Drive::transport() const {
    Feeder const* const feeder = d_feeders[static_cast<std::size_t>(Bus::Can)].get();
    return feeder != nullptr ? feeder->transport() : TransportCounts();
}

void Drive::onMessage(std::uint64_t message) {
    d_listener->onMessage(d_frame, message);
}

// Of frames without data.
void Drive::count(Frame const& frame) {
    d_counts.errorFrames += frame.is(frameFlag::error) ? 1 : 0;
    d_counts.nullFrames += frame.is(frameFlag::null) ? 1 : 0;
    d_counts.remoteFrames += frame.is(frameFlag::remote) && !frame.is(frameFlag::error) ? 1 : 0;
}

} // namespace qztool
