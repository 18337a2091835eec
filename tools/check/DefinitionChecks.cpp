// The table of checks, and those that take a few lines.
#include "tools/check/DefinitionChecks.h"

#include "tools/base/Numbers.h"
#include "tools/check/Limits.h"
#include "tools/definitions/ProblemText.h"
#include "tools/drive/SignalPlace.h"

#include <algorithm>
#include <limits>
#include <map>
#include <tuple>

namespace qztool {

namespace {

template <typename Check>
void forEachSignal(DefinitionSet::File const& file, Check check) {
    std::vector<MessageDefinition> const& messages = file.database.messages;
    for (std::size_t i = 0; i < messages.size(); ++i)
        for (std::size_t j = 0; j < messages[i].signals.size(); ++j)
            check(i, j, messages[i], messages[i].signals[j]);
}

std::string bytesText(unsigned bytes) {
    return std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes");
}

std::string bitsText(unsigned bits) {
    return std::to_string(bits) + (bits == 1 ? " bit" : " bits");
}

void checkPlaces(DefinitionSet::File const& file, std::vector<Finding>& findings) {
    forEachSignal(file, [&](std::size_t i, std::size_t j, auto const& message, auto const& signal) {
        if (lastByteOf(signal) >= message.length)
            findings.push_back(findingOf(CheckKind::Outside, file, i, j,
                                         quote(nameOf(file, i, j)) + " reaches into byte " +
                                             std::to_string(lastByteOf(signal) + 1) + ", but the message has " +
                                             bytesText(message.length)));
    });
}

void checkSelectors(DefinitionSet::File const& file, std::vector<Finding>& findings) {
    forEachSignal(file, [&](std::size_t i, std::size_t j, auto const& message, auto const& signal) {
        if (!signal.multiplexor)
            return;
        SignalDefinition const& multiplexor = message.signals[*signal.multiplexor];
        auto const isDead = [&multiplexor](SelectorRange const& range) {
            return range.last > highestPattern(multiplexor.bits);
        };
        auto const dead = std::find_if(signal.selectedBy.begin(), signal.selectedBy.end(), isDead);
        if (dead == signal.selectedBy.end())
            return;
        std::string const values = dead->first == dead->last
                                       ? "value " + std::to_string(dead->first)
                                       : "values " + std::to_string(dead->first) + " to " + std::to_string(dead->last);
        findings.push_back(
            findingOf(CheckKind::DeadSelector, file, i, j,
                      quote(nameOf(file, i, j)) + " is selected by " + values + ", which multiplexor " +
                          quote(multiplexor.name) + " with " + bitsText(multiplexor.bits) +
                          (dead->first <= highestPattern(multiplexor.bits) ? " does not reach" : " never has")));
    });
}

// Frames of both may be in one slot of one cycle.
bool meet(FlexRayTiming const& a, FlexRayTiming const& b) {
    bool const sameChannel = (a.channelA && b.channelA) || (a.channelB && b.channelB);
    int const repetition = std::min(a.repetition, b.repetition); // powers of two
    return sameChannel && (a.baseCycle - b.baseCycle) % repetition == 0;
}

// Names are judged where they are read and given: by the readers, and by the set of definitions.
void checkIdentifiers(DefinitionSet::File const& file, std::vector<Finding>& findings) {
    std::map<std::tuple<std::size_t, bool, std::uint32_t>, std::vector<MessageDefinition const*>> others;
    for (MessageDefinition const& message : file.database.messages) {
        auto& same = others[{message.channel, message.extended, message.address}];
        auto const other = std::find_if(same.begin(), same.end(), [&message](MessageDefinition const* each) {
            return message.bus != Bus::FlexRay || meet(each->flexRay, message.flexRay);
        });
        if (other != same.end())
            findings.push_back(findingOf(CheckKind::Duplicate, file, message,
                                         quote(message.name) + " has the same identifier, " +
                                             identifierText({message.bus, 0, message.extended, message.address, 0}) +
                                             ", as " + quote((*other)->name) + " (line " +
                                             std::to_string((*other)->line) + ")"));
        same.push_back(&message);
    }
}

struct Reach {
    double lowest, highest;
};

// Physical values of the lowest and the highest raw value.
Reach reachOf(SignalDefinition const& signal) {
    Reach raw{};
    if (signal.kind == NumberKind::Float)
        raw = {std::numeric_limits<float>::lowest(), std::numeric_limits<float>::max()};
    else if (signal.kind == NumberKind::Double)
        raw = {std::numeric_limits<double>::lowest(), std::numeric_limits<double>::max()};
    else if (signal.kind == NumberKind::Signed)
        raw = {-std::ldexp(1.0, static_cast<int>(signal.bits) - 1),
               static_cast<double>(highestPattern(signal.bits) >> 1)};
    else
        raw = {0.0, static_cast<double>(highestPattern(signal.bits))};
    double const one = raw.lowest * signal.factor + signal.offset;
    double const other = raw.highest * signal.factor + signal.offset;
    return {std::min(one, other), std::max(one, other)};
}

void checkRanges(DefinitionSet::File const& file, std::vector<Finding>& findings) {
    forEachSignal(file, [&](std::size_t i, std::size_t j, auto const&, auto const& signal) {
        if (!statesRange(signal))
            return;
        std::string const range = "[" + numberText(signal.minimum) + "|" + numberText(signal.maximum) + "]";
        if (signal.minimum > signal.maximum) {
            findings.push_back(findingOf(CheckKind::Range, file, i, j,
                                         quote(nameOf(file, i, j)) + ": its range " + range + " runs backwards"));
            return;
        }
        Reach const reach = reachOf(signal);
        // Limits are often rounded to whole numbers, such as 64 for 63.9375.
        bool const isFraction = std::floor(signal.factor) != signal.factor;
        double const slack = std::max(slackOf(signal), isFraction ? 1.000001 * std::fabs(signal.factor) : 0.0);
        if (!(signal.minimum < reach.lowest - slack) && !(signal.maximum > reach.highest + slack))
            return;
        findings.push_back(findingOf(CheckKind::Range, file, i, j,
                                     quote(nameOf(file, i, j)) + ": its range is " + range + ", but its " +
                                         bitsText(signal.bits) +
                                         (signal.bits == 1 ? " reaches from " : " reach from ") +
                                         numberText(reach.lowest) + " to " + numberText(reach.highest)));
    });
}

bool canHold(SignalDefinition const& signal, std::int64_t value) {
    if (signal.bits >= 64)
        return true;
    auto const end = static_cast<std::int64_t>(std::uint64_t{1} << (signal.bits - 1)); // half of all patterns
    return signal.kind == NumberKind::Signed
               ? value >= -end && value < end
               : value >= 0 && static_cast<std::uint64_t>(value) / 2 < static_cast<std::uint64_t>(end);
}

// Every bit pattern is a floating-point number.
void checkWords(DefinitionSet::File const& file, std::vector<Finding>& findings) {
    forEachSignal(file, [&](std::size_t i, std::size_t j, auto const&, auto const& signal) {
        if (isFloating(signal))
            return;
        constexpr std::size_t mostListed = 4;
        std::string list;
        std::uint64_t count = 0;
        for (ValueText const& word : signal.values)
            if (!canHold(signal, word.value) && ++count <= mostListed)
                list += (list.empty() ? "" : ", ") + std::to_string(word.value) + " " + quote(word.text);
        if (count == 0)
            return;
        if (count > mostListed)
            list += " and " + std::to_string(count - mostListed) + " more";
        findings.push_back(findingOf(CheckKind::Word, file, i, j,
                                     quote(nameOf(file, i, j)) + " with " + bitsText(signal.bits) +
                                         (signal.kind == NumberKind::Signed ? ", signed," : "") + " is never " + list));
        findings.back().count = count;
    });
}

// Seconds that the shortest frame takes: of CAN 44 bits at 1 Mbit/s, of LIN header and a byte at 20 kbit/s.
double shortestFrame(Bus bus) {
    return bus == Bus::Can ? 44e-6 : bus == Bus::Lin ? 64 / 20e3 : 0.0;
}

void checkCycles(DefinitionSet::File const& file, std::vector<Finding>& findings) {
    for (MessageDefinition const& message : file.database.messages)
        if (message.cycleTime > 0.0 && message.cycleTime < shortestFrame(message.bus))
            findings.push_back(findingOf(CheckKind::Cycle, file, message,
                                         quote(message.name) + ": its cycle time of " + numberText(message.cycleTime) +
                                             " s is shorter than any frame"));
}

constexpr DefinitionCheck checks[] = {checkOverlaps, checkPlaces, checkSelectors, checkIdentifiers,
                                      checkRanges,   checkWords,  checkCycles};

} // namespace

void checkDefinitions(DefinitionSet const& definitions, std::vector<Finding>& findings) {
    for (auto const& file : definitions.files())
        for (DefinitionCheck const check : checks)
            check(*file, findings);
}

} // namespace qztool
