// Bit arithmetic on raw words: shifts only, so that it is the same on every host.
#include "qzsignal/signal/BitLayout.h"

namespace qzsignal {

namespace {

constexpr unsigned payloadBytes = 8;

// All ones in the lowest `bits` bits.
std::uint64_t lowOnes(unsigned bits) {
    return bits >= 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << bits) - 1;
}

// Position of a payload byte in a raw word, in bits from its least significant end.
unsigned bytePosition(unsigned byte) {
    return 8 * (payloadBytes - 1 - byte);
}

} // namespace

void BitLayout::set(unsigned startBit, unsigned bits, ByteOrder order) {
    bool const big = order == ByteOrder::Big;
    int const length = static_cast<int>(bits);
    int lsbBit = static_cast<int>(startBit);
    if (big) {
        // A big-endian signal runs on in the order in which the bus sends its bits: bit 7 of byte 0 is sent first. Turn
        // the start bit into its place in that order, go to the last bit, and turn that back into a bit number.
        int const last = static_cast<int>(startBit >> 3) * 16 - lsbBit + length + 6;
        lsbBit = last / 8 * 16 - last + 7;
    }
    d_lsbBit = static_cast<std::uint8_t>(lsbBit);
    d_startByte = static_cast<std::uint8_t>(d_lsbBit >> 3);
    d_shift = d_lsbBit & 7;
    d_bytes = static_cast<std::uint8_t>((d_lsbBit + length - 1) / 8 - d_startByte + 1);
    d_maksBits = lowOnes(bits);
    d_signBit = bits >= 1 && bits <= 64 ? std::uint64_t{1} << (bits - 1) : 0;

    // From the value's lowest bit to the upper end of the word that it is cut from.
    unsigned const room = big ? 8 * d_startByte + 8U - d_shift : 64U - d_lsbBit;
    d_cut.d_order = order;
    d_cut.d_inside = bits >= 1 && bits <= room && d_lsbBit < 64;
    d_cut.d_above = static_cast<std::uint8_t>(d_cut.d_inside ? room - bits : 0);
    d_cut.d_unused = static_cast<std::uint8_t>(d_cut.d_inside ? 64 - bits : 0);

    d_rawMask = 0;
    std::uint64_t const placed = d_maksBits << d_shift;
    for (unsigned i = 0; i < d_bytes && i < payloadBytes; ++i) {
        // Going below byte 0 wraps to a huge number, which is as far outside the payload as one above byte 7.
        unsigned const byte = big ? d_startByte - i : d_startByte + i;
        if (byte < payloadBytes)
            d_rawMask |= (placed >> (8 * i) & 0xff) << bytePosition(byte);
    }
}

std::uint64_t BitLayout::extract(std::uint64_t rawWord, ByteOrder order) const {
    std::uint64_t word = 0;
    if (order == ByteOrder::Little) {
        if (d_startByte < payloadBytes)
            word = __builtin_bswap64(rawWord) >> (8 * d_startByte); // byte 0 is the least significant there
    } else if (d_startByte < payloadBytes) {
        word = rawWord >> bytePosition(d_startByte);
    } else if (d_startByte < 2 * payloadBytes - 1) {
        // The lowest bits are past the payload, where only zeros are.
        word = rawWord << (8 * (d_startByte - payloadBytes + 1));
    }
    return word >> d_shift & d_maksBits;
}

} // namespace qzsignal
