// Fuzz target: any bytes as serialized records, and as the fields of trace messages.
//
// The first byte selects the kind: a capital letter for a record, which is the rest of the input and goes to a
// pre-filter, a small one for a message. The library's results are compared with a plain reading of the same bytes.
#include "qzsignal/can/CANSignal.h"
#include "qzsignal/can/CANSignalExt.h"
#include "qzsignal/input/InputSignal.h"
#include "qzsignal/input/InputSignalExt.h"
#include "qzsignal/trace/CANExtTraceMessage.h"
#include "tests/fuzz/Expect.h"
#include "tests/fuzz/Input.h"
#include "tests/fuzz/records/GuardedRecord.h"
#include "tests/support/CANSignalProbe.h"
#include "tests/support/Capture.h"
#include "tests/support/FlexRayFixture.h"
#include "tests/support/InputMessages.h"
#include "tests/support/LINFixture.h"
#include "tests/support/Naive.h"
#include "tests/support/ReferenceLayout.h"

#include <algorithm>
#include <deque>
#include <map>
#include <type_traits>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

namespace {

using Number = unsigned long long;
using Payload = std::vector<unsigned char>;

// What a signal holds.
struct Held {
    bool d_there = false;
    Number d_value = 0;
    Number d_time = 0;
};

void expectHeld(BaseSignal& signal, Held const& expected, char const* what) {
    Number value = 0, time = 0;
    bool const there = signal.read(value, time);
    expect(there == expected.d_there, what, "there", std::to_string(there));
    if (there) {
        expectEqual(std::to_string(value), std::to_string(expected.d_value), what, "value");
        expectEqual(std::to_string(time), std::to_string(expected.d_time), what, "time");
    }
}

void expectNumber(Number found, Number expected, char const* what) {
    expectEqual(std::to_string(found), std::to_string(expected), what);
}

// A place in a payload.
struct Place {
    unsigned d_start;
    unsigned d_bits;
    bool d_bigEndian;
    bool d_signed;
};

void put(baseSignalDef_t& definition, Place const& place) {
    definition.startbit = static_cast<std::uint16_t>(place.d_start);
    definition.bits = static_cast<std::uint8_t>(place.d_bits);
    definition.endian = place.d_bigEndian;
    definition.type = place.d_signed ? signalSigned : signalUnsigned;
    definition.scale = 1;
}

// Signals of one kind, with their definitions.
template <typename Signal, typename Definition>
struct Defined {
    explicit Defined(Definition const& definition) : d_definition(definition), d_signal(definition, false) {}

    Definition d_definition;
    Signal d_signal;
};

template <typename Signal, typename Definition>
using All = std::deque<Defined<Signal, Definition>>;

All<CANSignalExt, canSignalDef_t>& canSignals() {
    static All<CANSignalExt, canSignalDef_t> signals;
    auto const add = [](std::uint8_t channel, std::uint32_t identifier, bool extended, Place const& place) {
        canSignalDef_t definition;
        definition.instance = "can " + std::to_string(signals.size());
        definition.channel = channel;
        definition.msgId = identifier;
        definition.extended = extended;
        put(definition, place);
        signals.emplace_back(definition);
    };
    if (signals.empty()) {
        add(1, 0xA0, false, {0, 16, false, false});
        add(1, 0xA0, false, {7, 12, true, true});
        add(2, 0x18FEF100, true, {7, 64, true, false});
        add(255, 0x1FFFFFFF, true, {60, 8, false, true}); // extends past the payload
        add(0, 0, false, {39, 33, true, false});
    }
    return signals;
}

// The pre-filter finds those of `LINSignal`, and messages feed those of `FedLINSignal`.
template <typename Signal>
All<Signal, linSignalDef_t>& linSignals() {
    static All<Signal, linSignalDef_t> signals;
    if (signals.empty())
        for (auto const& [channel, identifier] : {std::pair(2, 0x21), std::pair(0, 0), std::pair(255, 0x3F)}) {
            std::string const kind = std::is_same_v<Signal, FedLINSignal> ? "fed lin " : "lin ";
            linSignalDef_t definition =
                linDefinition(kind + std::to_string(signals.size()), static_cast<std::uint32_t>(identifier),
                              static_cast<std::uint8_t>(channel));
            put(definition, {4, 40, false, true});
            signals.emplace_back(definition);
        }
    return signals;
}

// Each has a frame of its own, numbered from 1.
All<FlexRaySignal, flexRaySignalDef_t>& flexRaySignals() {
    static All<FlexRaySignal, flexRaySignalDef_t> signals;
    auto const add = [](std::uint8_t channel, std::uint16_t slot, std::uint8_t cycle, std::uint8_t repetition,
                        Place const& place) {
        flexRaySignalDef_t definition =
            flexRayDefinition("flexray " + std::to_string(signals.size()), channel, slot, cycle, repetition);
        put(definition, place);
        signals.emplace_back(definition);
    };
    if (signals.empty()) {
        add(0, 5, 1, 2, {0, 16, false, false});
        add(1, 100, 3, 64, {7, 20, true, true});
        add(0, 2047, 0, 1, {253 * 8 + 6, 32, false, false});
        add(3, 2040, 60, 1, {3, 60, true, false});  // in eight bytes, though nine are extracted
        add(3, 65535, 32, 1, {0, 8, false, false}); // past the end of the table
    }
    return signals;
}

// The frame of each cell of the table.
std::map<unsigned, unsigned> const& flexRayCells() {
    static std::map<unsigned, unsigned> cells;
    if (cells.empty()) {
        unsigned frame = 0;
        for (auto const& each : flexRaySignals()) {
            flexRaySignalDef_t const& definition = each.d_definition;
            ++frame;
            for (unsigned cycle = definition.baseCycle; cycle < 64; cycle += definition.repetition)
                if (unsigned const cell = definition.channel * 131072U + cycle * 2048 + definition.slot; cell < 524288)
                    cells[cell] = frame;
        }
    }
    return cells;
}

unsigned frameOfCell(unsigned channel, unsigned cycle, unsigned slot) {
    auto const found = flexRayCells().find(channel * 131072 + cycle * 2048 + slot);
    return found != flexRayCells().end() ? found->second : 0;
}

char const* const inputs[] = {"DI.0", "DI.4", "AI.0", "AI.9", "RC.F1", "RC.F7", "RC.F10", "RC.TRG"};

bool isInput(std::string const& name) {
    return std::find(std::begin(inputs), std::end(inputs), name) != std::end(inputs);
}

std::deque<InputSignal>& inputSignals() {
    static std::deque<InputSignal> signals;
    if (signals.empty()) {
        Capture const warnings(std::cerr); // the other kind has the same names
        for (char const* const name : inputs)
            signals.emplace_back(name);
    }
    return signals;
}

std::deque<InputSignalExt>& inputSignalExts() {
    static std::deque<InputSignalExt> signals;
    if (signals.empty()) {
        Capture const warnings(std::cerr);
        for (char const* const name : inputs) {
            inputSignalDef_t definition;
            definition.instance = name;
            put(definition, {7, 64, true, false});
            signals.emplace_back(definition, false);
        }
    }
    return signals;
}

// The number of 16 bits at an offset of a record.
unsigned pair(Payload const& record, std::size_t offset) {
    return record[offset] * 256U + record[offset + 1];
}

using Filter = bool (*)(unsigned char const* begin, unsigned char const* end);

// The record, followed by zeros if it is shorter than what its pre-filter reads.
Payload filled(Payload record, std::size_t least) {
    record.resize(std::max(record.size(), least));
    return record;
}

// Asks a pre-filter about the record, whose last byte is the last one that can be read. The second pointer is where
// `length` puts it, from the beginning of the record.
void ask(Filter filter, Payload const& record, std::size_t length, bool expected) {
    static GuardedRecord guarded;
    unsigned char const* const begin = guarded.fill(record);
    expectNumber(filter(begin, begin + length), expected, "pre-filter");
}

// The same of a pre-filter that does not use its second pointer.
void askWithAnyEnd(Filter filter, Payload const& record, bool expected) {
    for (std::size_t const length : {std::size_t{0}, std::size_t{1}, record.size()})
        ask(filter, record, length, expected);
    expectNumber(filter(record.data(), nullptr), expected, "pre-filter without an end");
}

void filterCAN(Payload const& bytes) {
    Payload const record = filled(bytes, 22);
    bool expected = false;
    for (auto const& each : canSignals())
        expected =
            expected || (each.d_definition.channel == record[14] &&
                         record[18] == each.d_definition.msgId / 0x1000000 + (each.d_definition.extended ? 128 : 0) &&
                         record[19] == each.d_definition.msgId / 0x10000 % 256 &&
                         pair(record, 20) == each.d_definition.msgId % 0x10000);
    askWithAnyEnd(CANSignalExt::signalsInUse, record, expected);
}

void filterLIN(Payload const& bytes) {
    Payload const record = filled(bytes, 28);
    bool expected = false;
    for (auto const& each : linSignals<LINSignal>())
        expected = expected ||
                   each.d_definition.channel * 256U + each.d_definition.msgId == record[14] * 256U + pair(record, 26);
    askWithAnyEnd(LINSignal::signalsInUse, record, expected);
}

// The second pointer is the end of the input, which may come before fields that are read.
void filterFlexRay(Payload const& bytes) {
    flexRaySignals(); // defined from here on
    if (bytes.size() < 20)
        return ask(FlexRaySignal::signalsInUse, bytes, bytes.size(), false);
    Payload const record = filled(bytes, 25);
    ask(FlexRaySignal::signalsInUse, record, bytes.size(), frameOfCell(record[15], record[24], pair(record, 19)) != 0);
}

// The input that a record reports; empty if it reports none.
std::string reported(Payload const& record) {
    unsigned const type = MessageBase::version == 1 ? pair(record, 2) : record[0];
    if (type == 0x8031)
        return "RC.F7";
    if ((type != 0x12 && type != 0x13) || record[16] != 1)
        return "";
    return (type == 0x12 ? "AI." : "DI.") + std::to_string(record[14]);
}

// The first byte selects the version.
void filterInputs(Payload bytes) {
    if (bytes.empty())
        return;
    unsigned char const version = MessageBase::version;
    MessageBase::version = bytes.front();
    bytes.erase(bytes.begin());
    inputSignals(); // defined from here on
    inputSignalExts();
    Payload const shared = filled(bytes, 17), local = filled(bytes, 18);
    std::string const name = reported(local);
    askWithAnyEnd(InputSignalExt::signalsInUse, shared, isInput(name));
    askWithAnyEnd(InputSignal::signalsInUse, local, isInput(name) && (name[0] != 'D' || local[17] == 1));
    MessageBase::version = version;
}

// What a payload holds for a signal, the missing bytes being zeros.
Held heldOf(Payload payload, std::size_t length, baseSignalDef_t const& field, Number time) {
    payload.resize(std::min(length, std::size_t{8}));
    payload.resize(8);
    return {true, naiveField(payload, field), time};
}

void sendCAN(Input& input) {
    CANExtTraceMessage message;
    message.channel = input.take<std::uint8_t>();
    message.extended = input.take<std::uint32_t>();
    message.identifier = input.take<std::uint32_t>();
    message.length = input.take<std::uint8_t>();
    message.timestamp = input.take<std::uint64_t>();
    for (unsigned char& byte : message.payload)
        byte = input.take<std::uint8_t>();
    auto const keyOf = [](unsigned channel, Number identifier, bool extended) {
        return 0x8000000000000000 + channel * 0x100000000 + identifier + (extended ? 0x80000000 : 0);
    };
    Number const key = keyOf(message.channel, message.identifier, message.extended != 0);
    bool served = false;
    for (auto& each : canSignals()) {
        canSignalDef_t const& definition = each.d_definition;
        served = served || keyOf(definition.channel, definition.msgId, definition.extended) == key;
        each.d_signal.clear();
    }
    expectNumber(CANSignalExt::decodeMessage(message), served ? key : 0, "CAN key");
    Payload const payload(message.payload, message.payload + 8);
    for (auto& each : canSignals()) {
        canSignalDef_t const& definition = each.d_definition;
        bool const fed = keyOf(definition.channel, definition.msgId, definition.extended) == key;
        expectHeld(each.d_signal, fed ? heldOf(payload, message.length, definition, message.timestamp) : Held(), "CAN");
    }
}

void sendLIN(Input& input) {
    LINTraceMessage message;
    message.channel = input.take<std::uint8_t>();
    message.identifier = input.take<std::uint8_t>();
    message.timestamp = input.take<std::uint64_t>();
    message.data = input.rest();
    Number const key = message.channel * 256U + message.identifier % 64U;
    bool served = false;
    auto const isFed = [key](linSignalDef_t const& definition) {
        return definition.channel * 256U + definition.msgId == key;
    };
    for (auto& each : linSignals<FedLINSignal>()) {
        served = served || isFed(each.d_definition);
        each.d_signal.clear();
    }
    expectNumber(LINSignal::decodeMessage(message), served ? key : 0, "LIN key");
    for (auto& each : linSignals<FedLINSignal>())
        expectHeld(each.d_signal,
                   isFed(each.d_definition)
                       ? heldOf(message.data, message.data.size() % 256, each.d_definition, message.timestamp)
                       : Held(),
                   "LIN");
}

// The bytes that are cut out of a payload for a signal.
Payload cutOut(Payload const& payload, flexRaySignalDef_t const& definition) {
    unsigned const inFirst = definition.startbit % 8;
    unsigned count = (inFirst + definition.bits + 7) / 8;
    if (definition.endian)
        count = definition.bits <= inFirst ? 1 : 1 + (definition.bits - inFirst + 7) / 8;
    Payload cut;
    for (std::size_t i = definition.startbit / 8; i < payload.size() && cut.size() < count; ++i)
        cut.push_back(payload[i]);
    return cut;
}

void sendFlexRay(Input& input) {
    FlexRayExtTraceMessage message;
    message.channel = input.take<std::uint8_t>();
    message.cycle = input.take<std::uint8_t>();
    message.slot = input.take<std::uint16_t>();
    message.timestamp = input.take<std::uint64_t>();
    message.payload = input.rest();
    for (auto& each : flexRaySignals())
        each.d_signal.clear();
    unsigned const frame = frameOfCell(message.channel, message.cycle, message.slot);
    bool const outside = message.channel * 131072U + message.cycle * 2048U + message.slot >= 524288;
    {
        Capture const errors(std::cerr);
        expectNumber(FlexRaySignal::decodeMessage(message), 0x2000000000000000 + frame, "FlexRay key");
        expectEqual(errors.text(), outside ? "index out of range\n" : "", "FlexRay report");
    }
    unsigned number = 0;
    for (auto& each : flexRaySignals()) {
        flexRaySignalDef_t field = each.d_definition;
        bool const fed = ++number == frame && message.payload.size() >= 2;
        Payload const cut = cutOut(message.payload, field);
        field.startbit %= 8;
        expectHeld(each.d_signal, fed ? heldOf(cut, cut.size(), field, message.timestamp) : Held(), "FlexRay");
    }
}

// An event of an input, which may not be one of the device's.
struct Event {
    std::string d_input;
    Number d_value;
    bool d_forProcess = true; // signals of the process follow it, too
};

template <typename Message>
void sendInput(Message const& message, Event const& event) {
    for (InputSignal& signal : inputSignals())
        signal.clear();
    for (InputSignalExt& signal : inputSignalExts())
        signal.clear();
    bool const known = isInput(event.d_input);
    expect((InputSignal::decodeMessage(message) != 0) == (known && event.d_forProcess), "input key", event.d_input);
    expect((InputSignalExt::decodeMessage(message) != 0) == known, "shared input key", event.d_input);
    // In the process, 0 is no change of a signal that was cleared.
    for (std::size_t i = 0; i < std::size(inputs); ++i) {
        bool const fed = inputs[i] == event.d_input;
        Held const held = {true, event.d_value, message.timestamp};
        expectHeld(inputSignals()[i], fed && event.d_forProcess && event.d_value != 0 ? held : Held(), "input");
        expectHeld(inputSignalExts()[i], fed ? held : Held(), "shared input");
    }
}

Number wide(std::int32_t number) {
    return static_cast<Number>(static_cast<long long>(number));
}

void sendKey(Input& input) {
    KeyboardMessage message;
    message.timestamp = input.take<std::uint64_t>();
    message.keyCode = input.take<std::int32_t>();
    message.keyState = input.take<std::int32_t>();
    std::string const key = message.keyCode == 16                           ? "RC.TRG"
                            : message.keyCode >= 1 && message.keyCode <= 10 ? "RC.F" + std::to_string(message.keyCode)
                                                                            : "";
    sendInput(message, {key, wide(message.keyState)});
}

void sendAnalog(Input& input) {
    AnalogTraceMessage message;
    message.timestamp = input.take<std::uint64_t>();
    while (input.left() != 0) {
        auto const channel = input.take<std::uint16_t>();
        message.entries.push_back(analogEntry(channel, input.take<std::int32_t>()));
    }
    AnalogEntry const first = message.entries.empty() ? AnalogEntry() : message.entries.front();
    sendInput(message, {"AI." + std::to_string(first.channel), wide(first.reading)});
}

void sendDigital(Input& input) {
    GpioTraceMessage message;
    message.timestamp = input.take<std::uint64_t>();
    while (input.left() != 0) {
        auto const number = input.take<std::uint16_t>();
        auto const mask = input.take<std::uint16_t>();
        message.entries.push_back(gpioEntry(number, mask, input.take<std::uint16_t>()));
    }
    GpioEntry const first = message.entries.empty() ? GpioEntry() : message.entries.front();
    sendInput(message, {"DI." + std::to_string(first.input), Number{first.levels} & first.mask, first.mask == 1});
}

// The first bytes are the place of the signal, in frame 0x7FF of bus 15.
void sendStore(Input& input) {
    canSignal_t definition = canDefinition("store", input.take<std::uint8_t>());
    definition.bus = 15;
    definition.id = 0x7FF;
    definition.startbit = input.take<std::uint8_t>();
    definition.endian = input.take<std::uint8_t>() != 0;
    auto const bus = input.take<std::uint8_t>();
    auto const identifier = input.take<std::uint16_t>();
    auto const payload = input.take<std::uint64_t>();
    auto const time = input.take<std::uint64_t>();
    ReferenceLayout const layout(definition.startbit, definition.bits, definition.endian);
    CANSignal signal(definition, false);
    CANSignal::decodeMessage(bus, identifier, payload, time);
    Number const masked = payload & layout.d_mask;
    // A payload that looks like a record without a value changes nothing.
    bool const fed = bus % 16 == 15 && identifier % 2048 == 0x7FF && masked != 0xAAAAAAAA;
    expectHeld(signal, {fed, layout.decoded(masked, definition.endian, false), time}, "stored signal");
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    Input input(data, size);
    switch (input.take<char>()) {
    case 'C':
        filterCAN(input.rest());
        break;
    case 'L':
        filterLIN(input.rest());
        break;
    case 'F':
        filterFlexRay(input.rest());
        break;
    case 'I':
        filterInputs(input.rest());
        break;
    case 'c':
        sendCAN(input);
        break;
    case 'l':
        sendLIN(input);
        break;
    case 'f':
        sendFlexRay(input);
        break;
    case 'k':
        sendKey(input);
        break;
    case 'a':
        sendAnalog(input);
        break;
    case 'd':
        sendDigital(input);
        break;
    case 's':
        sendStore(input);
        break;
    }
    return 0;
}
