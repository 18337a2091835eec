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

// The library's signals are taken from eight bytes in a row, wherever these are in the payload.
constexpr unsigned windowBytes = 8;

inline bool fitsWindow(SignalDefinition const& signal) {
    return lastByteOf(signal) - firstByteOf(signal) < windowBytes;
}

// First byte of the window for a signal that fits one: the start of the payload if possible, otherwise so that the
// signal's last byte is the window's, which never reaches past the end of a frame that carries the signal.
inline unsigned windowOf(SignalDefinition const& signal) {
    unsigned const last = lastByteOf(signal);
    return last < windowBytes ? 0 : last - (windowBytes - 1);
}

} // namespace qztool
