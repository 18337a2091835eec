// Random expressions, as the library and as the reference read them.
#include "tests/expression/CompiledExpression.h"
#include "tests/expression/RandomTexts.h"
#include "tests/expression/ReferenceLanguage.h"
#include "tests/expression/TestSignals.h"
#include "tests/support/Capture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iostream>
#include <limits>
#include <set>

namespace {

constexpr int texts = QZSIGNAL_RANDOM_EXPRESSIONS;

std::vector<std::string> const names = {"a",   "b",   "k",        "x",         "CAN.Speed", "a&&b",
                                        "x^2", "k#1", "pressed_", "t\xc3\xa4", "RC.F1"};

std::optional<double> randomValue(RandomTexts& random) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    static double const values[] = {0.0,  -0.0, 1.0,   1.0,    2.0,      -1.0,      0.5,          3.25,
                                    1e16, 0.1,  1e308, 5e-324, infinity, -infinity, std::nan(""), -1e-300};
    std::size_t const kind = random.number(40);
    if (kind == 0)
        return {};
    if (kind < 30)
        return values[random.number(std::size(values))];
    return static_cast<double>(random.number(2000)) / 7.0 - 100.0;
}

std::set<std::string> namesIn(std::vector<std::string> const& list) {
    std::set<std::string> const found(list.begin(), list.end());
    EXPECT_EQ(found.size(), list.size()) << "each name once";
    return found;
}

std::set<std::string> namesIn(reference::Program const& program) {
    std::set<std::string> found;
    for (reference::Instruction const& each : program)
        if (each.d_operation == "opsignal")
            found.insert(each.d_name);
    return found;
}

// What is seen of a text with one set of values, as words.
std::string seen(bool accepted, reference::Program const& program, double value, std::string const& messages) {
    return accepted ? "program " + print(program) + "\nvalue " + reference::print(value) + "\n" + messages : messages;
}

} // namespace

TEST(RandomExpressions, areReadAndEvaluatedLikeTheReference) {
    RandomTexts random(20240229, names);
    TestSignals signals(names);
    Capture errors(std::cerr);
    int accepted = 0;
    for (int i = 0; i < texts; ++i) {
        std::string const text = random.next();
        for (std::string const& name : names) {
            signals[name].d_value = randomValue(random);
            signals[name].d_timestamp = random.number(1000);
        }

        reference::Reading const reading = reference::read(text);
        std::string expected;
        if (reading.d_accepted) {
            ++accepted;
            double const value =
                reference::evaluate(reading.d_term, [&](std::string const& name) { return signals.value(name); });
            expected = seen(true, programOf(reading.d_term), value, "");
        } else {
            expected = seen(false, {}, 0.0, messagesFor(text, reading));
        }

        ASSERT_EQ(checked(text), checkFor(reading)) << "Text: " << text;
        if (reading.d_accepted) {
            ASSERT_EQ(namesIn(ExpParser::signalNames(text.c_str())), namesIn(programOf(reading.d_term)))
                << "Text: " << text;
        }

        {
            CompiledExpression expression(text);
            bool const compiled = expression.accepted();
            if (reading.d_accepted)
                ASSERT_EQ(expression.postfix(), programOf(reading.d_term)) << "Text: " << text;
            double const value = compiled ? expression.getValue() : 0.0;
            ASSERT_EQ(seen(compiled, expression.postfix(), value, errors.take()), expected) << "Text: " << text;
            if (compiled) {
                ASSERT_EQ(expression.getTrigger(), value > 0.0) << "Text: " << text;
                // The same again: an evaluation has no effect on the next one.
                ASSERT_EQ(reference::print(expression.getValue()), reference::print(value)) << "Text: " << text;
                ASSERT_EQ(reference::print(compactValue(text)), reference::print(value)) << "Text: " << text;
            }
        }
        ASSERT_TRUE(ExpParser::allExpParsers.empty());
        signals.destroyInputs();
    }
    // Neither accepted nor rejected texts are rare.
    EXPECT_GT(accepted, texts / 3);
    EXPECT_LT(accepted, texts * 2 / 3);
}

TEST(RandomExpressions, knowWrittenSignalsAndTheNewestTime) {
    RandomTexts random(7, names);
    TestSignals signals(names);
    Capture errors(std::cerr);
    int complete = 0;
    for (int i = 0; i < texts / 10; ++i) {
        std::string const text = random.next();
        for (std::string const& name : names) {
            signals[name].d_value = randomValue(random);
            signals[name].d_timestamp = random.number(1000);
        }
        reference::Reading const reading = reference::read(text);
        if (!reading.d_accepted)
            continue;

        bool written = true;
        unsigned long long newest = 0;
        for (reference::Instruction const& each : programOf(reading.d_term)) {
            if (each.d_operation != "opsignal")
                continue;
            bool const there = signals.value(each.d_name).has_value();
            written = written && there;
            if (there)
                newest = std::max(newest, signals[each.d_name].d_timestamp);
        }
        complete += written ? 1 : 0;
        {
            CompiledExpression expression(text);
            EXPECT_EQ(expression.isWritten(), written) << "Text: " << text;
            EXPECT_EQ(expression.getLastestTime(), newest) << "Text: " << text;
        }
        signals.destroyInputs();
    }
    EXPECT_GT(complete, texts / 100);
}
