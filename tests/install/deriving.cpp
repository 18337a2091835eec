// A program outside the tree that derives from every class made for it and sees that its own functions are called: when
// messages are decoded, when expressions read signals, and by the interface of all signals. It is also built without
// run-time type information and without exceptions, both of which the library has.
#include "qzsignal/can/CANSignal.h"
#include "qzsignal/can/CANSignalExt.h"
#include "qzsignal/expression/ExpParser.h"
#include "qzsignal/flexray/FlexRaySignal.h"
#include "qzsignal/input/InputSignal.h"
#include "qzsignal/input/InputSignalExt.h"
#include "qzsignal/lin/LINSignal.h"
#include "qzsignal/shm/ShmSignal.h"
#include "qzsignal/signal/BaseSignal.h"
#include "qzsignal/trace/AnalogTraceMessage.h"
#include "qzsignal/trace/CANExtTraceMessage.h"
#include "qzsignal/trace/FlexRayExtTraceMessage.h"
#include "qzsignal/trace/GpioTraceMessage.h"
#include "qzsignal/trace/KeyboardMessage.h"
#include "qzsignal/trace/LINTraceMessage.h"

#include <iostream>
#include <string>
#include <unistd.h>

namespace {

int failures = 0;

void expect(bool holds, std::string const& what) {
    if (!holds) {
        ++failures;
        std::cerr << "not so: " << what << "\n";
    }
}

// Calls of the functions that a program may replace.
struct Calls {
    int writes = 0;
    int reads = 0;
    int clears = 0;
    int prints = 0;
};

// A signal of any kind, with functions of its own that go on to those of the class.
template <typename Signal>
class Counted : public Signal {
public:
    using Signal::Signal;
    using Signal::write; // the forms that take a payload

    bool write(unsigned long long raw, unsigned long long time) override {
        ++calls.writes;
        return Signal::write(raw, time);
    }
    bool read(double& phys, unsigned long long& time) override {
        ++calls.reads;
        return Signal::read(phys, time);
    }
    bool read(unsigned long long& raw, unsigned long long& time) override {
        ++calls.reads;
        return Signal::read(raw, time);
    }
    void clear() override {
        ++calls.clears;
        Signal::clear();
    }
    void print(std::ostream& out) const override {
        ++calls.prints;
        Signal::print(out);
    }

    mutable Calls calls;
};

// A kind of signal of the program's own.
class Constant : public BaseSignal {
public:
    explicit Constant(char const* name) : BaseSignal(name, nullptr) {}

    char const* getUnit() const override { return "V"; }
    double getScaleFactor() const override { return 1; }
    double getOffset() const override { return 0; }
    unsigned char getBits() const override { return 8; }
    signalValue_t getType() const override { return signalUnsigned; }
    bool read(double& phys, unsigned long long& timestamp) override {
        phys = 12;
        timestamp = 1;
        return true;
    }
    bool read(unsigned long long& value, unsigned long long& timestamp) override {
        value = 12;
        timestamp = 1;
        return true;
    }
    bool write(unsigned long long, unsigned long long) override { return false; }
    bool isModified() const override { return false; }
    void print(std::ostream& out) const override { out << "constant"; }
    void clear() override {}
};

// An expression with an operation of its own.
class Extended : public ExpParser {
public:
    explicit Extended(char const* formula) : ExpParser(formula, false) {}

    void addTwice() { add(static_cast<Operation>(&Extended::optwice)); }

    int calls = 0;

private:
    void optwice() {
        stack.check(1);
        stack.back() *= 2;
        ++calls;
    }
};

// Names in shared memory are those of this run alone.
std::string nameOf(char const* name, bool shared) {
    return "Deriving" + std::to_string(getpid()) + "." + name + (shared ? "Shared" : "");
}

template <typename Definition>
Definition definitionOf(std::string const& instance) {
    Definition definition;
    definition.instance = instance;
    definition.channel = 1;
    definition.bits = 8;
    definition.scale = 2;
    return definition;
}

void expectValue(BaseSignal& signal, double expected, unsigned long long time, std::string const& what) {
    double phys = 0;
    unsigned long long raw = 0;
    unsigned long long timestamp = 0;
    expect(signal.read(phys, timestamp) && phys == expected && timestamp == time, what + ": physical value and time");
    expect(signal.read(raw, timestamp) && timestamp == time, what + ": raw value and time");
}

// Feeds a signal by `feed`, which takes a byte and a time, and checks that each message came through the program's own
// `write`: the first one, one that changes nothing, and one that does.
template <typename Signal, typename Feed>
void checkFed(Signal& signal, std::string const& what, double scale, Feed feed) {
    feed(static_cast<unsigned char>(40), 100ULL);
    expectValue(signal, 40 * scale, 100, what);
    feed(static_cast<unsigned char>(40), 200ULL);
    feed(static_cast<unsigned char>(41), 300ULL);
    expectValue(signal, 41 * scale, 300, what);
    expect(signal.isModified(), what + ": modified");
    expect(signal.calls.writes == 3, what + ": three messages, and as many calls of write");
    expect(signal.calls.reads >= 4, what + ": calls of read"); // one form may call the other
}

// An expression reads the signal through the program's own `read`, and so does the interface of all signals.
template <typename Signal>
void checkUsed(Signal& signal, std::string const& instance, double value, std::string const& what) {
    ExpParser formula((instance + " + 1").c_str(), false);
    int reads = signal.calls.reads;
    expect(formula.getValue() == value + 1, what + ": value of an expression");
    expect(signal.calls.reads > reads, what + ": an expression calls read");
    Extended extended(instance.c_str());
    extended.addTwice();
    reads = signal.calls.reads;
    expect(extended.getValue() == 2 * value && extended.calls == 1, what + ": an operation of the program's own");
    expect(signal.calls.reads > reads, what + ": an extended expression calls read");

    expect(BaseSignal::getInstance(instance.c_str()) == &signal, what + ": registered");
    std::cout << static_cast<BaseSignal const&>(signal) << "\n";
    expect(signal.calls.prints == 1, what + ": the output operator calls print");
    BaseSignal::clearAll();
    expect(signal.calls.clears == 1, what + ": clearAll calls clear");
}

void checkCan(bool shared) {
    std::string const what = shared ? "shared CAN signal" : "CAN signal";
    auto definition = definitionOf<canSignalDef_t>(nameOf("CAN", shared));
    definition.msgId = 0x123;
    Counted<CANSignalExt> signal(definition, shared);
    checkFed(signal, what, 2, [&what](unsigned char byte, unsigned long long timestamp) {
        CANExtTraceMessage frame;
        frame.timestamp = timestamp;
        frame.channel = 1;
        frame.identifier = 0x123;
        frame.length = 8;
        frame.payload[0] = byte;
        expect(CANSignalExt::decodeMessage(frame) != 0, what + ": decoded");
    });
    checkUsed(signal, definition.instance, 82, what);
}

void checkFlexRay(bool shared) {
    std::string const what = shared ? "shared FlexRay signal" : "FlexRay signal";
    auto definition = definitionOf<flexRaySignalDef_t>(nameOf("FlexRay", shared));
    definition.slot = 20;
    definition.repetition = 1;
    Counted<FlexRaySignal> signal(definition, shared);
    checkFed(signal, what, 2, [&what](unsigned char byte, unsigned long long timestamp) {
        FlexRayExtTraceMessage frame;
        frame.timestamp = timestamp;
        frame.channel = 1;
        frame.slot = 20;
        frame.payload = {byte, 0, 0, 0, 0, 0, 0, 0};
        expect(FlexRaySignal::decodeMessage(frame) != 0, what + ": decoded");
    });
    checkUsed(signal, definition.instance, 82, what);
}

// LIN frames are looked up under a key that no constructor files signals under, so the program does so itself.
void checkLin(bool shared) {
    std::string const what = shared ? "shared LIN signal" : "LIN signal";
    auto definition = definitionOf<linSignalDef_t>(nameOf("LIN", shared));
    definition.msgId = 5;
    Counted<LINSignal> signal(definition, shared);
    constexpr unsigned long long untaggedKey = 0x105;
    LINSignal::linMessageContainer[untaggedKey].push_back(&signal);
    checkFed(signal, what, 2, [&what](unsigned char byte, unsigned long long timestamp) {
        LINTraceMessage frame;
        frame.timestamp = timestamp;
        frame.channel = 1;
        frame.identifier = 5;
        frame.data = {byte, 0};
        expect(LINSignal::decodeMessage(frame) == untaggedKey, what + ": decoded");
    });
    LINSignal::linMessageContainer.erase(untaggedKey);
    checkUsed(signal, definition.instance, 82, what);
}

void checkStoredCan(bool shared) {
    std::string const what = shared ? "shared self-contained CAN signal" : "self-contained CAN signal";
    std::string const name = nameOf("Stored", shared);
    Counted<CANSignal> signal(static_cast<unsigned char>(1), static_cast<unsigned short>(0x77), name.c_str(), "V",
                              canUnsigned, static_cast<unsigned char>(0), static_cast<unsigned char>(8), 2.0, 0.0,
                              false, shared);
    checkFed(signal, what, 2, [](unsigned char byte, unsigned long long timestamp) {
        CANSignal::decodeMessage(1, 0x77, static_cast<unsigned long long>(byte) << 56, timestamp);
    });
    expect(signal.write(16.0, 400), what + ": a physical value");
    expect(signal.calls.writes == 4, what + ": a physical value calls write");
    signal.write(0x2900000000000000ULL, 500ULL);
    checkUsed(signal, name, 82, what);
}

// Written by itself: another object reads the same record by its name alone.
void checkShared() {
    std::string const name = nameOf("Plain", true);
    auto definition = definitionOf<baseSignalDef_t>(name);
    Counted<ShmSignal> writer(definition, true);
    unsigned char const payload[8] = {40};
    expect(writer.write(payload, 100), "shared signal: written");
    expect(writer.write(payload, 1, 200), "shared signal: written with a length");
    expect(writer.calls.writes == 2, "shared signal: the payload forms call write");
    {
        Counted<ShmSignal> reader(name.c_str());
        expectValue(reader, 80, 200, "reader");
        expect(reader.calls.reads == 2, "reader: calls of read");
    }
}

template <typename Signal>
unsigned long long feedInput(unsigned short levels, unsigned long long timestamp) {
    GpioTraceMessage message;
    message.timestamp = timestamp;
    message.entries.resize(1);
    message.entries[0].input = 3;
    message.entries[0].mask = 1;
    message.entries[0].levels = levels;
    return Signal::decodeMessage(message);
}

// Inputs have fixed names, which tests beside this one may share: these are for the process alone.
void checkInputs() {
    {
        Counted<InputSignal> signal("DI.3");
        expect(feedInput<InputSignal>(1, 100) != 0, "input: decoded");
        expect(feedInput<InputSignal>(0, 200) != 0, "input: decoded again");
        expectValue(signal, 0, 200, "input");
        expect(signal.calls.writes == 2, "input: calls of write");
        checkUsed(signal, "DI.3", 0, "input");
    }
    auto definition = definitionOf<inputSignalDef_t>("DI.3");
    definition.startbit = 56; // an input is the last byte of a payload
    Counted<InputSignalExt> signal(definition, false);
    expect(feedInput<InputSignalExt>(0, 100) != 0, "input of either kind: decoded");
    expect(feedInput<InputSignalExt>(1, 200) != 0, "input of either kind: decoded again");
    expectValue(signal, 2, 200, "input of either kind");
    expect(signal.calls.writes == 2, "input of either kind: calls of write");
    checkUsed(signal, "DI.3", 2, "input of either kind");

    Counted<InputSignal> key("RC.F1");
    KeyboardMessage pressed;
    pressed.timestamp = 100;
    expect(InputSignal::decodeMessage(pressed) == 0, "a key without a signal");
    Counted<InputSignal> analog("AI.3");
    AnalogTraceMessage reading;
    reading.timestamp = 300;
    reading.entries.resize(1);
    reading.entries[0].channel = 3;
    reading.entries[0].reading = 7;
    expect(InputSignal::decodeMessage(reading) != 0 && analog.calls.writes == 1, "analog input: calls write");
    expectValue(analog, 7, 300, "analog input");
}

void checkOwnKind() {
    Constant supply("Deriving.Supply");
    ExpParser low("Deriving.Supply < 13", false);
    expect(low.getTrigger(), "a signal of the program's own kind");
}

} // namespace

int main() {
    for (bool const shared : {false, true}) {
        checkCan(shared);
        checkFlexRay(shared);
        checkLin(shared);
        checkStoredCan(shared);
    }
    checkShared();
    checkInputs();
    checkOwnKind();
    for (char const* const name : {"CAN", "FlexRay", "LIN", "Stored", "Plain"})
        unlink(("/tmp/" + nameOf(name, true)).c_str());
    std::cout << (failures == 0 ? "all as derived\n" : "failed\n");
    return failures == 0 ? 0 : 1;
}
