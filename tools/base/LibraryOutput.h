// What the library prints to standard output while the command runs.
#pragma once

#include <chrono>
#include <streambuf>
#include <string>

namespace qztool {

// Passes it on to standard error, except for the line "[DEBUG] ...: retrying", which a signal prints on each attempt to
// get a lock that another process holds. Most of these waits are over before anybody could read it. One that takes
// longer than a second is reported once, as a warning.
class LibraryOutput : public std::streambuf {
protected:
    std::streamsize xsputn(char const* text, std::streamsize size) override; // the library writes whole lines
    int_type overflow(int_type character) override;
    int sync() override;

private:
    void note(std::string const& line);

    std::string d_line; // the lock that is being waited for, as the library's line on it
    std::chrono::steady_clock::time_point d_first;
    std::chrono::steady_clock::time_point d_last;
    bool d_reported = false;
};

} // namespace qztool
