// From a decoded raw value to its physical value, and back.
#pragma once

#include "qzsignal/signal/SignalDefinition.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace qzsignal {

// The number whose IEEE-754 bits these are, or the other way round.
template <typename Number, typename Bits>
Number fromBits(Bits bits) {
    static_assert(sizeof(Number) == sizeof(Bits), "a number and its bits are of one size");
    Number number;
    std::memcpy(&number, &bits, sizeof number);
    return number;
}

// Sets `phys` to value * scale + offset, the value understood by its type (signed: already sign-extended to 64 bits).
// A type that is none of the four leaves `phys` as it was: the type may come from a foreign process.
inline void convert(std::uint64_t value, signalValue_t type, double scale, double offset, double& phys) {
    // Both kinds of integers at once, as they mix on every bus: all but unsigned ones of 2^63 and above.
    if ((type == signalUnsigned || type == signalSigned) && value >> 63 <= static_cast<std::uint64_t>(type)) {
        phys = static_cast<double>(static_cast<std::int64_t>(value)) * scale + offset;
        return;
    }
    switch (type) {
    case signalUnsigned:
        phys = static_cast<double>(value) * scale + offset;
        break;
    case signalSigned:
        break; // none is left
    case signalFloat:
        phys = static_cast<double>(fromBits<float>(static_cast<std::uint32_t>(value))) * scale + offset;
        break;
    case signalDouble:
        phys = scale * fromBits<double>(value) + offset;
        break;
    }
}

// The whole number below `number`, cut to the range of the integer; of no number, 0.
template <typename Integer>
Integer wholePart(double number) {
    using Limits = std::numeric_limits<Integer>;
    if (std::isnan(number))
        return 0;
    double const whole = std::floor(number);
    if (whole <= static_cast<double>(Limits::min()))
        return Limits::min();
    // One above the largest integer, which is itself too long for a double.
    if (whole >= std::ldexp(1.0, Limits::digits))
        return Limits::max();
    return static_cast<Integer>(whole);
}

// The raw value that `phys` comes from: (phys - offset) / scale, of the two integer types rounded half up. Defined for
// every number: integers stop at the ends of 64 bits, and what is no number becomes 0. A type that is none of the four
// has raw value 0.
inline std::uint64_t unconvert(double phys, signalValue_t type, double scale, double offset) {
    static_assert(std::numeric_limits<float>::is_iec559, "what is too large for a float becomes infinite");
    double quotient = (phys - offset) / scale;
    if (std::isnan(quotient))
        quotient = std::numeric_limits<double>::quiet_NaN(); // processors disagree on the sign of those they make
    switch (type) {
    case signalUnsigned:
        return wholePart<std::uint64_t>(quotient + 0.5);
    case signalSigned:
        return static_cast<std::uint64_t>(wholePart<std::int64_t>(quotient + 0.5));
    case signalFloat:
        return fromBits<std::uint32_t>(static_cast<float>(quotient));
    case signalDouble:
        return fromBits<std::uint64_t>(quotient);
    }
    return 0;
}

} // namespace qzsignal
