// Finds the moments of a recording at which a condition becomes true.
#pragma once

#include "tools/drive/Drive.h"
#include "tools/moments/Condition.h"
#include "tools/moments/Moment.h"

#include <cstdint>

namespace qztool {

// Listens to the drive that feeds the condition's signals. The condition is looked at after each message that carries
// one of them, as soon as all of them hold values. Condition, recording and listener must outlive it.
class MomentSearch : public DriveListener {
public:
    MomentSearch(Condition& condition, RecordingReader const& recording, MomentListener& listener)
        : d_condition(condition), d_recording(recording), d_listener(listener) {}

    bool onFrame(Frame const& frame) override;
    void onMessage(Frame const& frame, std::uint64_t message) override;
    void onEnd() override;

    bool found() const { return d_found; }

private:
    void look(std::uint64_t time);
    void begin(std::uint64_t time);
    void end(std::uint64_t time, bool ended);

    Condition& d_condition;
    RecordingReader const& d_recording;
    MomentListener& d_listener;
    bool d_true = false;  // the condition, since `d_moment`
    bool d_found = false; // it was true at least once
    Moment d_moment;
    std::uint64_t d_lastTime = 0; // of the frames so far
};

} // namespace qztool
