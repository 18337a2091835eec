// What a database promises, whatever the bytes that it was read from.
#pragma once

#include "tools/definitions/dbc/DbcReader.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <set>
#include <string>
#include <string_view>

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

// Walks over the bits of a signal, one by one.
inline bool liesInAMessage(SignalDefinition const& signal) {
    constexpr unsigned most = 1785 * 8;
    unsigned bit = signal.startBit;
    for (unsigned i = 1; i < signal.bits && bit < most; ++i)
        bit = !signal.bigEndian ? bit + 1 : bit % 8 == 0 ? bit + 15 : bit - 1;
    return signal.bits >= 1 && signal.bits <= 64 && bit < most;
}

inline bool rangesRunUpward(std::vector<SelectorRange> const& ranges) {
    return std::all_of(ranges.begin(), ranges.end(),
                       [](SelectorRange const& range) { return range.first <= range.last; });
}

// The first promise that the signal breaks; null if it keeps all. `multiplexors` are the indices of those that precede
// it.
inline char const* brokenPromise(SignalDefinition const& signal, std::size_t lines,
                                 std::set<std::size_t> const& multiplexors) {
    if (!isOneLine(signal.name))
        return "name of a signal";
    if (signal.line < 1 || signal.line > lines)
        return "line of a signal";
    if (!liesInAMessage(signal))
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

// The same of a whole database that was read from `text`.
inline char const* brokenPromise(Database const& database, std::string_view text) {
    std::size_t const lines = mostLinesOf(text);
    std::size_t line = 0;
    for (Problem const& problem : database.problems) {
        if (problem.line < line || problem.line > lines)
            return "line of a problem";
        if (!isOneLine(problem.text))
            return "text of a problem";
        line = problem.line;
    }
    line = 1;
    std::set<std::string> messageNames;
    for (MessageDefinition const& message : database.messages) {
        if (!isOneLine(message.name) || !messageNames.insert(message.name).second)
            return "name of a message";
        if (message.line < line || message.line > lines)
            return "line of a message";
        line = message.line;
        if (message.address > (message.extended ? 0x1FFFFFFFU : 0x7FFU))
            return "identifier";
        std::set<std::string> names;
        std::set<std::size_t> multiplexors;
        for (SignalDefinition const& signal : message.signals) {
            if (!names.insert(signal.name).second)
                return "name of two signals";
            if (char const* const broken = brokenPromise(signal, lines, multiplexors))
                return broken;
            if (signal.isMultiplexor)
                multiplexors.insert(static_cast<std::size_t>(&signal - message.signals.data()));
        }
    }
    return nullptr;
}

} // namespace qztool
