// One classic CAN data frame, as a log tells it.
#pragma once

#include <array>
#include <cstdint>

namespace qztool {

struct Frame {
    std::uint64_t timestamp = 0;  // microseconds, as recorded: since 1970 or since the start of the recording
    std::uint32_t identifier = 0; // 11 bits, or 29 if extended; without any flag bit
    bool extended = false;
    std::uint8_t channel = 0;
    std::uint8_t length = 0;               // 0..8
    std::array<std::uint8_t, 8> payload{}; // zero behind `length`
};

constexpr std::uint32_t highestStandardIdentifier = 0x7FF;
constexpr std::uint32_t highestExtendedIdentifier = 0x1FFFFFFF;

} // namespace qztool
