/// @file
/// Where a signal's bits lie in an 8-byte payload, and how to take them out.
///
/// Internal: a base of `ShmSignal` and of `CANSignal`.
#pragma once

#include "qzsignal/Export.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qzsignal {

/// How a signal lies over several bytes of a payload.
enum class ByteOrder : bool {
    Little = false, ///< Intel: upward, from the lowest bit of the value
    Big = true,     ///< Motorola: from its highest bit downward, then into the next byte
};

/// The same as signal definitions have it: true is big endian.
inline ByteOrder byteOrder(bool bigEndian) {
    return bigEndian ? ByteOrder::Big : ByteOrder::Little;
}

/// The raw word of a payload: byte 0 in the most significant byte, whatever the host's byte order. Of a payload of more
/// than eight bytes the first eight count; a shorter one is padded with zero bytes.
inline std::uint64_t rawWord(unsigned char const* payload, std::size_t length) {
    std::uint64_t word = 0;
    if (length >= sizeof word) {
        std::memcpy(&word, payload, sizeof word);
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
        word = __builtin_bswap64(word);
#endif
        return word;
    }
    for (std::size_t byte = 0; byte < length; ++byte)
        word |= std::uint64_t{payload[byte]} << (56 - 8 * byte);
    return word;
}

/// Where a signal's bits lie in an 8-byte payload.
///
/// Bit n is bit n % 8 of payload byte n / 8; bit 0 is the least significant. A little-endian signal is placed by its
/// lowest bit and grows upward; a big-endian one by its highest bit and grows downward, then into the next byte:
///
///     start 7, 12 bits, big endian;         payload byte   0         1
///     b..0 are bits 11..0 of the value                     ba987654  3210----
///
/// Bits beyond the payload are left out of the mask and read as zero. In brackets: the values of this example.
struct QZSIGNAL_EXPORT BitLayout {
    std::uint8_t d_lsbBit = 0;             ///< bit number of the value's lowest bit (12)
    std::uint8_t d_startByte = 0;          ///< payload byte that holds it (1)
    std::uint8_t d_bytes = 0;              ///< payload bytes the signal touches (2)
    std::uint8_t d_shift = 0;              ///< position of the lowest bit in its byte, 0..7 (4)
    std::uint8_t d_above = 0;              ///< for `valueInside`: bits of a word that are above the value (0)
    std::uint8_t d_unused = 0;             ///< for `valueInside`: bits of a word that the value does not need (52)
    ByteOrder d_order = ByteOrder::Little; ///< what all this was computed for (Big)
    bool d_inside = false;                 ///< the signal has bits, and all of them lie in the payload (true)
    std::uint64_t d_rawMask = 0;           ///< the signal's bits in a raw word (0xfff0000000000000)
    // Deliberate: spelled and printed so; tools that read the debug output look for this word.
    std::uint64_t d_maksBits = 0; ///< a low one per bit of the value (0xfff)
    std::uint64_t d_signBit = 0;  ///< the value's highest bit (0x800)

    /// Computes all of them. `bits` is 1..64; 0 gives an empty mask. Debug output gets a line with the result.
    void set(unsigned startBit, unsigned bits, ByteOrder order);

    /// The value in `rawWord`, right-aligned; sign extension is left to the value's type.
    std::uint64_t extract(std::uint64_t rawWord, ByteOrder order) const;

    /// Repeats the value's highest bit in all bits above it.
    std::uint64_t signExtend(std::uint64_t value) const {
        return (value & d_signBit) != 0 ? value | ~d_maksBits : value;
    }

    /// True if all bits of the signal, of which there are some, lie in a payload of this order.
    bool isInside(ByteOrder order) const { return d_inside && d_order == order; }

    /// The value of such a signal, sign-extended if it `isSigned`, in the same few steps for all of them: signals of
    /// every kind mix on a bus, and which comes next cannot be foretold.
    std::uint64_t valueInside(std::uint64_t rawWord, bool isSigned) const {
        // In little-endian order, the word that has byte 0 as its least significant one.
        std::uint64_t const word = d_order == ByteOrder::Big ? rawWord : __builtin_bswap64(rawWord);
        std::uint64_t const top = word << d_above;
        return isSigned ? static_cast<std::uint64_t>(static_cast<std::int64_t>(top) >> d_unused) : top >> d_unused;
    }

    /// True if the two words differ in this signal's bits; a change of other signals' bits is none of ours.
    bool differs(std::uint64_t a, std::uint64_t b) const { return ((a ^ b) & d_rawMask) != 0; }

    /// Debug output gets the two lines on one extraction; `label` is the class and `instance` the signal it was for.
    [[gnu::cold]] void traceExtraction(char const* label, char const* instance, std::uint64_t rawWord,
                                       unsigned startBit, unsigned bits, ByteOrder order, std::uint64_t value) const;

    /// Debug output gets the line on how `operation` made a number, `result`, that is called `name` there.
    void traceResult(char const* label, char const* operation, unsigned startBit, unsigned bits, ByteOrder order,
                     char const* name, std::uint64_t result) const;
};

} // namespace qzsignal
