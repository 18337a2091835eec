// An expression as the library compiles it, in the words of the reference.
#pragma once

#include "qzsignal/expression/ExpParser.h"
#include "tests/expression/ReferenceLanguage.h"

#include <string>
#include <utility>

class CompiledExpression : public ExpParser {
public:
    explicit CompiledExpression(std::string const& source, bool edge = false) : ExpParser(source.c_str(), edge) {}

    using ExpParser::lastTrigger;
    using ExpParser::written;

    bool accepted() const { return allExpParsers.count(const_cast<CompiledExpression*>(this)) != 0; }

    reference::Program instructions() const {
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

private:
    static char const* nameOf(void (ExpParser::*operation)()) {
        static std::pair<void (ExpParser::*)(), char const*> const operations[] = {
            {&ExpParser::opdouble, "opdouble"}, {&ExpParser::opsignal, "opsignal"}, {&ExpParser::opnot, "opnot"},
            {&ExpParser::opnz, "opnz"},         {&ExpParser::opneg, "opneg"},       {&ExpParser::opland, "opland"},
            {&ExpParser::oplor, "oplor"},       {&ExpParser::opdne, "opdne"},       {&ExpParser::opdeq, "opdeq"},
            {&ExpParser::opbne, "opbne"},       {&ExpParser::opbeq, "opbeq"},       {&ExpParser::opge, "opge"},
            {&ExpParser::ople, "ople"},         {&ExpParser::opgt, "opgt"},         {&ExpParser::oplt, "oplt"},
            {&ExpParser::opexp, "opexp"},       {&ExpParser::opdiv, "opdiv"},       {&ExpParser::opmult, "opmult"},
            {&ExpParser::opminus, "opminus"},   {&ExpParser::opplus, "opplus"}};
        for (auto const& [candidate, name] : operations)
            if (candidate == operation)
                return name;
        return "unknown";
    }
};

// The value of an accepted text as an expression of no derived class has it: it runs another way, in the compact form.
inline double compactValue(std::string const& source) {
    return ExpParser(source.c_str(), false).getValue();
}

// What the library writes to standard error about a text that it does not accept, after the reference's reading of it.
inline std::string messagesFor(std::string const& text, reference::Reading const& reading) {
    return "[ERROR] expression parser: line " + std::to_string(reading.d_errorLine) + " syntax error at '" +
           reading.d_errorText + "'\n[ERROR] parser error in ExpParser\n" + text + "\n\n";
}
