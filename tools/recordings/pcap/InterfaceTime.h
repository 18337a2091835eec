// The clock of an interface in a pcapng file.
#pragma once

#include <cstdint>

namespace qztool {

// Counts ticks since 1970, or since `setOffset`.
class InterfaceTime {
public:
    // The option as recorded: 10 to the power of minus this, or with the highest bit 2 to the power of minus the rest,
    // is the length of a tick in seconds.
    void setResolution(std::uint8_t resolution);
    // Seconds to be added.
    void setOffset(std::uint64_t seconds) { d_offset = seconds * 1'000'000; }

    std::uint64_t microseconds(std::uint64_t ticks) const;

private:
    std::uint64_t d_multiplier = 1; // of ticks of a power of ten
    std::uint64_t d_divisor = 1;    // the same; 0: too short for any number of them to last a microsecond
    unsigned d_bits = 0;            // of a power of two; 0: of ten
    std::uint64_t d_offset = 0;     // microseconds, modulo 2 to the power of 64, as it may be negative
};

} // namespace qztool
