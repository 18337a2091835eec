// Sessions, from their announcement to the last packet.
#include "tools/drive/can/TransportProtocol.h"

#include "tools/drive/can/ParameterGroups.h"

#include <algorithm>

namespace qztool {

namespace {

constexpr std::uint8_t requestToSend = 16; // RTS: from the source
constexpr std::uint8_t endOfMessage = 19;  // from the destination
constexpr std::uint8_t broadcast = 32;     // BAM
constexpr std::uint8_t aborted = 255;      // from either
constexpr std::uint8_t extendedRequest = 20;

constexpr unsigned packetBytes = 7;
constexpr unsigned leastBytes = 9; // shorter ones fit a frame
constexpr unsigned mostBytes = 1785;
constexpr std::size_t mostSessions = 4096; // so that no recording takes any amount of memory

unsigned destinationOf(Frame const& frame) {
    return frame.address >> 8 & 0xFF;
}

unsigned lengthOf(Frame const& frame) {
    return frame.bytes[1] + 256U * frame.bytes[2];
}

std::uint32_t announcedGroup(Frame const& frame) {
    return groupOf(std::uint32_t{frame.bytes[5]} << 8 | std::uint32_t{frame.bytes[6]} << 16 |
                   std::uint32_t{frame.bytes[7]} << 24);
}

constexpr std::uint32_t keyOf(std::uint8_t channel, unsigned source, unsigned destination) {
    return std::uint32_t{channel} << 16 | source << 8 | destination;
}

} // namespace

bool TransportProtocol::announces(Frame const& frame, std::uint32_t& group) {
    if (frame.length < mostClassicBytes || (frame.bytes[0] != requestToSend && frame.bytes[0] != broadcast))
        return false;
    group = announcedGroup(frame);
    unsigned const length = lengthOf(frame);
    return length >= leastBytes && length <= mostBytes && frame.bytes[3] == (length + packetBytes - 1) / packetBytes;
}

TransportProtocol::Session* TransportProtocol::find(std::uint8_t channel, unsigned source, unsigned destination) {
    auto const found = d_sessions.find(keyOf(channel, source, destination));
    return found != d_sessions.end() ? &found->second : nullptr;
}

void TransportProtocol::end(Session& session, std::uint64_t& count) {
    if (session.state != State::Over)
        ++count;
    session.state = State::Over;
}

void TransportProtocol::begin(Frame const& frame) {
    ++d_counts.packets;
    makeRoom();
    Session& session = d_sessions[keyOf(frame.channel, sourceOf(frame.address), destinationOf(frame))];
    end(session, d_counts.lost); // a source has given up what it has not finished
    session.state = frame.bytes[0] == broadcast ? State::Broadcast : State::Requested;
    session.identifier = announcedGroup(frame) | sourceOf(frame.address);
    session.length = lengthOf(frame);
    session.packets = frame.bytes[3];
    session.received = 0;
    session.isThere.reset();
    session.bytes.resize(std::size_t{session.packets} * packetBytes);
}

// Sessions that are over are kept for their buffers, and so that packets that follow a lost one are known.
void TransportProtocol::makeRoom() {
    if (d_sessions.size() < mostSessions)
        return;
    for (auto each = d_sessions.begin(); each != d_sessions.end();)
        each = each->second.state == State::Over ? d_sessions.erase(each) : std::next(each);
    if (d_sessions.size() < mostSessions)
        return;
    d_counts.lost += d_sessions.size();
    d_sessions.clear();
}

bool TransportProtocol::control(Frame const& frame) {
    unsigned const sender = sourceOf(frame.address), receiver = destinationOf(frame);
    Session* const received = find(frame.channel, receiver, sender); // of which this is an answer
    if (frame.length < mostClassicBytes)
        return false;
    std::uint8_t const kind = frame.bytes[0];
    bool belongs = received != nullptr;
    if (kind == endOfMessage && received != nullptr) {
        end(*received, d_counts.lost);
    } else if (kind == aborted) {
        Session* const sent = find(frame.channel, sender, receiver);
        belongs = belongs || sent != nullptr;
        for (Session* const session : {received, sent})
            if (session != nullptr && groupOf(session->identifier) == announcedGroup(frame))
                end(*session, d_counts.aborted);
    }
    d_counts.packets += belongs ? 1 : 0;
    return belongs;
}

TransportProtocol::Packet TransportProtocol::add(Frame const& frame, Message& message) {
    Session* const session = find(frame.channel, sourceOf(frame.address), destinationOf(frame));
    if (session == nullptr)
        return Packet::None;
    ++d_counts.packets;
    if (session->state == State::Over || frame.length == 0)
        return Packet::Part;
    unsigned const number = frame.bytes[0];
    if (number == 0 || number > session->packets || session->isThere[number])
        return Packet::Part;
    unsigned const begin = (number - 1) * packetBytes;
    // The last packet is filled up to eight bytes, if its sender keeps to the standard.
    unsigned const wanted = std::min(packetBytes, session->length - begin);
    bool const isOutOfOrder = number != session->received + 1;
    if (frame.length < 1 + wanted || (session->state == State::Broadcast && isOutOfOrder)) {
        end(*session, d_counts.lost);
        return Packet::Part;
    }
    std::copy_n(frame.bytes.begin() + 1, wanted, session->bytes.begin() + begin);
    session->isThere.set(number);
    if (++session->received != session->packets)
        return Packet::Part;
    end(*session, d_counts.messages);
    message = {session->identifier, session->bytes.data(), session->length};
    return Packet::Last;
}

void TransportProtocol::skip(Frame const& frame) {
    d_counts.extended += frame.length >= mostClassicBytes && frame.bytes[0] == extendedRequest ? 1 : 0;
}

TransportCounts TransportProtocol::counts() const {
    TransportCounts counts = d_counts;
    counts.lost += static_cast<std::uint64_t>(std::count_if(
        d_sessions.begin(), d_sessions.end(), [](auto const& each) { return each.second.state != State::Over; }));
    return counts;
}

} // namespace qztool
