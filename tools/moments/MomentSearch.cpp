// Edges of a condition.
#include "tools/moments/MomentSearch.h"

namespace qztool {

bool MomentSearch::onFrame(Frame const& frame) {
    d_lastTime = frame.timestamp;
    return true;
}

void MomentSearch::onMessage(Frame const& frame, std::uint64_t message) {
    if (d_condition.reads(message))
        look(frame.timestamp);
}

void MomentSearch::onEnd() {
    if (d_true)
        end(d_lastTime, false);
}

void MomentSearch::look(std::uint64_t time) {
    if (!d_condition.isWritten() || d_condition.isTrue() == d_true)
        return;
    if (d_true)
        end(time, true);
    else
        begin(time);
}

void MomentSearch::begin(std::uint64_t time) {
    d_true = true;
    d_found = true;
    d_moment = {time, d_recording.place(), 0, false};
    d_listener.onMoment(d_moment);
}

void MomentSearch::end(std::uint64_t time, bool ended) {
    d_true = false;
    // Recorded time may step back, as at the seam of two recordings.
    d_moment.held = time > d_moment.timestamp ? time - d_moment.timestamp : 0;
    d_moment.ended = ended;
    d_listener.onMomentOver(d_moment);
}

} // namespace qztool
