// The channel codes by which the library tells FlexRay frames apart.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qztool {

// The library's table of frames has room for four codes, and a network needs one for each of its channels A and B.
constexpr std::size_t mostFlexRayNetworks = 2;

// `filed` is the network's number (Channels.h), below `mostFlexRayNetworks`.
constexpr std::uint8_t flexRayCode(unsigned filed, bool isB) {
    return static_cast<std::uint8_t>(2 * filed + (isB ? 1 : 0));
}

} // namespace qztool
