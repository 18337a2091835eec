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

// A number as an unsigned 64-bit integer: without its fraction, up to the largest one; of no number, 0. Negative
// numbers are rounded down and give two's complement, down to -2^63.
inline std::uint64_t truncated(double number) {
    constexpr double tooLarge = 18446744073709551616.0; // 2^64
    constexpr double smallest = -9223372036854775808.0; // -2^63
    if (number >= 0)
        return number < tooLarge ? static_cast<std::uint64_t>(number) : ~std::uint64_t{0};
    if (std::isnan(number))
        return 0;
    return static_cast<std::uint64_t>(static_cast<std::int64_t>(number > smallest ? std::floor(number) : smallest));
}

// The raw value that `phys` comes from: (phys - offset) / scale, of the two integer types rounded half up. Defined for
// every number: both integer types reach up to 2^64 - 1; of the signed type, negative results are two's complement, of
// the unsigned type they are 0; of no number, an integer is 0 and a floating-point type keeps the quotient's pattern. A
// type that is none of the four has raw value 0.
inline std::uint64_t unconvert(double phys, signalValue_t type, double scale, double offset) {
    static_assert(std::numeric_limits<float>::is_iec559, "what is too large for a float becomes infinite");
    double const quotient = (phys - offset) / scale;
    switch (type) {
    case signalUnsigned:
        return quotient + 0.5 < 0 ? 0 : truncated(quotient + 0.5);
    case signalSigned:
        return truncated(quotient + 0.5);
    case signalFloat:
        return fromBits<std::uint32_t>(static_cast<float>(quotient));
    case signalDouble:
        return fromBits<std::uint64_t>(quotient);
    }
    return 0;
}

} // namespace qzsignal
