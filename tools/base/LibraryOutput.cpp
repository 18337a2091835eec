// Sorting the library's lines.
#include "tools/base/LibraryOutput.h"

#include "tools/base/Printable.h"

#include <iostream>

namespace qztool {

namespace {

using Clock = std::chrono::steady_clock;

// "[DEBUG] CLASS::lock (INSTANCE): retrying", the line of `lockRecordAfter`.
constexpr char lineStart[] = "[DEBUG] ";
constexpr char instanceStart[] = "::lock (";
constexpr char lineEnd[] = "): retrying\n";

bool isRetry(std::string const& line) {
    std::size_t const end = sizeof lineEnd - 1;
    return line.rfind(lineStart, 0) == 0 && line.size() > end && line.compare(line.size() - end, end, lineEnd) == 0 &&
           line.find(instanceStart) != std::string::npos;
}

std::string instanceOf(std::string const& line) {
    std::size_t const begin = line.find(instanceStart) + sizeof instanceStart - 1;
    return line.substr(begin, line.size() - (sizeof lineEnd - 1) - begin);
}

} // namespace

std::streamsize LibraryOutput::xsputn(char const* text, std::streamsize size) {
    std::string const line(text, static_cast<std::size_t>(size));
    if (isRetry(line))
        note(line);
    else
        std::cerr.rdbuf()->sputn(text,
                                 size); // not by the stream, which flushes std::cout first, and so comes back here
    return size;
}

LibraryOutput::int_type LibraryOutput::overflow(int_type character) {
    if (!traits_type::eq_int_type(character, traits_type::eof()))
        std::cerr.rdbuf()->sputc(traits_type::to_char_type(character));
    return traits_type::not_eof(character);
}

int LibraryOutput::sync() {
    return std::cerr.rdbuf()->pubsync();
}

void LibraryOutput::note(std::string const& line) {
    constexpr std::chrono::milliseconds gap(500); // attempts follow each other at once, unless the process is stopped
    constexpr std::chrono::seconds tolerated(1);
    Clock::time_point const now = Clock::now();
    if (line != d_line || now - d_last > gap) {
        d_line = line;
        d_first = now;
        d_reported = false;
    }
    d_last = now;
    if (d_reported || now - d_first < tolerated)
        return;
    d_reported = true;
    std::cerr << "qzsignal: warning: '" << printable(instanceOf(line))
              << "' is locked by another process; waiting until it is not" << std::endl;
}

} // namespace qztool
