// Reports problems on standard error.
#pragma once

#include "tools/base/Console.h"
#include "tools/base/Reporter.h"

namespace qztool {

// A line for each problem; more than ten of one kind in a file become one line. `quiet` silences warnings.
class ConsoleReporter : public Reporter {
public:
    ConsoleReporter(Console& console, bool const& quiet) : d_console(console), d_quiet(quiet) {}

    void problems(std::string const& file, std::vector<Problem> const& problems) override;
    void error(std::string const& text) override { d_console.error(text); }
    void warning(std::string const& text) override {
        if (!d_quiet)
            d_console.warning(text);
    }

private:
    void print(std::string const& place, Problem const& problem, std::string const& more);

    Console& d_console;
    bool const& d_quiet;
};

} // namespace qztool
