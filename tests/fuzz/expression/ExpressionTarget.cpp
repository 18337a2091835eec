// Fuzz target: any bytes as the text of an expression, held against the reference.
#include "tests/expression/CompiledExpression.h"
#include "tests/expression/ReferenceLanguage.h"
#include "tests/expression/TestSignals.h"
#include "tests/fuzz/Expect.h"
#include "tests/support/Capture.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

namespace {

// Longer texts would only exhaust the stack by the reference's recursion.
constexpr std::size_t longestText = 2000;

TestSignals& signalsOfTexts() {
    static TestSignals signals;
    static bool const filled = [] {
        signals["a"].d_value = 2.0;
        signals["b"].d_value = 0.0;
        signals["k"].d_value = -0.75;
        signals["n"].d_value = std::nan("");
        signals["CAN.Speed"].d_value = 130.0;
        signals["a&&b"].d_value = 1.0;
        signals["late"]; // has no value
        unsigned long long time = 0;
        for (char const* const name : {"a", "b", "k", "n", "CAN.Speed", "a&&b"})
            signals[name].d_timestamp = ++time;
        return true;
    }();
    static_cast<void>(filled);
    return signals;
}

void evaluate(CompiledExpression& expression, std::string const& text, reference::Term const& term,
              TestSignals const& signals) {
    reference::Program const found = expression.postfix();
    reference::Program const expected = programOf(term);
    expect(found == expected, "program", text, print(found), print(expected));

    double const value = reference::evaluate(term, [&](std::string const& name) { return signals.value(name); });
    for (int round = 0; round < 2; ++round) {
        std::string const evaluated = reference::print(expression.getValue());
        expect(evaluated == reference::print(value), "value", text, evaluated, reference::print(value));
    }
    std::string const compact = reference::print(compactValue(text));
    expect(compact == reference::print(value), "compact value", text, compact, reference::print(value));
    expect(expression.getTrigger() == (value > 0.0), "trigger", text);

    auto const lacksValue = [&](reference::Instruction const& each) {
        return each.d_operation == "opsignal" && !signals.value(each.d_name);
    };
    bool const written = std::none_of(expected.begin(), expected.end(), lacksValue);
    expect(expression.isWritten() == written, "isWritten", text);

    auto* const edge = new CompiledExpression(text, true);
    expect(edge->getTrigger() == (value > 0.0), "first edge trigger", text);
    expect(!edge->getTrigger(), "second edge trigger", text);
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    if (size > longestText)
        return 0;
    std::string const text(data, std::find(data, data + size, std::uint8_t{0}));
    TestSignals& signals = signalsOfTexts();
    reference::Reading const reading = reference::read(text);
    std::string const check = checked(text);
    expect(check == checkFor(reading), "check", text, check, checkFor(reading));
    std::vector<std::string> const names = ExpParser::signalNames(text.c_str());
    {
        Capture errors(std::cerr);
        auto expression = std::make_unique<CompiledExpression>(text);
        std::string const messages = errors.take();
        expect(expression->accepted() == reading.d_accepted, "accepted", text);
        // Whatever there is of the program, its signals are among the names in the text.
        for (reference::Instruction const& each : expression->postfix())
            expect(each.d_name.empty() || std::find(names.begin(), names.end(), each.d_name) != names.end(), "names",
                   text, each.d_name, "");
        // Safe on every program, and whatever is left of one.
        expression->isWritten();
        expression->getLastestTime();
        if (reading.d_accepted)
            evaluate(*expression, text, reading.d_term, signals);
        else
            expect(messages == messagesFor(text, reading), "messages", text, messages, messagesFor(text, reading));
        if (expression->accepted())
            static_cast<void>(expression.release()); // `clear` deletes it, and the one with the edge trigger
        ExpParser::clear();
        expect(ExpParser::allExpParsers.empty(), "clear", text);
    }
    signals.destroyInputs();
    return 0;
}
