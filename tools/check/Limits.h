// Raw values that a signal's bits can hold, and physical ones that its definition allows.
#pragma once

#include "tools/definitions/Database.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace qztool {

inline bool isFloating(SignalDefinition const& signal) {
    return signal.kind == NumberKind::Float || signal.kind == NumberKind::Double;
}

// The largest bit pattern of so many bits, 1..64.
inline std::uint64_t highestPattern(unsigned bits) {
    return bits >= 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << bits) - 1;
}

// A bit pattern as the signal's value table has it: negative ones of signed signals are sign-extended.
inline std::int64_t tableValue(SignalDefinition const& signal, std::uint64_t pattern) {
    bool const isNegative = signal.kind == NumberKind::Signed && (pattern >> (signal.bits - 1) & 1) != 0;
    return static_cast<std::int64_t>(isNegative ? pattern | ~highestPattern(signal.bits) : pattern);
}

// The highest values of each signal of J1939 stand for an error or for "not available".
inline bool isNoValue(MessageDefinition const& message, SignalDefinition const& signal, std::uint64_t raw) {
    constexpr std::uint64_t highestValid = 0xFA; // of a byte, and of the highest byte of longer ones
    if (!message.byParameterGroup || signal.bits < 2)
        return false;
    return signal.bits >= 8 ? raw >> (signal.bits - 8) > highestValid : raw >= highestPattern(signal.bits) - 1;
}

// Both limits 0 state nothing, as definition files have it.
inline bool statesRange(SignalDefinition const& signal) {
    return signal.minimum != 0.0 || signal.maximum != 0.0;
}

// How far a value may be past a stated limit. Tools write limits with six digits, and round them to the next step of
// the signal.
inline double slackOf(SignalDefinition const& signal) {
    constexpr double sixDigits = 5e-6;
    double const rounding = sixDigits * std::max(std::fabs(signal.minimum), std::fabs(signal.maximum));
    return isFloating(signal) ? rounding : std::max(rounding, 0.5 * std::fabs(signal.factor));
}

} // namespace qztool
