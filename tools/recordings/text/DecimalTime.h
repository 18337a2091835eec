// Time stamps written as decimal seconds.
#pragma once

#include "tools/recordings/text/TextCursor.h"

#include <cstdint>

namespace qztool {

// Moves over a time such as "1757617431.821276" and converts it exactly; digits below a microsecond are cut off, and
// the fraction may be missing. Returns nothing if that succeeds, else the cause in plain words; `microseconds` is then
// unchanged and the cursor stands somewhere in the number.
char const* readTime(TextCursor& cursor, std::uint64_t& microseconds);

constexpr char const* timeTooLarge = "time stamp too large";

} // namespace qztool
