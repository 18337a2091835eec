// Times on the command line.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace qztool {

struct Seconds {
    std::uint64_t microseconds; // rounded down
    bool isExact;               // nothing was rounded off
};

// Reads seconds such as "1700000000.25", as text, since a double does not hold every microsecond since 1970. Nothing if
// it is no number, or below 0.
std::optional<Seconds> parseSeconds(std::string const& text);

} // namespace qztool
