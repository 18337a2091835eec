// Where a signal's bits are in an 8-byte payload, and how to extract them.
#pragma once

#include "qzsignal/signal/ValueCut.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qzsignal {

// The raw word of a payload: byte 0 in the most significant byte, whatever the host's byte order. Of a payload of more
// than eight bytes the first eight count; a shorter one is padded with zero bytes.
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

// Where a signal's bits are in an 8-byte payload.
//
// Bit n is bit n % 8 of payload byte n / 8; bit 0 is the least significant. A little-endian signal is placed by its
// lowest bit and grows upward; a big-endian one by its highest bit and grows downward, then into the next byte:
//
//     start 7, 12 bits, big endian;         payload byte   0         1
//     b..0 are bits 11..0 of the value                     ba987654  3210----
//
// Bits beyond the payload are left out of the mask and read as zero. In brackets: the values of this example.
struct BitLayout {
    std::uint8_t d_lsbBit = 0;    // bit number of the value's lowest bit (12)
    std::uint8_t d_startByte = 0; // payload byte that holds it (1)
    std::uint8_t d_bytes = 0;     // payload bytes the signal touches (2)
    std::uint8_t d_shift = 0;     // position of the lowest bit in its byte, 0..7 (4)
    // Deliberate: spelled and printed so; tools that read the debug output look for this word.
    std::uint64_t d_maksBits = 0; // a low one per bit of the value (0xfff)
    std::uint64_t d_signBit = 0;  // the value's highest bit (0x800)
    std::uint64_t d_rawMask = 0;  // the signal's bits in a raw word (0xfff0000000000000)
    ValueCut d_cut;               // (above 0, unused 52, big, inside)

    // Computes all of them. `bits` is 1..64; 0 gives an empty mask.
    void set(unsigned startBit, unsigned bits, ByteOrder order);

    // The value in `rawWord`, right-aligned; sign extension is left to the value's type.
    std::uint64_t extract(std::uint64_t rawWord, ByteOrder order) const;

    // Repeats the value's highest bit in all bits above it.
    std::uint64_t signExtend(std::uint64_t value) const {
        return (value & d_signBit) != 0 ? value | ~d_maksBits : value;
    }

    // The value in `rawWord`, sign-extended if it `isSigned`, of any layout.
    std::uint64_t value(std::uint64_t rawWord, ByteOrder order, bool isSigned) const {
        if (__builtin_expect(d_cut.isInside(order), 1))
            return d_cut.value(rawWord, isSigned);
        std::uint64_t const extracted = extract(rawWord, order);
        return isSigned ? signExtend(extracted) : extracted;
    }

    // The signal's own bits of a raw word.
    std::uint64_t own(std::uint64_t rawWord) const { return rawWord & d_rawMask; }

    // True if the two words differ in this signal's bits; changes of other signals' bits do not count.
    bool differs(std::uint64_t a, std::uint64_t b) const { return own(a ^ b) != 0; }
};

} // namespace qzsignal
