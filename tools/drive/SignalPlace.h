// The bytes of a message that hold a signal.
#pragma once

#include "tools/definitions/Database.h"

namespace qztool {

// In order of bytes, a big endian signal's bits run from the highest of a byte down, as the signal does.
inline unsigned firstByteOf(SignalDefinition const& signal) {
    return signal.startBit / 8;
}

inline unsigned lastByteOf(SignalDefinition const& signal) {
    unsigned const before = signal.bigEndian ? 7 - signal.startBit % 8 : signal.startBit % 8; // bits of the first byte
    return firstByteOf(signal) + (before + signal.bits - 1) / 8;
}

} // namespace qztool
