// Counting frames by identifier and message.
#include "tools/check/Traffic.h"

#include <algorithm>

namespace qztool {

namespace {

// Frames of channels A and B are distinguished, as they come in pairs.
std::uint64_t keyOf(Frame const& frame) {
    constexpr std::uint16_t distinguishing = frameFlag::extended | frameFlag::channelA | frameFlag::channelB;
    return std::uint64_t{static_cast<std::uint8_t>(frame.bus)} << 56 | std::uint64_t{frame.channel} << 48 |
           static_cast<std::uint64_t>(frame.flags & distinguishing) << 32 | frame.address;
}

// CAN FD has frames of certain lengths alone, so a message of another length has bytes after it.
unsigned sentLength(unsigned length) {
    for (unsigned const each : {8U, 12U, 16U, 20U, 24U, 32U, 48U})
        if (length <= each)
            return length <= 8 ? length : each;
    return static_cast<unsigned>(mostCanBytes);
}

bool hasOtherLength(Frame const& frame, MessageDefinition const& message) {
    // The frames of a static segment are all as long as the longest.
    if (frame.bus == Bus::FlexRay)
        return frame.length < message.length;
    // Longer messages of J1939 come in packets.
    if (message.byParameterGroup && message.length > mostClassicBytes)
        return false;
    if (frame.is(frameFlag::fd) && message.length <= mostCanBytes && frame.length == sentLength(message.length))
        return false;
    return frame.length != message.length;
}

} // namespace

Traffic::Traffic(DefinitionSet const& definitions) {
    for (auto const& file : definitions.files()) {
        MessageIndex& index = d_indices.emplace_back();
        for (std::size_t i = 0; i < file->database.messages.size(); ++i) {
            index.add(file->database.messages[i], d_messages.size());
            d_messages.push_back({file.get(), i});
        }
    }
}

bool Traffic::isJ1939() const {
    return std::any_of(d_indices.begin(), d_indices.end(), [](MessageIndex const& each) { return each.hasGroups(); });
}

Identifier& Traffic::identifierOf(Frame const& frame) {
    auto const [entry, isNew] = d_numbers.emplace(keyOf(frame), d_identifiers.size());
    if (!isNew)
        return d_identifiers[entry->second];
    Identifier& identifier = d_identifiers.emplace_back();
    identifier.frames = {frame.bus, frame.channel, frame.extended(), frame.address, 0};
    for (MessageIndex const& index : d_indices)
        for (std::size_t const number : index.find(frame.bus, frame.extended(), frame.address)) {
            ListedMessage const& message = d_messages[number];
            if (message.network().isRestricted && message.network().channel != frame.channel)
                continue;
            Stream& stream = identifier.streams.emplace_back();
            stream.message = &message;
            stream.isEvent = frame.bus == Bus::Lin && message.definition().address != frame.address;
        }
    identifier.streams.emplace_back();
    return identifier;
}

bool Traffic::belongs(Frame const& frame, Stream const& stream) {
    MessageDefinition const& message = stream.message->definition();
    constexpr unsigned identifierBits = 0x3F; // of a protected identifier of LIN
    if (stream.isEvent)
        return frame.length != 0 && (frame.bytes[0] & identifierBits) == message.address;
    if (frame.bus != Bus::FlexRay)
        return true;
    FlexRayTiming const& timing = message.flexRay;
    bool const isUnknown = !frame.is(frameFlag::channelA | frameFlag::channelB);
    bool const onChannel = isUnknown || (frame.is(frameFlag::channelA) && timing.channelA) ||
                           (frame.is(frameFlag::channelB) && timing.channelB);
    return onChannel && frame.cycle >= timing.baseCycle && (frame.cycle - timing.baseCycle) % timing.repetition == 0;
}

void Traffic::count(Stream& stream, Frame const& frame, FramePlace const& place) {
    // Recorded time may step back, as at the seam of two recordings.
    if (stream.count == 0)
        stream.first = place;
    else if (place.time >= stream.last.time)
        stream.intervals.add(place.time - stream.last.time, stream.last);
    ++stream.count;
    stream.last = place;
    if (stream.message == nullptr || !hasOtherLength(frame, stream.message->definition()))
        return;
    if (stream.otherLengths++ == 0) {
        stream.firstOther = place;
        stream.firstOtherLength = frame.length;
    }
}

// From the frame before, of whatever identifier, to this one.
void Traffic::addStep(FramePlace const& place) {
    constexpr std::size_t mostPauses = 16;
    std::uint64_t const step = place.time - d_last.time;
    d_tick = d_tick == 0 ? step : std::min(d_tick, step);
    if (step <= d_shortestPause)
        return;
    auto const isShorter = [](Pause const& a, Pause const& b) { return a.length < b.length; };
    if (d_pauses.size() < mostPauses)
        d_pauses.push_back({d_last, step});
    else
        *std::min_element(d_pauses.begin(), d_pauses.end(), isShorter) = {d_last, step};
    if (d_pauses.size() == mostPauses)
        d_shortestPause = std::min_element(d_pauses.begin(), d_pauses.end(), isShorter)->length;
}

void Traffic::add(Frame const& frame, std::uint64_t number) {
    FramePlace const place{frame.timestamp, number};
    if (d_frames != 0 && place.time > d_last.time)
        addStep(place);
    ++d_frames;
    d_last = place;
    Identifier& identifier = identifierOf(frame);
    ++identifier.frames.count;
    bool isDefined = false;
    for (Stream& stream : identifier.streams) {
        if (stream.message != nullptr ? !belongs(frame, stream) : isDefined)
            continue;
        count(stream, frame, place);
        isDefined = true;
    }
}

bool Traffic::isServed(Identifier const& identifier, Stream const& stream) {
    if (stream.message == nullptr || stream.count == 0)
        return false;
    std::optional<std::uint8_t> const& channel = stream.message->network().channel;
    return !channel || *channel == identifier.frames.channel;
}

bool Traffic::hasSeen(MessageDefinition const& message) const {
    if (d_inPackets.count(&message) != 0)
        return true;
    return std::any_of(d_identifiers.begin(), d_identifiers.end(), [&message](Identifier const& identifier) {
        return std::any_of(identifier.streams.begin(), identifier.streams.end(), [&](Stream const& stream) {
            return isServed(identifier, stream) && &stream.message->definition() == &message;
        });
    });
}

Traffic::Coverage Traffic::coverage() const {
    if (d_frames == 0)
        return {};
    std::uint64_t frames = 0, identifiers = 0;
    for (Identifier const& identifier : d_identifiers) {
        bool const isServedAtAll = std::any_of(identifier.streams.begin(), identifier.streams.end(),
                                               [&](Stream const& each) { return isServed(identifier, each); });
        if (!isServedAtAll)
            continue;
        ++identifiers;
        frames += identifier.frames.count - identifier.streams.back().count;
    }
    return {static_cast<double>(frames) / static_cast<double>(d_frames),
            static_cast<double>(identifiers) / static_cast<double>(d_identifiers.size())};
}

} // namespace qztool
