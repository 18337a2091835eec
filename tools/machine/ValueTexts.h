// Words for raw values, as the value tables of definition files give them.
#pragma once

#include "tools/base/Console.h"
#include "tools/machine/SignalReader.h"

#include <cstdint>
#include <map>
#include <string>

namespace qztool {

// A shared record does not hold its signal's value table; to show the words, the caller names the definition file.
class ValueTexts {
public:
    // Takes in the tables of a definition file; what is wrong with other statements is of no interest here. False if
    // the file cannot be read, which is reported.
    bool load(std::string const& path, Console& console);

    // The word for the signal's present value; empty if there is none.
    std::string text(SignalState const& state) const;

private:
    std::map<std::string, std::map<std::int64_t, std::string>> d_tables; // by instance name
};

} // namespace qztool
