// Runs one of the operations that programs perform for every frame and every value, the given number of times. It
// measures nothing: scripts/instructions.py counts the instructions, as the difference of two runs of different length.
#include "qzsignal/can/CANSignal.h"
#include "qzsignal/can/CANSignalExt.h"
#include "qzsignal/expression/ExpParser.h"
#include "qzsignal/flexray/FlexRaySignal.h"
#include "qzsignal/input/InputSignal.h"
#include "qzsignal/trace/CANExtTraceMessage.h"
#include "tests/support/FlexRayFixture.h"
#include "tests/support/InputMessages.h"
#include "tests/support/SharedName.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace {

// Frames that the operations which find one among many go through in turn. COUNT is a multiple of it, so that each has
// the same share in every run.
constexpr unsigned long frames = 1000;

// The nine signals of a frame without a gap: both byte orders, signed and unsigned, flags and numbers of several bytes.
struct Field {
    std::uint16_t d_startbit;
    std::uint8_t d_bits;
    bool d_big;
    signalValue_t d_type;
    double d_scale;
    double d_offset;
};
constexpr Field fields[] = {
    {7, 16, true, signalSigned, 0.1, 0},       // bytes 0 and 1
    {23, 12, true, signalUnsigned, 0.25, -40}, // byte 2 and half of byte 3
    {27, 1, true, signalUnsigned, 1, 0},       // the other half
    {26, 3, true, signalUnsigned, 1, 0},       //
    {32, 16, false, signalUnsigned, 0.01, 0},  // bytes 4 and 5
    {48, 8, false, signalSigned, 0.5, 0},      // byte 6
    {56, 1, false, signalUnsigned, 1, 0},      // byte 7
    {57, 2, false, signalUnsigned, 1, 0},      //
    {59, 5, false, signalUnsigned, 2, -10},    //
};
constexpr std::uint32_t identifier = 0x123;

constexpr unsigned long long now = 1000; // the time of every message

// A frame, and one that differs from it in every bit.
constexpr std::uint64_t payloads[] = {0x0123456789abcdef, ~0x0123456789abcdefU};

canSignalDef_t definitionOf(Field const& field, std::string const& instance) {
    canSignalDef_t definition;
    definition.instance = instance;
    definition.startbit = field.d_startbit;
    definition.bits = field.d_bits;
    definition.endian = field.d_big;
    definition.type = field.d_type;
    definition.scale = field.d_scale;
    definition.offset = field.d_offset;
    definition.channel = 1;
    definition.msgId = identifier;
    return definition;
}

CANExtTraceMessage message(std::uint32_t id, std::uint64_t payload) {
    CANExtTraceMessage message;
    message.timestamp = now;
    message.channel = 1;
    message.identifier = id;
    message.length = sizeof message.payload;
    for (unsigned char& byte : message.payload) {
        byte = static_cast<unsigned char>(payload >> 56);
        payload <<= 8;
    }
    return message;
}

// The frame's signals, with the values of the first payload, and the messages that bring the one and the other.
struct Frame {
    explicit Frame(bool shared) : d_shared(shared) {
        for (Field const& field : fields) {
            d_names.push_back(std::make_unique<SharedName>());
            d_signals.push_back(std::make_unique<CANSignalExt>(definitionOf(field, d_names.back()->name()), shared));
        }
        CANSignalExt::decodeMessage(d_messages[0]);
    }

    // Signals that cannot be shared keep their values in the object, which takes fewer instructions.
    bool isSharedAsTold() const {
        return std::all_of(d_names.begin(), d_names.end(),
                           [this](auto const& name) { return (name->segmentId() != -1) == d_shared; });
    }

    bool const d_shared;
    std::vector<std::unique_ptr<SharedName>> d_names; // removes what is left of the signals after them
    std::vector<std::unique_ptr<BaseSignal>> d_signals;
    CANExtTraceMessage const d_messages[2] = {message(identifier, payloads[0]), message(identifier, payloads[1])};
};

template <typename Signals>
bool allModified(Signals const& signals) {
    return std::all_of(signals.begin(), signals.end(), [](auto const& signal) { return signal->isModified(); });
}

template <typename Signals>
bool noneModified(Signals const& signals) {
    return std::none_of(signals.begin(), signals.end(), [](auto const& signal) { return signal->isModified(); });
}

// The operations: each prepares the same whatever the count, and returns whether it has done what its name says.

template <bool shared>
bool decodeUnchanged(unsigned long count) {
    Frame const frame(shared);
    unsigned long long served = 0;
    for (unsigned long i = 0; i < count; ++i)
        served = CANSignalExt::decodeMessage(frame.d_messages[0]);
    return frame.isSharedAsTold() && served != 0 && noneModified(frame.d_signals);
}

template <bool shared>
bool decodeChanged(unsigned long count) {
    Frame const frame(shared);
    for (unsigned long i = 1; i <= count; ++i)
        CANSignalExt::decodeMessage(frame.d_messages[i % 2]);
    return frame.isSharedAsTold() && allModified(frame.d_signals);
}

template <bool shared>
bool decodeChangedAndRead(unsigned long count) {
    Frame const frame(shared);
    double phys = 0;
    unsigned long long timestamp = 0;
    for (unsigned long i = 1; i <= count; ++i) {
        CANSignalExt::decodeMessage(frame.d_messages[i % 2]);
        for (auto const& signal : frame.d_signals)
            signal->read(phys, timestamp);
    }
    return frame.isSharedAsTold() && timestamp != 0 && allModified(frame.d_signals);
}

// Of the frame's first signal: the physical value if `Value` is double, otherwise the raw one.
template <typename Value, bool shared>
bool read(unsigned long count) {
    Frame const frame(shared);
    BaseSignal& signal = *frame.d_signals.front();
    Value value = 0;
    unsigned long long timestamp = 0;
    bool there = signal.read(value, timestamp); // computes the physical value
    for (unsigned long i = 0; i < count; ++i)
        there = signal.read(value, timestamp);
    return frame.isSharedAsTold() && there;
}

// One signal in each of many frames, whose identifiers are even: the odd ones between them are unknown.
struct ManyFrames {
    ManyFrames() {
        for (std::uint32_t id = 0; id < 2 * frames; id += 2) {
            canSignalDef_t definition = definitionOf(fields[0], std::to_string(id));
            definition.msgId = id;
            d_signals.push_back(std::make_unique<CANSignalExt>(definition, false));
            d_signals.back()->write(payloads[0], now);
        }
    }

    std::vector<std::unique_ptr<CANSignalExt>> d_signals;
};

template <bool known>
bool filter(unsigned long count) {
    ManyFrames const signals;
    std::vector<std::array<unsigned char, 22>> records(frames);
    for (unsigned long i = 0; i < frames; ++i) {
        unsigned long const id = 2 * i + (known ? 0 : 1);
        records[i][14] = 1; // channel
        records[i][20] = static_cast<unsigned char>(id >> 8);
        records[i][21] = static_cast<unsigned char>(id);
    }
    bool found = !known;
    for (unsigned long i = 0; i < count; i += frames)
        for (auto const& record : records)
            found = CANSignalExt::signalsInUse(record.data(), record.data() + record.size());
    return found == known;
}

bool decodeUnknown(unsigned long count) {
    ManyFrames const signals;
    std::vector<CANExtTraceMessage> messages;
    for (std::uint32_t id = 1; id < 2 * frames; id += 2)
        messages.push_back(message(id, payloads[0]));
    unsigned long long served = 1;
    for (unsigned long i = 0; i < count; i += frames)
        for (CANExtTraceMessage const& each : messages)
            served = CANSignalExt::decodeMessage(each);
    return served == 0;
}

bool storeChanged(unsigned long count) {
    std::vector<std::unique_ptr<CANSignal>> signals;
    for (Field const& field : fields) {
        canSignal_t definition;
        definition.bus = 1;
        definition.id = identifier;
        definition.name = std::to_string(signals.size());
        definition.type = static_cast<canValue_t>(field.d_type);
        definition.startbit = field.d_startbit;
        definition.bits = field.d_bits;
        definition.scale = field.d_scale;
        definition.offset = field.d_offset;
        definition.endian = field.d_big;
        signals.push_back(std::make_unique<CANSignal>(definition, false));
    }
    CANSignal::decodeMessage(1, identifier, payloads[0], now);
    for (unsigned long i = 1; i <= count; ++i)
        CANSignal::decodeMessage(1, identifier, payloads[i % 2], now);
    return allModified(signals);
}

bool flexRayChanged(unsigned long count) {
    FlexRaySignal const signal(flexRayDefinition("signal", 1, 5, 0, 1), false);
    FlexRayExtTraceMessage const messages[] = {flexRayFrame(1, 3, 5, {0x01, 0x23, 0x45, 0x67}),
                                               flexRayFrame(1, 3, 5, {0xfe, 0xdc, 0xba, 0x98})};
    FlexRaySignal::decodeMessage(messages[0]);
    for (unsigned long i = 1; i <= count; ++i)
        FlexRaySignal::decodeMessage(messages[i % 2]);
    return signal.isModified();
}

bool inputChanged(unsigned long count) {
    InputSignal const signal("AI.3");
    AnalogTraceMessage const messages[] = {analogMessage(3, 500), analogMessage(3, 501)};
    InputSignal::decodeMessage(messages[0]);
    for (unsigned long i = 1; i <= count; ++i)
        InputSignal::decodeMessage(messages[i % 2]);
    return signal.isModified();
}

bool evaluate(char const* text, unsigned long count) {
    std::vector<std::unique_ptr<CANSignalExt>> signals;
    for (char const* const name : {"a", "b", "c", "x"}) {
        signals.push_back(std::make_unique<CANSignalExt>(definitionOf(fields[0], name), false));
        signals.back()->write(payloads[0], now);
    }
    ExpParser expression(text, false);
    expression.getValue(); // computes the physical values
    for (unsigned long i = 0; i < count; ++i)
        expression.getValue();
    return expression.isWritten();
}

bool evaluateCondition(unsigned long count) {
    return evaluate("a + b * 3 > 5 && c == pressed", count);
}

// Three shared signals that are named four times each.
bool evaluateRepeated(unsigned long count) {
    Frame const frame(true);
    auto const name = [&frame](std::size_t signal) { return frame.d_names[signal]->name(); };
    std::string const a = name(0), b = name(1), c = name(4);
    ExpParser expression(("(" + a + " - " + b + ") * (" + c + " + " + a + ") - (" + b + " - " + c + ") / (" + a +
                          " + " + b + ") > " + c + " * " + a + " - " + b + " * " + c)
                             .c_str(),
                         false);
    expression.getValue(); // computes the physical values
    for (unsigned long i = 0; i < count; ++i)
        expression.getValue();
    return frame.isSharedAsTold() && expression.isWritten();
}

bool evaluateSignal(unsigned long count) {
    return evaluate("x", count);
}

// Each signal that is looked at counts as one operation.
bool checkTimeout(unsigned long count) {
    ManyFrames const signals;
    std::vector<unsigned long long> silent;
    for (unsigned long i = 0; i < count; i += frames)
        BaseSignal::checkTimeout(now, silent);
    return silent.empty() && BaseSignal::instances.size() == frames;
}

struct Operation {
    char const* d_name;
    bool (*d_run)(unsigned long count);
};
constexpr Operation operations[] = {
    {"decode/local/unchanged", decodeUnchanged<false>},
    {"decode/local/changed", decodeChanged<false>},
    {"decode/local/changed-and-read", decodeChangedAndRead<false>},
    {"decode/shared/unchanged", decodeUnchanged<true>},
    {"decode/shared/changed", decodeChanged<true>},
    {"decode/shared/changed-and-read", decodeChangedAndRead<true>},
    {"decode/unknown", decodeUnknown},
    {"decode/can-store/changed", storeChanged},
    {"decode/flexray/changed", flexRayChanged},
    {"decode/input/changed", inputChanged},
    {"filter/known", filter<true>},
    {"filter/unknown", filter<false>},
    {"read/local/physical", read<double, false>},
    {"read/local/raw", read<unsigned long long, false>},
    {"read/shared/physical", read<double, true>},
    {"read/shared/raw", read<unsigned long long, true>},
    {"evaluate/condition", evaluateCondition},
    {"evaluate/repeated", evaluateRepeated},
    {"evaluate/signal", evaluateSignal},
    {"timeout/signal", checkTimeout},
};

constexpr char usage[] = "Usage: hot_operations NAME COUNT\n"
                         "       hot_operations --list\n"
                         "COUNT is a multiple of 1000.\n";

} // namespace

int main(int argc, char** argv) {
    std::string const name = argc > 1 ? argv[1] : "";
    if (name == "--list" && argc == 2) {
        for (Operation const& operation : operations)
            std::cout << operation.d_name << '\n';
        return 0;
    }
    Operation const* const operation = std::find_if(std::begin(operations), std::end(operations),
                                                    [&name](Operation const& each) { return name == each.d_name; });
    unsigned long const count = argc == 3 ? std::strtoul(argv[2], nullptr, 10) : 0;
    if (operation == std::end(operations) || count == 0 || count % frames != 0) {
        std::cerr << usage;
        return 64;
    }
    if (!operation->d_run(count)) {
        std::cerr << "hot_operations: " << name << " has not done what it is called" << std::endl;
        return 1;
    }
    return 0;
}
