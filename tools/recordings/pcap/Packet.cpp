// SocketCAN frames, and what may be in front of them.
#include "tools/recordings/pcap/Packet.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace qztool {

namespace {

constexpr std::uint32_t socketCan = 227; // a frame
constexpr std::uint32_t cooked = 113;    // "Linux cooked": a header that all kinds of interfaces have, then a frame
constexpr std::uint32_t cooked2 = 276;   // a newer one

// A frame, with its identifier in network byte order if nothing is in front of it:
//     0  identifier, 4 bytes: 80000000 extended, 40000000 remote, 20000000 error
//     4  bytes of data        5  flags of CAN FD: 01 bit rate switch, 02 error state indicator, 04 CAN FD
//     8  data
// Of CAN XL, byte 4 is 80 or above.
constexpr std::size_t headerBytes = 8;
constexpr std::uint32_t extendedBit = 0x8000'0000;
constexpr std::uint32_t remoteBit = 0x4000'0000;
constexpr std::uint32_t errorBit = 0x2000'0000;
constexpr std::size_t fdPacketBytes = headerBytes + mostCanBytes; // as the system hands frames of CAN FD out
constexpr std::uint8_t xlBit = 0x80;

constexpr std::uint16_t classicProtocol = 0x000C;
constexpr std::uint16_t fdProtocol = 0x000D;
constexpr std::uint16_t xlProtocol = 0x000E;

constexpr char const* cutShort = "packet is cut short";
constexpr char const* xlFrame = "CAN XL frame";

struct LinkType {
    std::uint32_t number;
    char const* packets;
};

// The usual ones, by name.
constexpr LinkType otherLinkTypes[] = {
    {1, "Ethernet packet"},
    {101, "IP packet"},
    {105, "WLAN packet"},
    {127, "WLAN packet"},
    {189, "USB packet"},
    {220, "USB packet"},
    {210, "FlexRay packet"},
    {211, "MOST packet"},
    {212, "LIN packet"},
    {249, "USB packet"},
    {252, "packet of another program"},
};

std::uint16_t big16(char const* bytes) {
    return readInteger<std::uint16_t>(bytes, ByteOrder::Big);
}

// Null: all is well.
char const* readFrame(std::string_view bytes, std::uint32_t originalSize, ByteOrder order, Frame& frame) {
    if (bytes.size() < headerBytes)
        return cutShort;
    auto const identifier = readInteger<std::uint32_t>(bytes.data(), order);
    std::size_t const length = byteAt(bytes.data() + 4);
    unsigned const fdFlags = byteAt(bytes.data() + 5);
    bool const extended = (identifier & extendedBit) != 0;
    bool const isError = (identifier & errorBit) != 0;
    frame.bus = Bus::Can;
    frame.address = identifier & highestExtendedIdentifier;
    frame.length = static_cast<std::uint8_t>(length);
    if (extended)
        frame.flags |= frameFlag::extended;
    if (isError)
        frame.flags |= frameFlag::error;
    else if ((identifier & remoteBit) != 0)
        frame.flags |= frameFlag::remote;
    // Not all recorders set the flag of CAN FD.
    if ((fdFlags & 0x04) != 0 || length > mostClassicBytes || originalSize == fdPacketBytes) {
        frame.flags |= frameFlag::fd;
        if ((fdFlags & 0x01) != 0)
            frame.flags |= frameFlag::bitRateSwitch;
        if ((fdFlags & 0x02) != 0)
            frame.flags |= frameFlag::errorState;
    }
    if (!extended && !isError && frame.address > highestStandardIdentifier)
        return "standard identifier above 7FF";
    if (length > mostCanBytes)
        return "more than 64 data bytes";
    if (frame.is(frameFlag::remote))
        return nullptr;
    if (bytes.size() < headerBytes + length)
        return cutShort;
    std::memcpy(frame.bytes.data(), bytes.data() + headerBytes, length);
    return nullptr;
}

struct CookedHeader {
    std::size_t bytes;
    std::size_t protocolAt;
    std::size_t kindAt; // of its low byte: 4 if the packet was sent from here
};

constexpr CookedHeader cookedHeader = {16, 14, 1};
constexpr CookedHeader cookedHeader2 = {20, 0, 10};
constexpr std::size_t interfaceAt = 4; // of the newer one

void addOther(std::uint32_t linkType, Findings& findings) {
    for (LinkType const& each : otherLinkTypes)
        if (each.number == linkType)
            return findings.addSkipped(each.packets);
    char text[40];
    std::snprintf(text, sizeof text, "packet of link type %lu", static_cast<unsigned long>(linkType));
    findings.addSkipped(text);
}

} // namespace

bool readPacket(Packet const& packet, std::uint64_t place, Findings& findings, Frame& frame) {
    std::string_view bytes = packet.bytes;
    std::uint32_t originalSize = packet.originalSize;
    ByteOrder order = ByteOrder::Big;
    bool isXl = false;
    if (packet.linkType == cooked || packet.linkType == cooked2) {
        CookedHeader const& header = packet.linkType == cooked ? cookedHeader : cookedHeader2;
        if (bytes.size() < header.bytes) {
            findings.addMalformed(cutShort, place);
            return false;
        }
        std::uint16_t const protocol = big16(bytes.data() + header.protocolAt);
        isXl = protocol == xlProtocol;
        if (protocol != classicProtocol && protocol != fdProtocol && !isXl) {
            findings.addSkipped("packet of another protocol");
            return false;
        }
        std::uint8_t const kind = byteAt(bytes.data() + header.kindAt);
        frame.flags |= kind == 4 ? frameFlag::transmitted : kind < 4 ? frameFlag::received : std::uint16_t{0};
        // Interfaces have rising numbers, so that two of one machine hardly have the same low byte.
        if (packet.linkType == cooked2)
            frame.channel = byteAt(bytes.data() + interfaceAt + 3);
        bytes.remove_prefix(header.bytes);
        originalSize = static_cast<std::uint32_t>(originalSize - std::min<std::size_t>(originalSize, header.bytes));
        order = packet.order;
    } else if (packet.linkType != socketCan) {
        addOther(packet.linkType, findings);
        return false;
    }
    if (isXl || (bytes.size() > 4 && (byteAt(bytes.data() + 4) & xlBit) != 0)) {
        findings.addSkipped(xlFrame);
        return false;
    }
    if (char const* const cause = readFrame(bytes, originalSize, order, frame)) {
        findings.addMalformed(cause, place);
        return false;
    }
    return true;
}

} // namespace qztool
