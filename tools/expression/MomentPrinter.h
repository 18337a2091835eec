// The moments of a recording at which a condition becomes true, as text or for other programs.
#pragma once

#include "tools/moments/Moment.h"

#include <ostream>
#include <string>

namespace qztool {

enum class MomentFormat { Text, Csv, Json };

class MomentPrinter {
public:
    // `withHeld`: the moments' durations are known, and of interest.
    MomentPrinter(std::ostream& out, MomentFormat format, bool withHeld)
        : d_out(out), d_format(format), d_withHeld(withHeld) {}

    // Writes what comes before the first moment: in CSV the names of the columns. `placeKind` is what moments count as
    // their places: "line", "object" or "packet". Further calls do nothing.
    void begin(char const* placeKind);
    // Writes a line, after `begin`. It is not flushed.
    void print(Moment const& moment);

private:
    std::ostream& d_out;
    MomentFormat d_format;
    bool d_withHeld;
    std::string d_placeKind; // empty: not begun
};

} // namespace qztool
