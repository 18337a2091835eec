// What the tests of expressions share: signals to read, and a view into the compiled program.
#pragma once

#include "qzsignal/expression/ExpParser.h"
#include "qzsignal/expression/Operations.h"
#include "qzsignal/expression/TokenSource.h"
#include "qzsignal/signal/BaseSignal.h"
#include "tests/support/Capture.h"

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>
#include <string>
#include <vector>

// A signal whose value the test sets, and which counts how often it is read. The raw value is the rounded physical one.
class PlainSignal : public BaseSignal {
public:
    explicit PlainSignal(char const* name, unsigned long long id = 0) : BaseSignal(name, "") { messageId = id; }
    PlainSignal(char const* name, double phys, unsigned long long time, unsigned long long id = 0)
        : PlainSignal(name, id) {
        set(phys, time);
    }

    void set(double phys, unsigned long long time) {
        d_there = true;
        d_phys = phys;
        d_time = time;
    }

    char const* getUnit() const override { return ""; }
    double getScaleFactor() const override { return 1.0; }
    double getOffset() const override { return 0.0; }
    unsigned char getBits() const override { return 64; }
    signalValue_t getType() const override { return signalValue_t(); }
    bool read(double& phys, unsigned long long& timestamp) override {
        ++d_physReads;
        if (d_there) {
            phys = d_phys;
            timestamp = d_time;
        }
        return d_there;
    }
    // Sets the time even without a value, as some signals do.
    bool read(unsigned long long& value, unsigned long long& timestamp) override {
        ++d_rawReads;
        timestamp = d_time;
        if (d_there)
            value = static_cast<unsigned long long>(d_phys);
        return d_there;
    }
    bool write(unsigned long long value, unsigned long long timestamp) override {
        set(static_cast<double>(value), timestamp);
        return true;
    }
    bool isModified() const override { return false; }
    void print(std::ostream&) const override {}
    void clear() override { d_there = false; }

    bool d_there = false;
    double d_phys = 0.0;
    unsigned long long d_time = 0;
    int d_physReads = 0;
    int d_rawReads = 0;
};

class ExpressionProbe : public ExpParser {
public:
    explicit ExpressionProbe(std::string const& expression, bool edge = false) : ExpParser(expression.c_str(), edge) {}

    using ExpParser::edgeTrigger;
    using ExpParser::lastTrigger;
    using ExpParser::lexer;
    using ExpParser::pc;
    using ExpParser::program;
    using ExpParser::stack;
    using ExpParser::text;
    using ExpParser::written;

    bool listed() const { return allExpParsers.count(const_cast<ExpressionProbe*>(this)) != 0; }

    // The program with constants as numbers, signals by name, and operations as the table calls them.
    std::string printed() const {
        std::ostringstream out;
        char const* gap = "";
        for (auto const& [operation, operand] : program) {
            out << gap;
            if (operation == &ExpParser::opdouble)
                out << operand.value;
            else if (operation == &ExpParser::opsignal)
                out << operand.name;
            else
                out << qzsignal::findOperation(operation)->name;
            gap = " ";
        }
        return out.str();
    }
};

// Leaves no expression, and none of the input signals that expressions create for unknown names.
class ExpressionTest : public testing::Test {
protected:
    void TearDown() override {
        ExpParser::debug = 0;
        BaseSignal::debug = 0;
        expdebug = 0;
        EXPECT_TRUE(ExpParser::allExpParsers.empty());
        while (!BaseSignal::instances.empty())
            delete BaseSignal::instances.begin()->second;
    }

    // What compiling a text writes to std::cerr.
    static std::string errorsOf(std::string const& text) {
        Capture const errors(std::cerr);
        ExpressionProbe const expression(text);
        return errors.text();
    }

    static std::string programOf(std::string const& text) {
        Capture const errors(std::cerr);
        ExpressionProbe const expression(text);
        EXPECT_EQ(errors.text(), "") << text;
        return expression.printed();
    }

    // Of an expression that is expected to be accepted.
    static double valueOf(std::string const& text) {
        ExpressionProbe expression(text);
        EXPECT_TRUE(expression.listed()) << text;
        return expression.getValue();
    }
};

// What goes to standard error by any road while it lives: the generators write to it in their own ways.
class ErrorOutput {
public:
    ErrorOutput() { testing::internal::CaptureStderr(); }
    ErrorOutput(ErrorOutput const&) = delete;
    ErrorOutput& operator=(ErrorOutput const&) = delete;
    // Ends the capture.
    std::string take() { return testing::internal::GetCapturedStderr(); }
};

// The texts between each `before` and the next `after`.
inline std::vector<std::string> allBetween(std::string const& text, std::string const& before,
                                           std::string const& after) {
    std::vector<std::string> found;
    for (std::size_t at = text.find(before); at != std::string::npos; at = text.find(before, at)) {
        at += before.size();
        found.push_back(text.substr(at, text.find(after, at) - at));
    }
    return found;
}
