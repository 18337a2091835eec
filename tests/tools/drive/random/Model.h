// Random messages and frames, and a decoding of their own: a signal is a list of payload bits.
#pragma once

#include "tools/base/Bus.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace qztool {
namespace model {

enum class Kind { Unsigned, Signed, Float, Double };

struct Signal {
    std::string name;
    std::vector<unsigned> bits; // of the payload, byte * 8 + bit, the most significant one of the value first
    bool bigEndian = false;
    Kind kind = Kind::Unsigned;
    double factor = 1, offset = 0;
    bool isMultiplexor = false;
    int selectedBy = -1; // value of the message's multiplexor; -1: always present
};

struct Message {
    Bus bus = Bus::Can;
    std::string name;
    std::uint32_t address = 0;
    bool extended = false;
    bool fd = false;
    unsigned length = 8;
    unsigned baseCycle = 0, repetition = 1; // FlexRay
    std::vector<Signal> signals;            // the multiplexor first, if there is one
};

struct SentFrame {
    Bus bus = Bus::Can;
    std::uint64_t time = 0; // microseconds
    std::uint32_t address = 0;
    bool extended = false;
    bool fd = false;
    unsigned cycle = 0;
    std::vector<std::uint8_t> payload;
};

struct Value {
    std::uint64_t raw = 0;
    double physical = 0;
};
using Values = std::map<std::string, Value>; // by instance names

inline bool holds(std::vector<std::uint8_t> const& payload, Signal const& signal) {
    for (unsigned const bit : signal.bits)
        if (bit / 8 >= payload.size())
            return false;
    return true;
}

inline Value valueOf(std::vector<std::uint8_t> const& payload, Signal const& signal) {
    std::uint64_t raw = 0;
    for (unsigned const bit : signal.bits)
        raw = raw << 1 | (payload[bit / 8] >> bit % 8 & 1U);
    double number = static_cast<double>(raw);
    if (signal.kind == Kind::Signed && signal.bits.size() == 64)
        number = static_cast<double>(static_cast<std::int64_t>(raw));
    else if (signal.kind == Kind::Signed && (raw >> (signal.bits.size() - 1) & 1) != 0)
        number = -static_cast<double>((std::uint64_t{1} << signal.bits.size()) - raw);
    if (signal.kind == Kind::Float) {
        auto const half = static_cast<std::uint32_t>(raw);
        float single = 0;
        std::memcpy(&single, &half, sizeof single);
        number = static_cast<double>(single);
    }
    if (signal.kind == Kind::Double)
        std::memcpy(&number, &raw, sizeof number);
    return {raw, number * signal.factor + signal.offset};
}

// What a payload says of the signals of a message, under names that begin with `name`.
inline void decode(Message const& message, std::vector<std::uint8_t> const& payload, std::string const& name,
                   Values& values) {
    std::uint64_t selector = 0;
    bool hasSelector = false;
    for (Signal const& signal : message.signals) {
        if (!holds(payload, signal))
            continue;
        Value const value = valueOf(payload, signal);
        if (signal.isMultiplexor) {
            selector = value.raw;
            hasSelector = true;
        }
        if (signal.selectedBy < 0 || (hasSelector && selector == static_cast<std::uint64_t>(signal.selectedBy)))
            values[name + "." + signal.name] = value;
    }
}

class Source {
public:
    explicit Source(std::uint32_t seed) : d_random(seed) {}

    // From 0 on, below `count`.
    unsigned below(unsigned count) { return static_cast<unsigned>(d_random() % count); }
    bool once(unsigned in) { return below(in) == 0; }
    std::vector<std::uint8_t> bytes(unsigned count) {
        std::vector<std::uint8_t> result(count);
        for (std::uint8_t& byte : result)
            byte = static_cast<std::uint8_t>(below(256));
        return result;
    }

    // Somewhere in the message, over eight bytes at most.
    Signal signal(std::string const& name, unsigned length, bool mayBeBigEndian, bool mayBeReal) {
        Signal signal;
        signal.name = name;
        signal.bigEndian = mayBeBigEndian && once(2);
        signal.kind = static_cast<Kind>(below(2));
        unsigned bits = 1 + below(std::min(length * 8, once(4) ? 64U : 20U));
        if (mayBeReal && length >= 4 && once(6)) {
            signal.kind = length >= 8 && once(2) ? Kind::Double : Kind::Float;
            bits = signal.kind == Kind::Double ? 64 : 32;
        }
        unsigned first = 0; // counted as the signal grows: up from bit 0, or down from bit 7, of byte 0
        do {
            first = below(length * 8 - bits + 1);
        } while ((first + bits - 1) / 8 - first / 8 >= 8);
        for (unsigned i = 0; i < bits; ++i) {
            unsigned const place = signal.bigEndian ? first + i : first + bits - 1 - i;
            signal.bits.push_back(signal.bigEndian ? place / 8 * 8 + 7 - place % 8 : place);
        }
        constexpr double factors[] = {1, 0.5, 0.25, 2, 10, -1};
        signal.factor = factors[below(6)];
        signal.offset = static_cast<double>(below(5)) * 20 - 40;
        return signal;
    }

    // One of three is multiplexed.
    void addSignals(Message& message, unsigned count, bool mayBeReal) {
        if (once(3)) {
            Signal& multiplexor = message.signals.emplace_back();
            multiplexor.name = "Mux";
            multiplexor.isMultiplexor = true;
            multiplexor.bits = {1, 0};
        }
        bool const isMultiplexed = !message.signals.empty();
        for (unsigned i = 0; i < count; ++i) {
            Signal next = signal("S" + std::to_string(i), message.length, true, mayBeReal);
            next.selectedBy = isMultiplexed && !once(4) ? static_cast<int>(below(4)) : -1;
            message.signals.push_back(std::move(next));
        }
    }

private:
    std::mt19937 d_random;
};

} // namespace model
} // namespace qztool
