// Messages of J1939 that are too long for a frame, put together from packets.
#pragma once

#include "tools/recordings/Frame.h"

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

namespace qztool {

struct TransportCounts {
    std::uint64_t packets = 0;  // frames of messages that are defined
    std::uint64_t messages = 0; // put together
    std::uint64_t lost = 0;     // messages of which packets are missing
    std::uint64_t aborted = 0;  // messages that sender or receiver gave up
    std::uint64_t extended = 0; // messages of the extended protocol, which has up to 117 MB each; not read
};

namespace transport {
// Parameter groups, at their place in an identifier.
constexpr std::uint32_t connection = 0x00EC0000; // TP.CM: announces, acknowledges and aborts messages
constexpr std::uint32_t data = 0x00EB0000;       // TP.DT: a packet
constexpr std::uint32_t extended = 0x00C80000;   // ETP.CM
} // namespace transport

// Follows the sessions of all channels. A message is broadcast (BAM), or sent to one destination, which asks for its
// packets (RTS/CTS) and may ask for them again. A source has at most one session with each destination.
class TransportProtocol {
public:
    struct Message {
        std::uint32_t identifier = 0; // parameter group and source address
        std::uint8_t const* bytes = nullptr;
        unsigned length = 0; // 9..1785
    };
    enum class Packet { None, Part, Last };

    // True if the frame, of the group `connection`, announces a message; then its parameter group, as part of an
    // identifier, is in `group`.
    static bool announces(Frame const& frame, std::uint32_t& group);

    // A frame that announces a message whose packets are to be put together.
    void begin(Frame const& frame);
    // Any other frame of the group `connection`. True if it belongs to a message that was begun.
    bool control(Frame const& frame);
    // A frame of the group `data`. Last: it completes `message`, which is valid until the next call.
    Packet add(Frame const& frame, Message& message);
    // A frame of the group `extended`.
    void skip(Frame const& frame);

    // Messages that are not complete yet count as lost.
    TransportCounts counts() const;

private:
    enum class State : std::uint8_t { Over, Broadcast, Requested };
    struct Session {
        State state = State::Over;
        std::uint32_t identifier = 0;
        unsigned packets = 0;
        unsigned received = 0;
        unsigned length = 0;
        std::bitset<256> isThere; // packets, from 1
        std::vector<std::uint8_t> bytes;
    };

    Session* find(std::uint8_t channel, unsigned source, unsigned destination);
    void end(Session& session, std::uint64_t& count);
    void makeRoom();

    std::unordered_map<std::uint32_t, Session> d_sessions; // by channel, source and destination
    TransportCounts d_counts;
};

} // namespace qztool
