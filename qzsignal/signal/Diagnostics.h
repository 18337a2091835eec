// The library's diagnostic lines: prefix, stream and line end of each kind, in one place.
//
// Each line is written to its standard stream in one piece and flushed, so that it stays whole among the lines of other
// processes and in order among those of other printers. It is formatted in a stream of its own and in the classic
// locale: number base, precision and locales of the program neither show in it nor change. While debug is off, a debug
// line costs a test of the level and nothing else.
#pragma once

#include "qzsignal/PrintedForm.h"
#include "qzsignal/signal/BaseSignal.h"

#include <exception>
#include <iostream>
#include <string>

namespace qzsignal {

// True if debug output is on at all, or above a level: per-frame lines that would flood a log ask for more than 1.
inline bool debugging() {
    return __builtin_expect(BaseSignal::debug != 0, 0);
}
inline bool debuggingAbove(int level) {
    return __builtin_expect(BaseSignal::debug > level, 0);
}

// A line for which there is no memory is dropped; the operation that it reports continues.
template <typename... Parts>
[[gnu::cold]] void writeLine(std::ostream& out, char const* prefix, Parts const&... parts) {
    try {
        TextStream line;
        line << prefix;
        (line << ... << parts) << '\n';
        std::string const text = line.str();
        out.write(text.data(), static_cast<std::streamsize>(text.size())).flush();
    } catch (std::exception const&) {
    }
}

// "[DEBUG] " to standard output. Ungated: callers test the level first, so that nothing is formatted needlessly.
template <typename... Parts>
[[gnu::cold]] void debugLine(Parts const&... parts) {
    writeLine(std::cout, "[DEBUG] ", parts...);
}

// Debug output for a signal built from a definition: a line that reports it, and its description.
template <typename Signal>
void traceCreated(char const* label, std::string const& instance, bool shared, Signal const& signal) {
    debugLine(label, " ", instance, " created ", shared ? "(shared memory)" : "");
    writeLine(std::cout, "", signal);
}

// The same for a signal opened by name; one that waits for its record has no description yet.
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
