// The one loop over a recording.
#pragma once

#include "tools/base/Stop.h"
#include "tools/drive/Channels.h"
#include "tools/drive/CurrentFrame.h"
#include "tools/drive/Feeder.h"
#include "tools/drive/FrameTally.h"
#include "tools/recordings/RecordingReader.h"

#include <array>
#include <cstdint>
#include <memory>

namespace qztool {

// What a user of the loop does at its points. The drive is at the frame in question.
class DriveListener {
public:
    virtual ~DriveListener() = default;

    // A frame of any kind was read.
    virtual void onRead(Frame const& frame) { static_cast<void>(frame); }
    // A data frame is about to be fed; at the end of what the call takes, it is due. False: the drive is to end here.
    virtual bool onFrame(Frame const& frame) { return static_cast<void>(frame), true; }
    // Its signals have been written; `message` is the key by which expressions know it.
    virtual void onMessage(Frame const& frame, std::uint64_t message) {
        static_cast<void>(frame), static_cast<void>(message);
    }
    // Called now and then.
    virtual void onProgress(RecordingReader const& recording) { static_cast<void>(recording); }
    // The recording has ended, or a stop was requested.
    virtual void onEnd() {}
};

struct DriveCounts {
    std::uint64_t frames = 0;       // data frames that were offered to signals
    std::uint64_t decoded = 0;      // of these, the ones that carry any
    std::uint64_t otherChannel = 0; // likewise, those that would if definitions did not serve another channel
    std::uint64_t packets = 0;      // likewise, those that are part of a message that comes in several
    std::uint64_t fdFrames = 0;     // likewise, those of CAN FD
    std::uint64_t remoteFrames = 0;
    std::uint64_t errorFrames = 0;
    std::uint64_t nullFrames = 0; // of FlexRay
};

// Reads the frames of a recording and feeds them to the signals that are there. Recording, channels, frame and stop
// must outlive it.
class Drive : private MessageSink {
public:
    Drive(RecordingReader& recording, Channels& channels, CurrentFrame& frame, Stop& stop);

    // Runs to the end of the recording, or until a stop is requested.
    void run(DriveListener& listener);

    RecordingReader const& recording() const { return d_recording; }
    DriveCounts const& counts() const { return d_counts; }
    // Messages that came in several frames.
    TransportCounts transport() const;
    // Data frames that carry no signal that is there.
    FrameTally const& unfed() const { return d_unfed; }

private:
    void count(Frame const& frame);
    void feed();
    void onMessage(std::uint64_t message) override;

    RecordingReader& d_recording;
    Stop& d_stop;
    std::array<std::unique_ptr<Feeder>, busKinds> d_feeders; // null: nothing of the bus can be fed
    Frame d_frame;
    DriveListener* d_listener = nullptr; // while running
    unsigned d_sinceProgress = 0;        // frames
    DriveCounts d_counts;
    FrameTally d_unfed;
};

} // namespace qztool
