// What a database read from a DBC file promises, whatever the bytes that it was read from.
#pragma once

#include "tests/tools/definitions/Ranges.h"
#include "tools/definitions/Database.h"

#include <cmath>
#include <cstddef>
#include <set>
#include <string>
#include <string_view>

namespace qztool {

// The first promise that a database read from `text` breaks; null if it keeps all.
inline char const* brokenPromise(Database const& database, std::string_view text) {
    std::size_t const lines = mostLinesOf(text);
    if (char const* const broken = brokenRange(database.problems, lines))
        return broken;
    std::size_t line = 1;
    std::set<std::string> messageNames;
    for (MessageDefinition const& message : database.messages) {
        if (!isOneLine(message.name) || !messageNames.insert(message.name).second)
            return "name of a message";
        if (message.line < line || message.line > lines)
            return "line of a message";
        line = message.line;
        if (message.address > (message.extended ? 0x1FFFFFFFU : 0x7FFU))
            return "identifier";
        if (!std::isfinite(message.cycleTime) || message.cycleTime < 0)
            return "cycle time";
        if (message.byParameterGroup && !message.extended)
            return "parameter group";
        std::set<std::string> names;
        std::set<std::size_t> multiplexors;
        for (SignalDefinition const& signal : message.signals) {
            if (!names.insert(signal.name).second)
                return "name of two signals";
            if (char const* const broken = brokenRange(signal, Bus::Can, lines, multiplexors))
                return broken;
            if (signal.isMultiplexor)
                multiplexors.insert(static_cast<std::size_t>(&signal - message.signals.data()));
        }
    }
    return nullptr;
}

} // namespace qztool
