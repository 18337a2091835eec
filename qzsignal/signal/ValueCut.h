/// @file
/// Byte orders, and the short way to the value of a signal that is wholly inside its payload.
///
/// Internal: a member of `ShmSignal` and of `CANSignal`.
#pragma once

#include <cstdint>

namespace qzsignal {

/// The order of the payload bytes that a signal extends over.
enum class ByteOrder : bool {
    Little = false, ///< Intel: upward, from the lowest bit of the value
    Big = true,     ///< Motorola: from its highest bit downward, then into the next byte
};

/// The same as signal definitions have it: true is big endian.
inline ByteOrder byteOrder(bool bigEndian) {
    return bigEndian ? ByteOrder::Big : ByteOrder::Little;
}

/// Cuts the value of a signal that has bits, all of them in the payload, in the same few steps for all such signals:
/// kinds of signals mix on a bus, and which comes next is unpredictable.
struct ValueCut {
    std::uint8_t d_above = 0;              ///< bits of a word that are above the value
    std::uint8_t d_unused = 0;             ///< bits of a word that the value does not need
    ByteOrder d_order = ByteOrder::Little; ///< what they were computed for
    bool d_inside = false;                 ///< it is such a signal

    /// True if it is such a signal in this order.
    bool isInside(ByteOrder order) const { return d_inside && d_order == order; }

    /// The value, sign-extended if it `isSigned`.
    std::uint64_t value(std::uint64_t rawWord, bool isSigned) const {
        // In little-endian order, the word that has byte 0 as its least significant one.
        std::uint64_t const word = d_order == ByteOrder::Big ? rawWord : __builtin_bswap64(rawWord);
        std::uint64_t const top = word << d_above;
        return isSigned ? static_cast<std::uint64_t>(static_cast<std::int64_t>(top) >> d_unused) : top >> d_unused;
    }
};

} // namespace qzsignal
