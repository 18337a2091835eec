// Reports problems on standard error.
#pragma once

#include "tools/base/Console.h"
#include "tools/base/Reporter.h"

namespace qztool {

class ConsoleReporter : public Reporter {
public:
    explicit ConsoleReporter(Console& console) : d_console(console) {}

    void problems(std::string const& file, std::vector<Problem> const& problems) override;
    void error(std::string const& text) override { d_console.error(text); }

private:
    Console& d_console;
};

} // namespace qztool
