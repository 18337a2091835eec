// Databases as text, so that a test compares all that matters in one expectation.
#pragma once

#include "tools/definitions/Database.h"

#include <sstream>
#include <string>

namespace qztool {

// One line each: "7 error: text".
inline std::string problemsOf(Database const& database) {
    std::string text;
    for (Problem const& problem : database.problems) {
        text += std::to_string(problem.line) + (problem.severity == Severity::Error ? " error: " : " warning: ") +
                problem.text + "\n";
    }
    return text;
}

// One line each, such as "Speed<Selector(0-3,7-7) ": name, * if it is a multiplexor, and what selects it.
inline std::string multiplexingOf(MessageDefinition const& message) {
    std::string text;
    for (SignalDefinition const& signal : message.signals) {
        text += signal.name + (signal.isMultiplexor ? "*" : "");
        if (signal.multiplexor) {
            text += "<" + message.signals.at(*signal.multiplexor).name + "(";
            for (SelectorRange const& range : signal.selectedBy) {
                text +=
                    (text.back() == '(' ? "" : ",") + std::to_string(range.first) + "-" + std::to_string(range.last);
            }
            text += ")";
        }
        text += " ";
    }
    return text;
}

// "Engine: Speed Load; Brake: ;"
inline std::string namesOf(Database const& database) {
    std::string text;
    for (MessageDefinition const& message : database.messages) {
        text += message.name + ": ";
        for (SignalDefinition const& signal : message.signals)
            text += signal.name + " ";
        text += "; ";
    }
    return text;
}

inline std::string valuesOf(SignalDefinition const& signal) {
    std::string text;
    for (ValueText const& value : signal.values)
        text += std::to_string(value.value) + "=" + value.text + " ";
    return text;
}

} // namespace qztool
