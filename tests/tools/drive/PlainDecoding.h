// Decodes frames bit by bit, in a way of its own, for comparison with what the signals make of them.
#pragma once

#include "tools/definitions/Database.h"
#include "tools/recordings/Frame.h"

#include <cstdint>
#include <cstring>
#include <optional>

namespace qztool {

// Value of a signal, bit by bit as the definition format numbers them; nothing if the frame is too short for it.
inline std::optional<std::uint64_t> bitsOf(SignalDefinition const& signal, Frame const& frame) {
    std::uint64_t value = 0;
    unsigned bit = signal.startBit; // little endian: from the lowest bit up; big endian: from the highest down
    for (unsigned i = 0; i < signal.bits; ++i) {
        if (bit / 8 >= frame.length)
            return std::nullopt;
        std::uint64_t const one = frame.bytes[bit / 8] >> (bit % 8) & 1;
        if (signal.bigEndian) {
            value = value << 1 | one;
            bit = bit % 8 == 0 ? bit + 15 : bit - 1;
        } else {
            value |= one << i;
            ++bit;
        }
    }
    return value;
}

inline std::uint64_t rawOf(SignalDefinition const& signal, std::uint64_t bits) {
    bool const negative = signal.kind == NumberKind::Signed && (bits >> (signal.bits - 1) & 1) != 0;
    return negative && signal.bits < 64 ? bits | ~std::uint64_t{0} << signal.bits : bits;
}

inline double physicalOf(SignalDefinition const& signal, std::uint64_t raw) {
    double number = 0;
    if (signal.kind == NumberKind::Unsigned) {
        number = static_cast<double>(raw);
    } else if (signal.kind == NumberKind::Signed) {
        number = static_cast<double>(static_cast<std::int64_t>(raw));
    } else if (signal.kind == NumberKind::Float) {
        auto const half = static_cast<std::uint32_t>(raw);
        float single = 0;
        std::memcpy(&single, &half, sizeof single);
        number = static_cast<double>(single);
    } else {
        std::memcpy(&number, &raw, sizeof number);
    }
    return number * signal.factor + signal.offset;
}

// Whether the frame carries the signal, all multiplexors above it included.
inline bool carries(Frame const& frame, MessageDefinition const& message, SignalDefinition const& signal) {
    if (!bitsOf(signal, frame))
        return false;
    if (!signal.multiplexor)
        return true;
    SignalDefinition const& above = message.signals.at(*signal.multiplexor);
    if (!carries(frame, message, above))
        return false;
    for (SelectorRange const& range : signal.selectedBy)
        if (range.first <= *bitsOf(above, frame) && *bitsOf(above, frame) <= range.last)
            return true;
    return false;
}

} // namespace qztool
