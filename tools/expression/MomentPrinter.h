// The moments of a recording at which a condition becomes true, as text or for other programs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>

namespace qztool {

struct Moment {
    std::uint64_t timestamp = 0; // microseconds, as recorded
    std::size_t line = 0;        // of the frame in the recording, counted from 1
    std::uint64_t held = 0;      // microseconds until the condition became false, or until the recording's last frame
    bool ended = false;          // it became false again
};

enum class MomentFormat { Text, Csv, Json };

class MomentPrinter {
public:
    // `withHeld`: the moments' durations are known, and of interest.
    MomentPrinter(std::ostream& out, MomentFormat format, bool withHeld)
        : d_out(out), d_format(format), d_withHeld(withHeld) {}

    // Writes what comes before the first moment: in CSV the names of the columns.
    void begin();
    // Writes a line. It is not flushed.
    void print(Moment const& moment);

private:
    std::ostream& d_out;
    MomentFormat d_format;
    bool d_withHeld;
};

} // namespace qztool
