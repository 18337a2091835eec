// Finds the moments of a recording at which a condition becomes true, or has been true for a certain time.
#pragma once

#include "tools/drive/Drive.h"
#include "tools/moments/Condition.h"
#include "tools/moments/Moment.h"

#include <cstdint>

namespace qztool {

// Listens to the drive that feeds the condition's signals. The condition is looked at after each message that carries
// one of them, or after each frame if it depends on time, as soon as all of them hold values. Condition, recording and
// listener must outlive it.
class MomentSearch : public DriveListener {
public:
    // `least`: microseconds that the condition must have held, equal is enough. The moment is its beginning plus these,
    // also between two frames; it is reported with the first frame after it, as frames of its own time come before it.
    MomentSearch(Condition& condition, RecordingReader const& recording, MomentListener& listener,
                 std::uint64_t least = 0)
        : d_condition(condition), d_recording(recording), d_listener(listener), d_least(least) {}

    bool onFrame(Frame const& frame) override;
    void onMessage(Frame const& frame, std::uint64_t message) override;
    void onFed(Frame const& frame) override;
    void onFrameWithoutData(Frame const& frame) override;
    void onProgress(RecordingReader const& /*recording*/) override { d_listener.onSearch(); }
    void onEnd() override;

    bool found() const { return d_found; }

private:
    void passTo(std::uint64_t time);
    void awaitMoment(std::uint64_t time);
    void look(std::uint64_t time);
    void begin(std::uint64_t time);
    void end(std::uint64_t time, bool ended);
    void setBeginning(std::uint64_t time);
    void report();

    Condition& d_condition;
    RecordingReader const& d_recording;
    MomentListener& d_listener;
    std::uint64_t d_least;
    bool d_true = false; // the condition, since `d_beginning`
    // It held long enough, or may yet do so, and no frame after `d_moment` has been seen, which is not reported.
    bool d_pending = false;
    bool d_found = false;
    std::uint64_t d_beginning = 0;
    Moment d_moment;
    std::uint64_t d_now = 0; // of the last frame
};

} // namespace qztool
