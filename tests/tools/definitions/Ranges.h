// Whether a database is within the ranges that its types state, whatever format and bytes it was read from.
#pragma once

#include "tools/definitions/Database.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qztool {

// Line ends of every kind are counted, those of two characters twice.
inline std::size_t mostLinesOf(std::string_view text) {
    return 1 + static_cast<std::size_t>(
                   std::count_if(text.begin(), text.end(), [](char c) { return c == '\n' || c == '\r'; }));
}

// Decodes character by character.
inline bool isUtf8Text(std::string_view text) {
    constexpr unsigned lowest[] = {0, 0, 0x80, 0x800, 0x10000}; // with so many bytes
    while (!text.empty()) {
        unsigned const lead = static_cast<unsigned char>(text.front());
        std::size_t const length = lead < 0x80 ? 1 : lead >> 5 == 6 ? 2 : lead >> 4 == 14 ? 3 : lead >> 3 == 30 ? 4 : 0;
        if (length == 0 || length > text.size())
            return false;
        unsigned character = length == 1 ? lead : lead & (0x7FU >> length);
        for (char const next : text.substr(1, length - 1)) {
            if ((static_cast<unsigned char>(next) & 0xC0U) != 0x80)
                return false;
            character = character << 6 | (static_cast<unsigned char>(next) & 0x3FU);
        }
        if (character < lowest[length] || character > 0x10FFFF || (character >= 0xD800 && character <= 0xDFFF))
            return false;
        text.remove_prefix(length);
    }
    return true;
}

// Characters for a line of output: no control characters.
inline bool isOneLine(std::string_view text) {
    return !text.empty() && isUtf8Text(text) && std::none_of(text.begin(), text.end(), [](char c) {
        return static_cast<unsigned char>(c) < ' ' || c == '\x7F';
    });
}

inline bool rangesRunUpward(std::vector<SelectorRange> const& ranges) {
    return std::all_of(ranges.begin(), ranges.end(),
                       [](SelectorRange const& range) { return range.first <= range.last; });
}

inline unsigned mostPayloadBits(Bus bus) {
    return bus == Bus::Can ? 1785 * 8 : bus == Bus::Lin ? 8 * 8 : 254 * 8;
}

// Walks over the bits of a signal, one by one.
inline bool liesWithin(SignalDefinition const& signal, unsigned limit) {
    unsigned bit = signal.startBit;
    for (unsigned i = 1; i < signal.bits && bit < limit; ++i)
        bit = !signal.bigEndian ? bit + 1 : bit % 8 == 0 ? bit + 15 : bit - 1;
    return signal.bits >= 1 && signal.bits <= 64 && bit < limit;
}

inline char const* brokenRange(std::vector<Problem> const& problems, std::size_t lines) {
    std::size_t line = 0;
    for (Problem const& problem : problems) {
        if (problem.line < line || problem.line > lines)
            return "line of a problem";
        if (!isOneLine(problem.text))
            return "text of a problem";
        line = problem.line;
    }
    return nullptr;
}

// `multiplexors` are the indices of those that precede the signal.
inline char const* brokenRange(SignalDefinition const& signal, Bus bus, std::size_t lines,
                               std::set<std::size_t> const& multiplexors) {
    if (!isOneLine(signal.name) || (!signal.pdu.empty() && !isOneLine(signal.pdu)))
        return "name of a signal";
    if (signal.line < 1 || signal.line > lines)
        return "line of a signal";
    if (!liesWithin(signal, mostPayloadBits(bus)))
        return "place of a signal";
    if ((signal.kind == NumberKind::Float && signal.bits != 32) ||
        (signal.kind == NumberKind::Double && signal.bits != 64))
        return "number without all its bits";
    for (double const number : {signal.factor, signal.offset, signal.minimum, signal.maximum})
        if (!std::isfinite(number))
            return "number that is none";
    if (!isUtf8Text(signal.unit) || signal.unit.find('\n') != std::string::npos)
        return "unit";
    if (signal.multiplexor.has_value() == signal.selectedBy.empty() || !rangesRunUpward(signal.selectedBy))
        return "values that select a signal";
    if (signal.multiplexor && multiplexors.count(*signal.multiplexor) == 0)
        return "multiplexor";
    if (!std::all_of(signal.values.begin(), signal.values.end(),
                     [](ValueText const& value) { return isUtf8Text(value.text); }))
        return "text of a value";
    return nullptr;
}

inline bool isPowerOfTwo(unsigned number) {
    return number != 0 && (number & (number - 1)) == 0;
}

inline char const* brokenRange(MessageDefinition const& message, std::size_t lines) {
    if (!isOneLine(message.name))
        return "name of a message";
    if (message.line < 1 || message.line > lines)
        return "line of a message";
    if (!std::isfinite(message.cycleTime) || message.cycleTime < 0)
        return "cycle time";
    if (message.length > mostPayloadBits(message.bus) / 8)
        return "length";
    FlexRayTiming const& timing = message.flexRay;
    switch (message.bus) {
    case Bus::Can:
        if (message.address > (message.extended ? 0x1FFFFFFFU : 0x7FFU))
            return "identifier";
        break;
    case Bus::Lin:
        if (message.address > 63 || std::any_of(message.eventTriggered.begin(), message.eventTriggered.end(),
                                                [](std::uint32_t event) { return event > 63; }))
            return "identifier";
        break;
    case Bus::FlexRay:
        if (message.address < 1 || message.address > 2047)
            return "slot";
        if (timing.baseCycle > 63 || timing.repetition > 64 || !isPowerOfTwo(timing.repetition) ||
            !(timing.channelA || timing.channelB))
            return "timing";
        break;
    }
    std::set<std::pair<std::string, std::string>> names;
    std::set<std::size_t> multiplexors;
    for (SignalDefinition const& signal : message.signals) {
        if (!names.insert({signal.pdu, signal.name}).second)
            return "name of two signals";
        if (char const* const broken = brokenRange(signal, message.bus, lines, multiplexors))
            return broken;
        if (signal.isMultiplexor)
            multiplexors.insert(static_cast<std::size_t>(&signal - message.signals.data()));
    }
    return nullptr;
}

// The first range that a database leaves that was read from `text`; null if it stays in all.
inline char const* brokenRange(Database const& database, std::string_view text) {
    std::size_t const lines = mostLinesOf(text);
    if (char const* const broken = brokenRange(database.problems, lines))
        return broken;
    if (database.channels.empty())
        return "no channel";
    std::set<std::pair<std::size_t, std::string>> names;
    for (MessageDefinition const& message : database.messages) {
        if (message.channel >= database.channels.size())
            return "channel";
        if (!names.insert({message.channel, message.name}).second)
            return "name of two messages";
        if (char const* const broken = brokenRange(message, lines))
            return broken;
    }
    return nullptr;
}

} // namespace qztool
