// The library's diagnostic lines: prefix, stream and line end of each kind, in one place.
//
// Lines are written straight through to the standard streams and flushed, so that their order among the lines of other
// printers and processes holds. Debug lines cost a test of the level and nothing else while debug is off.
#pragma once

#include "qzsignal/signal/BaseSignal.h"

#include <iostream>
#include <string>

namespace qzsignal {

// True if debug output is on at all; per-frame lines that would flood a log ask for `above` = 1.
inline bool debugging() {
    return __builtin_expect(BaseSignal::debug != 0, 0);
}
inline bool debuggingAbove(int level) {
    return __builtin_expect(BaseSignal::debug > level, 0);
}

template <typename... Parts>
void writeLine(std::ostream& out, char const* prefix, Parts const&... parts) {
    out << prefix;
    (out << ... << parts) << std::endl;
}

// "[DEBUG] " to standard output. Ungated: callers test the level first, so that nothing is formatted in vain.
template <typename... Parts>
void debugLine(Parts const&... parts) {
    writeLine(std::cout, "[DEBUG] ", parts...);
}

// Debug output on a signal that was built from a definition: a line that says so, and its description.
template <typename Signal>
void traceCreated(char const* label, std::string const& instance, bool shared, Signal const& signal) {
    debugLine(label, " ", instance, " created ", shared ? "(shared memory)" : "");
    std::cout << signal << std::endl;
}

// "[WARNING] " to standard error.
template <typename... Parts>
void warningLine(Parts const&... parts) {
    writeLine(std::cerr, "[WARNING] ", parts...);
}

// "[ERROR] " to standard error.
template <typename... Parts>
void errorLine(Parts const&... parts) {
    writeLine(std::cerr, "[ERROR] ", parts...);
}

} // namespace qzsignal
