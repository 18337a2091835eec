// Bit layouts read number by number, as slowly as can be: what the library's shifts and masks are held against.
#pragma once

#include <array>
#include <cstddef>

using Word = unsigned long long;
using Bytes = std::array<unsigned, 8>; // byte 0 is the most significant of the word

inline Bytes bytesOf(Word word) {
    Bytes bytes{};
    for (std::size_t i = 8; i-- > 0; word /= 256)
        bytes[i] = static_cast<unsigned>(word % 256);
    return bytes;
}

inline Word wordOf(Bytes const& bytes) {
    Word word = 0;
    for (unsigned const byte : bytes)
        word = word * 256 + byte;
    return word;
}

inline Word shiftedLeft(Word word, int places) {
    for (; places > 0; --places)
        word *= 2;
    return word;
}

// Where a signal of any start bit and any length is in a payload. There are zeros outside the payload.
struct ReferenceLayout {
    ReferenceLayout() = default;
    ReferenceLayout(int startBit, int bits, bool bigEndian) {
        int lsb = startBit;
        if (bigEndian) {
            int const sequential = 8 * (startBit / 8) + 7 - startBit % 8;
            int const last = sequential + bits - 1;
            lsb = 8 * (last / 8) + 7 - last % 8;
        }
        d_lsbBit = lsb & 255;
        d_startByte = d_lsbBit / 8;
        d_shift = d_lsbBit % 8;
        d_bytes = (d_lsbBit + bits - 1) / 8 - d_startByte + 1;
        for (int i = 0; i < bits && i < 64; ++i)
            d_ones = d_ones * 2 + 1;
        d_sign = bits >= 1 && bits <= 64 ? d_ones / 2 + 1 : 0;
        Bytes const shifted = bytesOf(shiftedLeft(d_ones, d_shift));
        Bytes mask{};
        for (int i = 0; i < d_bytes && i < 8; ++i)
            if (int const byte = bigEndian ? d_startByte - i : d_startByte + i; byte >= 0 && byte < 8)
                mask[static_cast<std::size_t>(byte)] = shifted[static_cast<std::size_t>(7 - i)];
        d_mask = wordOf(mask);
    }

    // Gathers the bytes one by one, the one with the lowest bit last.
    Word decoded(Word payload, bool bigEndian, bool isSigned) const {
        Bytes const bytes = bytesOf(payload);
        Word value = 0;
        for (int i = d_bytes - 1; i >= 0; --i) {
            int const byte = bigEndian ? d_startByte - i : d_startByte + i;
            value = value * 256 + (byte >= 0 && byte < 8 ? bytes[static_cast<std::size_t>(byte)] : 0);
        }
        for (int i = 0; i < d_shift; ++i)
            value /= 2;
        value &= d_ones;
        return isSigned && (value & d_sign) != 0 ? value - d_ones - 1 : value;
    }

    int d_lsbBit = 0, d_startByte = 0, d_shift = 0, d_bytes = 0;
    Word d_ones = 0; // one for each bit of the value
    Word d_sign = 0; // its highest bit
    Word d_mask = 0; // its bits in the payload
};
