// A frame of a recording, whatever bus it was on and whatever format it was recorded in.
#pragma once

#include "tools/base/Bus.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace qztool {

constexpr std::uint32_t highestStandardIdentifier = 0x7FF;
constexpr std::uint32_t highestExtendedIdentifier = 0x1FFFFFFF;
constexpr std::uint32_t highestLinIdentifier = 63;
constexpr std::uint32_t highestSlot = 2047;

constexpr std::size_t mostFrameBytes = 254; // a FlexRay frame; CAN FD has 64, CAN and LIN have 8
constexpr std::size_t mostCanBytes = 64;
constexpr std::size_t mostClassicBytes = 8;

// Bits of `Frame::flags`.
namespace frameFlag {
constexpr std::uint16_t extended = 0x0001;    // CAN: identifier of 29 bits
constexpr std::uint16_t fd = 0x0002;          // CAN FD: up to 64 bytes
constexpr std::uint16_t bitRateSwitch = 0x04; // CAN FD (BRS)
constexpr std::uint16_t errorState = 0x0008;  // CAN FD (ESI): the sender is error passive
constexpr std::uint16_t remote = 0x0010;      // CAN: request without data; `length` is what is asked for
constexpr std::uint16_t error = 0x0020;       // error frame: address and bytes are what the format says of the error
constexpr std::uint16_t received = 0x0040;    // direction; neither of the two where the recording does not say
constexpr std::uint16_t transmitted = 0x0080;
constexpr std::uint16_t channelA = 0x0100; // FlexRay: either or both
constexpr std::uint16_t channelB = 0x0200;
constexpr std::uint16_t null = 0x0400; // FlexRay: null frame, without payload
// Frames without data of signals.
constexpr std::uint16_t withoutData = remote | error | null;
} // namespace frameFlag

struct Frame {
    std::uint64_t timestamp = 0; // microseconds, as recorded: since 1970 or since the start of the recording
    std::uint32_t address = 0;   // CAN: identifier without flag bits; LIN: identifier, 0..63; FlexRay: slot, 1..2047
    std::uint16_t flags = 0;     // frameFlag
    Bus bus = Bus::Can;
    std::uint8_t channel = 0; // number of the bus, as recorded
    std::uint8_t cycle = 0;   // FlexRay: 0..63
    std::uint8_t length = 0;  // bytes of payload, 0..254; of remote frames, those that are asked for

    std::array<std::uint8_t, mostFrameBytes> bytes{}; // unspecified past `length`, and of remote frames

    bool is(std::uint16_t flag) const { return (flags & flag) != 0; }
    // Sets the flag if `wanted`, and leaves it alone otherwise.
    void add(std::uint16_t flag, bool wanted) { flags = static_cast<std::uint16_t>(wanted ? flags | flag : flags); }
    bool extended() const { return is(frameFlag::extended); }
};

} // namespace qztool
