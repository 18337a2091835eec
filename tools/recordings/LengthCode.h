// Data length codes of CAN FD.
#pragma once

#include <cstdint>

namespace qztool {

constexpr std::uint32_t highestLengthCode = 15;

// Payload bytes of a CAN FD frame with this code, 0..15. Those of a classic frame are 8 from code 8 on.
constexpr std::uint8_t fdLength(std::uint32_t code) {
    constexpr std::uint8_t lengths[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 20, 24, 32, 48, 64};
    return lengths[code];
}

} // namespace qztool
