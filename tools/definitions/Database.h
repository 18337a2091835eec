// What a definition file says: its messages, their signals, and what was wrong with it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace qztool {

// Error: something was left out. Warning: it was read, but look at it.
enum class Severity { Warning, Error };

struct Problem {
    std::size_t line = 0; // counted from 1; 0: the whole file
    Severity severity = Severity::Error;
    std::string text;
};

enum class NumberKind { Unsigned, Signed, Float, Double };

// Raw values of a multiplexor, both ends included.
struct SelectorRange {
    std::uint64_t first = 0;
    std::uint64_t last = 0;
};

// A word for one raw value. Values above the range of the type, of unsigned 64-bit signals, stand as their bit pattern.
struct ValueText {
    std::int64_t value = 0;
    std::string text;
};

struct SignalDefinition {
    std::string name;
    std::size_t line = 0;
    NumberKind kind = NumberKind::Unsigned;
    // Bit n is bit n % 8 of payload byte n / 8. A little endian signal starts with its least significant bit and grows
    // upward; a big endian one starts with its most significant bit, grows downward and then into the next byte.
    unsigned startBit = 0; // 0..63
    unsigned bits = 0;     // 1..64, all of them inside the first eight bytes
    bool bigEndian = false;
    double factor = 1.0; // physical value = raw value * factor + offset
    double offset = 0.0;
    double minimum = 0.0; // physical; both 0: the file says nothing about the range
    double maximum = 0.0;
    std::string unit;
    bool isMultiplexor = false; // its raw value selects other signals
    std::string multiplexor;    // the signal of the same message that selects this one; empty: always present
    std::vector<SelectorRange> selectedBy; // raw values of the multiplexor with which this signal is present
    std::vector<ValueText> values;
};

struct MessageDefinition {
    std::uint32_t identifier = 0; // 11 bits, or 29 if extended; without any flag bit
    bool extended = false;
    std::string name;
    unsigned length = 0; // payload bytes; may be more than eight, but signals lie in the first eight
    std::size_t line = 0;
    std::vector<SignalDefinition> signals; // a multiplexor precedes the signals it selects
};

// What a signal is called on this machine: "Message.Signal".
inline std::string instanceName(MessageDefinition const& message, SignalDefinition const& signal) {
    return message.name + "." + signal.name;
}

struct Database {
    std::vector<MessageDefinition> messages; // in the order of the file; no two have the same name
    std::vector<Problem> problems;           // sorted by line
};

} // namespace qztool
