// What the command prints: results on standard output, everything else on standard error.
#pragma once

#include <iostream>

namespace qztool {

// The library writes some of its lines to standard output by design, the line of a busy lock above all. From its
// construction on, the console keeps std::cout for them and sends it to standard error; results alone reach standard
// output, so that they can always be parsed.
class Console {
public:
    Console() : d_results(std::cout.rdbuf(std::cerr.rdbuf())) {}
    ~Console() { std::cout.rdbuf(d_results.rdbuf()); }
    Console(Console const&) = delete;
    Console& operator=(Console const&) = delete;

    std::ostream& results() { return d_results; }

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

    std::ostream d_results;
};

} // namespace qztool
