// Conversion to microseconds, in integers.
#include "tools/recordings/pcap/InterfaceTime.h"

namespace qztool {

namespace {

constexpr std::uint8_t powerOfTwo = 0x80;
constexpr std::uint64_t microsecondsPerSecond = 1'000'000;
constexpr unsigned digitsOfMicrosecond = 6;
constexpr unsigned mostDigits = 19; // of powers of ten in 64 bits

std::uint64_t powerOfTen(unsigned exponent) {
    std::uint64_t power = 1;
    for (; exponent != 0; --exponent)
        power *= 10;
    return power;
}

} // namespace

void InterfaceTime::setResolution(std::uint8_t resolution) {
    d_multiplier = 1;
    d_divisor = 1;
    d_bits = 0;
    if (resolution == powerOfTwo)
        d_multiplier = microsecondsPerSecond;
    else if ((resolution & powerOfTwo) != 0)
        d_bits = resolution & 0x7FU;
    else if (resolution <= digitsOfMicrosecond)
        d_multiplier = powerOfTen(digitsOfMicrosecond - resolution);
    else
        d_divisor = resolution - digitsOfMicrosecond <= mostDigits ? powerOfTen(resolution - digitsOfMicrosecond) : 0;
}

std::uint64_t InterfaceTime::microseconds(std::uint64_t ticks) const {
    if (d_bits == 0)
        return d_divisor == 0 ? d_offset : d_offset + ticks * d_multiplier / d_divisor;
    // A fraction of 40 bits is exact far below a microsecond, and leaves room for the multiplication.
    constexpr unsigned mostBits = 40;
    unsigned bits = d_bits;
    if (bits > mostBits) {
        ticks = bits - mostBits < 64 ? ticks >> (bits - mostBits) : 0;
        bits = mostBits;
    }
    std::uint64_t const fraction = ticks & ((std::uint64_t{1} << bits) - 1);
    return d_offset + (ticks >> bits) * microsecondsPerSecond + (fraction * microsecondsPerSecond >> bits);
}

} // namespace qztool
