// Reading, counting, feeding.
#include "tools/drive/Drive.h"

#include "tools/drive/Buses.h"

namespace qztool {

Drive::Drive(RecordingReader& recording, Channels const& channels, CurrentFrame& frame, Stop& stop)
    : d_recording(recording), d_stop(stop) {
    for (std::size_t i = 0; i < busKinds; ++i)
        if (BusSupport const* const support = supportOf(static_cast<Bus>(i)))
            d_feeders[i] = support->makeFeeder(channels, frame);
}

void Drive::run(DriveListener& listener) {
    Frame frame;
    while (!d_stop.requested()) {
        RecordingReader::Next const next = d_recording.next(frame);
        if (next == RecordingReader::Next::End)
            break;
        listener.onProgress(d_recording);
        if (next == RecordingReader::Next::Interrupted || !isToBeFed(frame))
            continue;
        listener.onFrame(frame);
        if (d_stop.requested())
            break;
        ++d_counts.frames;
        Feeder* const feeder = d_feeders[static_cast<std::size_t>(frame.bus)].get();
        std::uint64_t const message = feeder != nullptr ? feeder->feed(frame) : 0;
        if (message == 0)
            continue;
        ++d_counts.decoded;
        listener.onMessage(frame, message);
    }
    listener.onEnd();
}

// Counts the frame as what it is otherwise.
bool Drive::isToBeFed(Frame const& frame) {
    constexpr std::uint16_t notFed = frameFlag::withoutData | frameFlag::fd;
    if (!frame.is(notFed))
        return true;
    ++(frame.is(frameFlag::error)    ? d_counts.errorFrames
       : frame.is(frameFlag::remote) ? d_counts.remoteFrames
                                     : d_counts.fdFrames);
    return false;
}

} // namespace qztool
