// The library's diagnostic lines: prefix, stream and line end of each kind, in one place.
//
// Each line goes straight through to its standard stream, in one piece and flushed, so that it stays whole among the
// lines of other processes and in order among those of other printers. It is formatted apart from the stream, whose own
// number base and precision neither show in it nor change. Debug lines cost a test of the level and nothing else while
// debug is off.
#pragma once

#include "qzsignal/signal/BaseSignal.h"

#include <exception>
#include <iostream>
#include <sstream>
#include <string>

namespace qzsignal {

// True if debug output is on at all; per-frame lines that would flood a log ask for `above` = 1.
inline bool debugging() {
    return __builtin_expect(BaseSignal::debug != 0, 0);
}
inline bool debuggingAbove(int level) {
    return __builtin_expect(BaseSignal::debug > level, 0);
}

// A line for which there is no memory is lost; what it was about goes on.
template <typename... Parts>
[[gnu::cold]] void writeLine(std::ostream& out, char const* prefix, Parts const&... parts) {
    try {
        std::ostringstream line;
        line << prefix;
        (line << ... << parts) << '\n';
        std::string const text = line.str();
        out.write(text.data(), static_cast<std::streamsize>(text.size())).flush();
    } catch (std::exception const&) {
    }
}

// "[DEBUG] " to standard output. Ungated: callers test the level first, so that nothing is formatted in vain.
template <typename... Parts>
[[gnu::cold]] void debugLine(Parts const&... parts) {
    writeLine(std::cout, "[DEBUG] ", parts...);
}

// Debug output on a signal that was built from a definition: a line that says so, and its description.
template <typename Signal>
void traceCreated(char const* label, std::string const& instance, bool shared, Signal const& signal) {
    debugLine(label, " ", instance, " created ", shared ? "(shared memory)" : "");
    writeLine(std::cout, "", signal);
}

// The same on one that was opened by name; there is nothing to describe while it waits for its record.
template <typename Signal>
void traceOpened(char const* label, std::string const& instance, bool found, Signal const& signal) {
    debugLine(label, " ", instance, " created ", found ? "(shared memory found)." : "(shared memory NOT found).");
    if (found)
        writeLine(std::cout, "", signal);
}

// "[WARNING] " to standard error.
template <typename... Parts>
[[gnu::cold]] void warningLine(Parts const&... parts) {
    writeLine(std::cerr, "[WARNING] ", parts...);
}

// "[ERROR] " to standard error.
template <typename... Parts>
[[gnu::cold]] void errorLine(Parts const&... parts) {
    writeLine(std::cerr, "[ERROR] ", parts...);
}

} // namespace qzsignal
