// Printed forms and diagnostics of all kinds are the same whatever locale and width the program has set.
#include "qzsignal/PrintedForm.h"

#include "qzsignal/can/CANSignal.h"
#include "qzsignal/can/CANSignalExt.h"
#include "qzsignal/input/InputSignal.h"
#include "qzsignal/input/InputSignalExt.h"
#include "qzsignal/signal/Diagnostics.h"
#include "qzsignal/signal/Printing.h"
#include "qzsignal/trace/CANExtTraceMessage.h"
#include "tests/support/Capture.h"
#include "tests/support/FlexRayFixture.h"
#include "tests/support/InputMessages.h"
#include "tests/support/LINFixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <iomanip>
#include <locale>
#include <sstream>
#include <string>
#include <vector>

namespace {

// Every digit is a group of its own, so that no number of two digits is printed as usual.
class Punctuation : public std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '\''; }
    std::string do_grouping() const override { return "\1"; }
};

std::locale punctuated() {
    return std::locale(std::locale::classic(), new Punctuation);
}

// Replaces the global locale from construction to destruction.
class GlobalLocale {
public:
    explicit GlobalLocale(std::locale const& locale) : d_before(std::locale::global(locale)) {}
    ~GlobalLocale() { std::locale::global(d_before); }
    GlobalLocale(GlobalLocale const&) = delete;
    GlobalLocale& operator=(GlobalLocale const&) = delete;

private:
    std::locale d_before;
};

template <typename Definition>
Definition numbered(Definition definition) {
    definition.instance = "instance";
    definition.signal = "signal";
    definition.channel = 201;
    definition.startbit = 1234;
    definition.bits = 64;
    definition.scale = 12345.5;
    definition.offset = -0.25;
    return definition;
}

canSignalDef_t canDefinition() {
    canSignalDef_t definition = numbered(canSignalDef_t());
    definition.msgId = 0x1FFFFFFF;
    return definition;
}

flexRaySignalDef_t flexRay() {
    flexRaySignalDef_t definition = numbered(flexRayDefinition("", 0, 2047, 63, 64));
    definition.channel = 3;
    return definition;
}

inputSignalDef_t input() {
    inputSignalDef_t definition = numbered(inputSignalDef_t());
    definition.instance = "RC.F10";
    return definition;
}

canSignal_t storeDefinition() {
    canSignal_t definition;
    definition.name = "store";
    definition.bus = 15;
    definition.id = 2047;
    definition.startbit = 12;
    definition.bits = 40;
    definition.scale = 12345.5;
    definition.offset = -0.25;
    return definition;
}

CANExtTraceMessage frame() {
    CANExtTraceMessage message;
    message.channel = 17;
    message.identifier = 0x1ABCDEF;
    message.length = 2;
    message.payload[0] = 0xA0;
    message.timestamp = 0x123456;
    return message;
}

// Prints one example after the other.
using Visit = std::function<void(char const* what, std::function<void(std::ostream&)> const& print)>;

template <typename Value>
void visit(Visit const& visitor, char const* what, Value const& value) {
    visitor(what, [&value](std::ostream& out) { out << value; });
}

// Every printed form that a caller can write to a stream of its own.
void visitForms(Visit const& visitor) {
    visit(visitor, "baseSignalDef_t", numbered(baseSignalDef_t()));
    visit(visitor, "canSignalDef_t", canDefinition());
    visit(visitor, "linSignalDef_t", numbered(linDefinition("", 1234567)));
    visit(visitor, "flexRaySignalDef_t", flexRay());
    visit(visitor, "inputSignalDef_t", numbered(inputSignalDef_t()));
    visit(visitor, "canSignal_t", storeDefinition());
    visit(visitor, "ShmSignal", ShmSignal(numbered(baseSignalDef_t()), false));
    visit(visitor, "CANExtTraceMessage", frame());
    {
        CANSignalExt signal(canDefinition(), false);
        signal.write(0x123456789ABCDEF0, 1234567);
        visit(visitor, "CANSignalExt", signal);
    }
    visit(visitor, "LINSignal", LINSignal(numbered(linDefinition("", 63)), false));
    visit(visitor, "FlexRaySignal", FlexRaySignal(flexRay(), false));
    visit(visitor, "InputSignalExt", InputSignalExt(input(), false));
}

// Addresses change from run to run.
std::string withoutAddresses(std::string text) {
    for (char const* const label : {"addr=0x", "addr = 0x", "[DEBUG] 0x"})
        for (auto at = text.find(label); at != std::string::npos; at = text.find(label, at))
            text.erase(at,
                       std::min(text.find_first_not_of("0123456789abcdef", at + std::strlen(label)), text.size()) - at);
    return text;
}

bool hasLongNumber(std::string const& text) {
    auto const isDigit = [](char c, bool) { return c >= '0' && c <= '9'; };
    return std::search_n(text.begin(), text.end(), 3, true, isDigit) != text.end();
}

// The form in each stream that it is printed to.
template <typename Prepare>
std::vector<std::string> formsIn(Prepare prepare) {
    std::vector<std::string> forms;
    visitForms([&](char const*, auto const& print) {
        std::ostringstream out;
        prepare(out);
        print(out);
        forms.push_back(withoutAddresses(out.str()));
    });
    return forms;
}

// What is printed to the standard streams while `run` runs.
std::string outputOf(void (*run)()) {
    Capture output(std::cout), errors(std::cerr);
    run();
    return withoutAddresses(output.text() + errors.text());
}

class PrintedFormsTest : public testing::Test {
protected:
    void TearDown() override { BaseSignal::debug = 0; }
};

TEST_F(PrintedFormsTest, examplesHaveNumbersToShowALocaleBy) {
    for (std::string const& form : formsIn([](std::ostream&) {}))
        EXPECT_TRUE(hasLongNumber(form)) << form;
    std::ostringstream out;
    out.imbue(punctuated());
    out << 1234 << ' ' << 0.5;
    EXPECT_EQ(out.str(), "1'2'3'4 0,5");
}

TEST_F(PrintedFormsTest, formsDoNotDependOnTheGlobalLocale) {
    std::vector<std::string> const expected = formsIn([](std::ostream&) {});
    GlobalLocale const global(punctuated());
    EXPECT_EQ(formsIn([](std::ostream&) {}), expected);
}

TEST_F(PrintedFormsTest, formsDoNotDependOnTheLocaleOfTheStreamWhichKeepsIt) {
    std::vector<std::string> const expected = formsIn([](std::ostream&) {});
    EXPECT_EQ(formsIn([](std::ostream& out) { out.imbue(punctuated()); }), expected);
    visitForms([](char const* what, auto const& print) {
        std::ostringstream out;
        out.imbue(punctuated());
        print(out);
        out.str("");
        out << std::dec << 1234;
        EXPECT_EQ(out.str(), "1'2'3'4") << what;
    });
}

TEST_F(PrintedFormsTest, widthIsNotAppliedAndGone) {
    std::vector<std::string> const expected = formsIn([](std::ostream&) {});
    EXPECT_EQ(formsIn([](std::ostream& out) { out << std::setw(2000); }), expected);
    visitForms([](char const* what, auto const& print) {
        std::ostringstream out;
        out << std::setw(2000);
        print(out);
        EXPECT_EQ(out.width(), 0) << what;
    });
}

TEST_F(PrintedFormsTest, formatOfNumbersIsThatOfTheStream) {
    std::ostringstream out;
    out << std::showpos << std::setprecision(2);
    out << numbered(baseSignalDef_t());
    EXPECT_NE(out.str().find(",scale=+1.2e+04,"), std::string::npos) << out.str();
}

TEST_F(PrintedFormsTest, streamThatHasFailedGetsNothing) {
    std::ostringstream out;
    out.setstate(std::ios::failbit);
    out << numbered(baseSignalDef_t());
    EXPECT_EQ(out.str(), "");
}

TEST_F(PrintedFormsTest, valueOfAnInputIsPrintedAlikeInEveryLocaleAndWidth) {
    InputSignal signal("AI.3");
    {
        Capture output(std::cout);
        std::cout << std::setw(60);
        std::cout << static_cast<BaseSignal const&>(signal);
        EXPECT_EQ(output.text(), "InputSignal not used\n");
    }
    signal.write(1234567, 7654321);
    GlobalLocale const global(punctuated());
    Capture output(std::cout);
    std::cout << std::hex << std::setw(60);
    signal.print(std::cerr);
    EXPECT_EQ(output.take(), "AI.3, value=1234567, timestamp=7654321");
    std::cout << 1234;
    EXPECT_EQ(output.take(), "1'2'3'4") << "in decimal and in its own locale";
}

TEST_F(PrintedFormsTest, diagnosticsDoNotDependOnTheGlobalLocale) {
    void (*const run)() = [] {
        qzsignal::debugLine("double ", 12345.5, ", hexadecimal ", std::hex, 0x12345, ", ", qzsignal::Hex16{0x12345});
        qzsignal::warningLine("number ", 12345);
        qzsignal::errorLine("number ", 12345);
        qzsignal::traceCreated("label", "instance", true, canDefinition());
        qzsignal::traceOpened("label", "instance", true, canDefinition());
    };
    std::string const expected = outputOf(run);
    EXPECT_NE(expected.find("[DEBUG] double 12345.5, hexadecimal 12345, 0000000000012345\n"), std::string::npos);
    GlobalLocale const global(punctuated());
    EXPECT_EQ(outputOf(run), expected);
}

TEST_F(PrintedFormsTest, debugLinesOfDispatchDoNotDependOnTheGlobalLocale) {
    void (*const run)() = [] {
        BaseSignal::debug = 2;
        CANSignalExt const can(canDefinition(), false);
        unsigned char const record[28] = {0, 0, 0, 0x13, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 201, 0, 1, 0, 0x9F, 0xFF};
        CANSignalExt::signalsInUse(record, nullptr);
        CANSignalExt::decodeMessage(frame());
        FlexRaySignal const flexRaySignal(flexRay(), false);
        FlexRaySignal::decodeMessage(flexRayFrame(2, 62, 2046));
        FlexRaySignal::getFlexRayId(flexRayFrame(255, 255, 65535));
        InputSignalExt const inputExt(input(), false);
        InputSignalExt::signalsInUse(record, nullptr);
        InputSignalExt::decodeMessage(analogMessage(10, 1234));
        InputSignal analog("AI.3");
        InputSignal::decodeMessage(analogMessage(3, 12345, 1234567));
        unsigned long long value = 0, timestamp = 0;
        analog.read(value, timestamp);
        baseSignalDef_t field = numbered(baseSignalDef_t());
        field.startbit = 4;
        field.bits = 40;
        ShmSignal shared(field, false);
        double phys = 0;
        for (unsigned i = 0; i < 2; ++i)
            shared.write(0x123456789ABCDEF0, 1234567 + i); // changed, then unchanged
        shared.read(phys, timestamp);
        CANSignal store(storeDefinition(), false);
        CANSignal::decodeMessage(15, 2047, 0x123456789ABCDEF0, 1234567);
        store.read(value, timestamp);
        store.read(phys, timestamp);
        store.write(-123456.5, 1234568);
        BaseSignal::debug = 0;
    };
    std::string const expected = outputOf(run);
    for (char const* const part :
         {"not found: channel 201, id 2684289024\n", ",id=0x1abcdef,", "fillFlexRayIdArray:524287 - 1\n",
          "getFlexRayId: index = 391166 - 0\n", "getFlexRayId: index = 34011135 - 0\n", "index out of range\n",
          "index = 8000000000000c9 - not found\n", "AI.3, value=12345, timestamp=1234567\n",
          "id = 2305843009213693952 "})
        EXPECT_NE(expected.find(part), std::string::npos) << part << "\nin " << expected;
    GlobalLocale const global(punctuated());
    EXPECT_EQ(outputOf(run), expected);
}

} // namespace
