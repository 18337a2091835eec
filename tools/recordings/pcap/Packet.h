// The packets of pcap and pcapng files that carry frames of CAN.
#pragma once

#include "tools/recordings/ByteOrder.h"
#include "tools/recordings/Findings.h"
#include "tools/recordings/Frame.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace qztool {

struct Packet {
    std::uint32_t linkType;     // what it begins with, by the numbers of LINKTYPE_...
    std::string_view bytes;     // as far as recorded, and up to `mostPacketBytes`
    std::uint32_t originalSize; // as it was sent
    ByteOrder order;            // of the machine that recorded it
};

// No frame is longer, whatever is in front of it.
constexpr std::size_t mostPacketBytes = 128;

// Packets above are taken for damage: recorders have limits far below.
constexpr std::uint32_t impossiblePacketBytes = std::uint32_t{256} * 1024 * 1024;

// Reads the frame in a packet, except for its time and, if the packet does not say, its channel. False: there is none,
// which is added to the findings, as number `place`.
bool readPacket(Packet const& packet, std::uint64_t place, Findings& findings, Frame& frame);

} // namespace qztool
