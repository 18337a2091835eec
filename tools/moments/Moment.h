// A moment of a recording at which a condition becomes true, or has been true for a certain time.
#pragma once

#include <cstdint>

namespace qztool {

struct Moment {
    std::uint64_t timestamp = 0; // microseconds, as recorded
    // Of the last frame by then in the recording: number of its line, object or packet, from 1.
    std::uint64_t place = 0;
    // Microseconds from when the condition became true until it became false, or until the recording's last frame.
    std::uint64_t held = 0;
    bool ended = false; // it became false again
};

// Hears of moments in their order. While a condition is true, it has no further moment.
class MomentListener {
public:
    virtual ~MomentListener() = default;

    // The condition is true. How long it holds is not known yet.
    virtual void onMoment(Moment const& moment) { static_cast<void>(moment); }
    // The same moment, once the condition has become false or the recording has ended.
    virtual void onMomentOver(Moment const& moment) { static_cast<void>(moment); }
    // Called now and then.
    virtual void onSearch() {}
};

} // namespace qztool
