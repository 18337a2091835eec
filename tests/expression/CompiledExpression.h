// An expression as the library compiles it, in the words of the reference.
#pragma once

#include "qzsignal/expression/ExpParser.h"
#include "tests/expression/ReferenceLanguage.h"

#include <optional>
#include <string>

class CompiledExpression : public ExpParser {
public:
    explicit CompiledExpression(std::string const& source, bool edge = false) : ExpParser(source.c_str(), edge) {}

    using ExpParser::lastTrigger;
    using ExpParser::written;

    bool accepted() const { return allExpParsers.count(const_cast<CompiledExpression*>(this)) != 0; }

    reference::Program postfix() const {
        reference::Program result;
        for (auto const& [operation, operand] : program) {
            reference::Instruction instruction;
            instruction.d_operation = nameOf(operation);
            instruction.d_name = operand.name;
            if (operation == &ExpParser::opdouble)
                instruction.d_number = operand.value;
            result.push_back(std::move(instruction));
        }
        return result;
    }
};

// The value of an accepted text as a plain ExpParser computes it, in the compact form.
inline double compactValue(std::string const& source) {
    return ExpParser(source.c_str(), false).getValue();
}

// What the library writes to standard error about a text that it does not accept, after the reference's reading of it.
inline std::string messagesFor(std::string const& text, reference::Reading const& reading) {
    return "[ERROR] expression parser: line " + std::to_string(reading.d_errorLine) + " syntax error at '" +
           reading.d_errorText + "'\n[ERROR] parser error in ExpParser\n" + text + "\n\n";
}

// What the library says of a text that it is only asked to check: nothing, or the error's place and message.
inline std::string checked(std::string const& text) {
    std::optional<ExpParser::Error> const error = ExpParser::check(text.c_str());
    return error ? std::to_string(error->begin) + "-" + std::to_string(error->end) + " " + error->text() : "";
}

// The same as the reference has it.
inline std::string checkFor(reference::Reading const& reading) {
    return reading.d_accepted ? ""
                              : std::to_string(reading.d_errorBegin) + "-" + std::to_string(reading.d_errorEnd) +
                                    " expression parser: line " + std::to_string(reading.d_errorLine) +
                                    " syntax error at '" + reading.d_errorText + "'";
}
