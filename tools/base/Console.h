// What the command prints: results on standard output, everything else on standard error.
#pragma once

#include "tools/base/LibraryOutput.h"
#include "tools/base/ResultOutput.h"

#include <iostream>
#include <string>

namespace qztool {

// The library writes some of its lines to standard output by design. From its construction on, the console takes
// std::cout for them; results alone reach standard output, so that they can always be parsed.
class Console {
public:
    Console();
    ~Console();
    Console(Console const&) = delete;
    Console& operator=(Console const&) = delete;

    // Fails once standard output takes nothing more: a reason to end.
    std::ostream& results() { return d_results; }

    // Reports that results could not be written to a file of the user's, with the value of errno. To be called when it
    // happens; `finish` then gives the status for it.
    void cannotWrite(std::string const& file, int error);

    // To be called last. Returns the exit status: `status`, or, if results could not be written, the one for that,
    // which is reported in one line. Output whose reader left is no such failure: it had enough.
    int finish(int status);

    template <typename... Parts>
    void error(Parts const&... parts) {
        line("error: ", parts...);
    }
    template <typename... Parts>
    void warning(Parts const&... parts) {
        line("warning: ", parts...);
    }
    template <typename... Parts>
    void note(Parts const&... parts) {
        line("", parts...);
    }

private:
    template <typename... Parts>
    void line(char const* kind, Parts const&... parts) {
        std::cerr << "qzsignal: " << kind << std::dec;
        (std::cerr << ... << parts) << std::endl;
    }

    ResultOutput d_output;
    std::ostream d_results;
    LibraryOutput d_library;
    std::streambuf* d_standardOutput; // what std::cout had
    bool d_lost = false;              // results, which has been reported
};

} // namespace qztool
