// Edges of a condition.
#include "tools/moments/MomentSearch.h"

#include <algorithm>
#include <limits>

namespace qztool {

bool MomentSearch::onFrame(Frame const& frame) {
    passTo(frame.timestamp);
    return true;
}

void MomentSearch::onMessage(Frame const& frame, std::uint64_t message) {
    if (!d_condition.dependsOnTime() && d_condition.reads(message))
        look(frame.timestamp);
}

void MomentSearch::onFed(Frame const& frame) {
    if (d_condition.dependsOnTime())
        look(frame.timestamp);
    if (d_pending)
        d_moment.place = d_recording.place();
}

void MomentSearch::onFrameWithoutData(Frame const& frame) {
    passTo(frame.timestamp);
    onFed(frame);
}

void MomentSearch::onEnd() {
    if (d_true)
        end(d_now, false);
    if (d_pending)
        report();
}

void MomentSearch::passTo(std::uint64_t time) {
    if (d_pending)
        awaitMoment(time);
    d_now = time;
    d_condition.setTime(time);
}

void MomentSearch::awaitMoment(std::uint64_t time) {
    // Recorded time may step back, as at the seam of two recordings. What has held since a later time is not known to
    // have held at all: the time that is required starts over.
    bool const steppedBack = time < (d_true ? d_beginning : d_moment.timestamp);
    if (steppedBack && d_true)
        setBeginning(time);
    else if (steppedBack || time > d_moment.timestamp)
        report();
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
    if (d_pending) // of the same time
        report();
    d_true = true;
    setBeginning(time);
    d_moment.place = d_recording.place();
    if (d_least == 0)
        report();
    else
        d_pending = true;
}

void MomentSearch::setBeginning(std::uint64_t time) {
    d_beginning = time;
    d_moment.timestamp = time + std::min(d_least, std::numeric_limits<std::uint64_t>::max() - time);
}

void MomentSearch::end(std::uint64_t time, bool ended) {
    d_true = false;
    d_moment.held = time > d_beginning ? time - d_beginning : 0;
    d_moment.ended = ended;
    if (d_pending)
        d_pending = d_moment.held >= d_least;
    else
        d_listener.onMomentOver(d_moment);
}

void MomentSearch::report() {
    d_pending = false;
    d_found = true;
    d_listener.onMoment({d_moment.timestamp, d_moment.place, 0, false});
    if (!d_true)
        d_listener.onMomentOver(d_moment);
}

} // namespace qztool
