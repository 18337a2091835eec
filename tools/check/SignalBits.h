// The bits of a payload that a signal takes.
#pragma once

#include "tools/drive/SignalPlace.h"

#include <array>
#include <cstdint>

namespace qztool {

struct SignalBits {
    unsigned firstByte = 0;
    unsigned bytes = 0;                  // 1..9
    std::array<std::uint8_t, 9> masks{}; // of each byte
};

inline SignalBits bitsOf(SignalDefinition const& signal) {
    SignalBits result;
    result.firstByte = firstByteOf(signal);
    result.bytes = lastByteOf(signal) - result.firstByte + 1;
    unsigned bit = signal.startBit;
    for (unsigned i = 0; i < signal.bits; ++i) {
        result.masks[bit / 8 - result.firstByte] |= static_cast<std::uint8_t>(1U << bit % 8);
        // A big endian signal goes on with the highest bit of the next byte.
        bit = !signal.bigEndian ? bit + 1 : bit % 8 != 0 ? bit - 1 : bit + 15;
    }
    return result;
}

} // namespace qztool
