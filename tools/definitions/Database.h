// What a definition file says, whatever its format: channels, messages, their signals, and what is wrong with the file.
#pragma once

#include "tools/base/Bus.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qztool {

// Error: something was left out. Warning: it was read, but look at it.
enum class Severity { Warning, Error };

// What a problem is about, as far as `qzsignal check` has a kind for it.
enum class ProblemKind { Other, Outside, DeadSelector, Duplicate, Cycle };

// Problems whose texts differ only in numbers and in what is in quotes are of one kind, of which many are summed up in
// one line. So quote what comes from the file (`quote` in ProblemText.h), and say the same in the same words.
struct Problem {
    std::size_t line = 0; // counted from 1; 0: the whole file
    Severity severity = Severity::Error;
    std::string text; // one line of UTF-8 that names the element and says what became of it, without a full stop
    ProblemKind kind = ProblemKind::Other;
};

enum class NumberKind { Unsigned, Signed, Float, Double };

// Raw values of a multiplexor, both ends included.
struct SelectorRange {
    std::uint64_t first = 0;
    std::uint64_t last = 0;
};

// A word for one raw value. Values above the range of the type, of unsigned 64-bit signals, are their bit pattern.
struct ValueText {
    std::int64_t value = 0;
    std::string text;
};

// Codings that are no number (BCD, ASCII) are Unsigned with factor 1, and a warning.
struct SignalDefinition {
    std::string name;
    std::size_t line = 0;
    std::string pdu; // the PDU that carries it, if the format has PDUs; name and PDU together are unique in a message
    NumberKind kind = NumberKind::Unsigned;
    // Bit n is bit n % 8 of payload byte n / 8. A little endian signal starts with its least significant bit and grows
    // upward; a big endian one starts with its most significant bit, grows downward and then into the next byte.
    unsigned startBit = 0; // 0..14279, counted from the start of the message, not of the PDU
    unsigned bits = 0;     // 1..64; of floats 32, of doubles 64
    bool bigEndian = false;
    double factor = 1.0; // physical value = raw value * factor + offset
    double offset = 0.0;
    double minimum = 0.0; // physical; both 0: the file says nothing about the range
    double maximum = 0.0;
    std::string unit;
    bool isMultiplexor = false; // its raw value selects other signals
    // Index in the message of the signal that selects this one, which precedes it; nothing: always present.
    std::optional<std::size_t> multiplexor;
    std::vector<SelectorRange> selectedBy; // raw values of the multiplexor with which this signal is present
    std::vector<ValueText> values;
};

// When and where a FlexRay frame is sent: in the cycles baseCycle, baseCycle + repetition, ... 63.
struct FlexRayTiming {
    std::uint8_t baseCycle = 0;  // 0..63
    std::uint8_t repetition = 1; // 1, 2, 4, ... 64
    bool channelA = true;
    bool channelB = false;
    bool staticSegment = true;
};

// A message, a LIN frame or a FlexRay frame.
struct MessageDefinition {
    Bus bus = Bus::Can;
    std::size_t channel = 0;   // index in `Database::channels`
    std::uint32_t address = 0; // CAN: identifier without flag bits; LIN: identifier, 0..63; FlexRay: slot, 1..2047
    bool extended = false;     // CAN: identifier of 29 bits
    // CAN: J1939; of `address` only the parameter group counts, and several frames may carry one message.
    bool byParameterGroup = false;
    FlexRayTiming flexRay;
    // LIN: addresses of event-triggered frames that may carry this one, with its protected identifier in the first
    // byte.
    std::vector<std::uint32_t> eventTriggered;
    std::string name;
    unsigned length = 0;    // payload bytes
    double cycleTime = 0.0; // seconds between frames; 0: not stated
    std::size_t line = 0;
    std::vector<SignalDefinition> signals; // a multiplexor precedes the signals it selects
};

// One bus of a network, such as a LIN cluster; both channels of a FlexRay cluster are one.
struct ChannelDefinition {
    std::string name; // empty if the file gives none
};

// What a signal is called on this machine: "Message.Signal".
inline std::string instanceName(MessageDefinition const& message, SignalDefinition const& signal) {
    return message.name + "." + signal.name;
}

struct Database {
    std::vector<ChannelDefinition> channels = {{}}; // at least one
    std::vector<MessageDefinition> messages;        // in the order of the file; no two of a channel have the same name
    std::vector<Problem> problems;                  // sorted by line
};

} // namespace qztool
