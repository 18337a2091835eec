// From a decoded raw value to its physical value.
#pragma once

#include "qzsignal/signal/SignalDefinition.h"

#include <cstdint>
#include <cstring>

namespace qzsignal {

// The number whose IEEE-754 bits these are.
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
    switch (type) {
    case signalUnsigned:
        phys = static_cast<double>(value) * scale + offset;
        break;
    case signalSigned:
        phys = static_cast<double>(static_cast<std::int64_t>(value)) * scale + offset;
        break;
    case signalFloat:
        phys = static_cast<double>(fromBits<float>(static_cast<std::uint32_t>(value))) * scale + offset;
        break;
    case signalDouble:
        phys = scale * fromBits<double>(value) + offset;
        break;
    }
}

} // namespace qzsignal
