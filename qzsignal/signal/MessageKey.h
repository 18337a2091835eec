// Dispatch keys: 64-bit numbers that name a message, with one tag bit per message class in the top byte.
#pragma once

#include <cstdint>

namespace qzsignal {

constexpr std::uint64_t canTag = 0x8000000000000000;
constexpr std::uint64_t linTag = 0x4000000000000000;
constexpr std::uint64_t flexRayTag = 0x2000000000000000;
constexpr std::uint64_t keyboardTag = 0x1000000000000000;
constexpr std::uint64_t digitalTag = 0x0800000000000000;
constexpr std::uint64_t analogTag = 0x0400000000000000;

// Key of a CAN frame, `identifier` without flag bits.
//
// Deliberate: the parts are added, not or-ed. An identifier that already has bit 31 set and is marked extended carries
// into the channel. The identifier of a serialized record has its extended flag in bit 31 and therefore yields the same
// key with `extended` false as the definition does with `extended` true.
constexpr std::uint64_t canKey(std::uint8_t channel, std::uint32_t identifier, bool extended) {
    return (std::uint64_t{channel} << 32) + identifier + (extended ? 0x80000000U : 0U) + canTag;
}

// The part of a LIN frame's key that is below the tag. An identifier of more than eight bits is added into the channel.
constexpr std::uint64_t untaggedLinKey(std::uint8_t channel, std::uint32_t identifier) {
    return (std::uint64_t{channel} << 8) + identifier;
}

// Key of a LIN frame, `identifier` without parity bits.
constexpr std::uint64_t linKey(std::uint8_t channel, std::uint32_t identifier) {
    return linTag + untaggedLinKey(channel, identifier);
}

// Key of a FlexRay frame, from its id in the table of frames (flexray/FlexRayIdTable.h).
constexpr std::uint64_t flexRayKey(std::uint16_t id) {
    return flexRayTag + id;
}

} // namespace qzsignal
