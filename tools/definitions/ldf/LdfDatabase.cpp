// Frames and signals, encodings, event-triggered frames and cycle times of LIN description files.
#include "tools/definitions/ldf/LdfDatabase.h"

#include "tools/definitions/ProblemText.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace qztool {

namespace {

constexpr std::uint64_t highestIdentifier = 63;
constexpr std::uint64_t mostBytes = 8;

// Of frames for which the file states none.
unsigned impliedLength(std::uint64_t identifier) {
    return identifier < 32 ? 2 : identifier < 48 ? 4 : 8;
}

std::string lineText(std::size_t line) {
    return "line " + std::to_string(line);
}

class Builder {
public:
    Builder(LdfFile&& file, std::vector<Problem>&& problems)
        : d_file(std::move(file)), d_problems(std::move(problems)) {}

    Database build() {
        d_database.channels.front().name = d_file.channelName;
        fileSignals();
        fileEncodings();
        joinRepresentations();
        for (LdfFrame const& frame : d_file.frames)
            addFrame(frame);
        reportUnusedSignals();
        joinEventFrames();
        joinTables();
        // Sections may come in any order.
        std::stable_sort(d_database.messages.begin(), d_database.messages.end(),
                         [](MessageDefinition const& a, MessageDefinition const& b) { return a.line < b.line; });
        std::stable_sort(d_problems.begin(), d_problems.end(),
                         [](Problem const& a, Problem const& b) { return a.line < b.line; });
        d_database.problems = std::move(d_problems);
        return std::move(d_database);
    }

private:
    struct Signal {
        LdfSignal const* statement = nullptr;
        LdfEncoding const* encoding = nullptr;
        std::size_t representationLine = 0;
        bool used = false;
    };

    void report(std::size_t line, Severity severity, std::string text, ProblemKind kind = ProblemKind::Other) {
        d_problems.push_back({line, severity, std::move(text), kind});
    }

    void leaveOut(std::size_t line, std::string const& text, ProblemKind kind = ProblemKind::Other) {
        report(line, Severity::Error, text + "; left out", kind);
    }

    bool isLeftOut(std::string_view name) const { return d_file.leftOut.count(name) != 0; }

    void fileSignals() {
        for (LdfSignal const& signal : d_file.signals) {
            auto const other = d_signals.find(signal.name);
            if (other != d_signals.end()) {
                leaveOut(signal.line,
                         "signal " + quote(signal.name) + ": duplicate signal name, first defined on " +
                             lineText(other->second.statement->line),
                         ProblemKind::Duplicate);
            } else if (signal.bits == 0 || signal.bits > 64) {
                leaveOut(signal.line, "signal " + quote(signal.name) + ": it has " + std::to_string(signal.bits) +
                                          " bits, but a signal has 1 to 64");
                d_file.leftOut.insert(signal.name);
            } else {
                d_signals[signal.name].statement = &signal;
            }
        }
    }

    void fileEncodings() {
        for (LdfEncoding const& encoding : d_file.encodings) {
            auto const [other, isNew] = d_encodings.emplace(encoding.name, &encoding);
            if (!isNew) {
                leaveOut(encoding.line,
                         "encoding " + quote(encoding.name) + ": duplicate encoding name, first defined on " +
                             lineText(other->second->line),
                         ProblemKind::Duplicate);
                continue;
            }
            reportFurtherRanges(encoding);
        }
    }

    // One signal has one factor and one offset.
    void reportFurtherRanges(LdfEncoding const& encoding) {
        for (LdfRange const& range : encoding.ranges) {
            LdfRange const& first = encoding.ranges.front();
            if (range.factor != first.factor || range.offset != first.offset) {
                leaveOut(range.line, "encoding " + quote(encoding.name) + ": the range from " +
                                         std::to_string(range.first) + " to " + std::to_string(range.last) +
                                         " is scaled differently from the first one, on " + lineText(first.line));
            }
        }
    }

    void joinRepresentations() {
        for (LdfRepresentation const& representation : d_file.representations) {
            const std::string label = "representation " + quote(representation.encoding);
            auto const encoding = d_encodings.find(representation.encoding);
            if (encoding == d_encodings.end()) {
                if (!isLeftOut(representation.encoding))
                    leaveOut(representation.line, label + ": there is no encoding of this name");
                continue;
            }
            for (std::string_view const name : representation.signals) {
                auto const signal = d_signals.find(name);
                if (signal == d_signals.end()) {
                    if (!isLeftOut(name))
                        leaveOut(representation.line, label + ": there is no signal " + quote(name));
                } else if (signal->second.encoding != nullptr) {
                    leaveOut(representation.line, label + ": signal " + quote(name) + " has an encoding from " +
                                                      lineText(signal->second.representationLine));
                } else {
                    signal->second.encoding = encoding->second;
                    signal->second.representationLine = representation.line;
                }
            }
        }
    }

    void addFrame(LdfFrame const& frame) {
        const std::string label = "frame " + quote(frame.name) + ": ";
        auto const other = d_frames.find(frame.name);
        std::string cause;
        if (other != d_frames.end()) {
            cause = "duplicate frame name, first defined on " + lineText(d_database.messages[other->second].line);
        } else if (frame.identifier > highestIdentifier) {
            cause = "the identifier " + std::to_string(frame.identifier) + " is above 63";
            d_file.leftOut.insert(frame.name);
        } else if (frame.length && (*frame.length == 0 || *frame.length > mostBytes)) {
            cause = "it has " + std::to_string(*frame.length) + " bytes, but a frame has 1 to 8";
            d_file.leftOut.insert(frame.name);
        }
        if (!cause.empty()) {
            leaveOut(frame.line, label + cause, other != d_frames.end() ? ProblemKind::Duplicate : ProblemKind::Other);
            markUsed(frame);
            return;
        }
        auto const address = static_cast<std::uint32_t>(frame.identifier);
        auto const sameIdentifier = d_frameOfIdentifier.emplace(address, d_database.messages.size());
        if (!sameIdentifier.second) {
            MessageDefinition const& first = d_database.messages[sameIdentifier.first->second];
            report(frame.line, Severity::Warning,
                   label + "frame " + quote(first.name) + " on " + lineText(first.line) +
                       " has the same identifier; both are kept",
                   ProblemKind::Duplicate);
        }
        d_frames.emplace(frame.name, d_database.messages.size());
        MessageDefinition& message = d_database.messages.emplace_back();
        message.bus = Bus::Lin;
        message.address = address;
        message.name = frame.name;
        message.line = frame.line;
        message.length = frame.length ? static_cast<unsigned>(*frame.length) : impliedLength(frame.identifier);
        std::unordered_map<std::string_view, std::size_t> lines;
        for (LdfPlace const& place : frame.places)
            addSignal(place, message, lines);
    }

    // What a frame that is left out carries is not reported a second time.
    void markUsed(LdfFrame const& frame) {
        for (LdfPlace const& place : frame.places) {
            auto const signal = d_signals.find(place.signal);
            if (signal != d_signals.end())
                signal->second.used = true;
        }
    }

    void addSignal(LdfPlace const& place, MessageDefinition& message,
                   std::unordered_map<std::string_view, std::size_t>& lines) {
        const std::string label = "frame " + quote(message.name) + ", signal " + quote(place.signal) + ": ";
        auto const found = d_signals.find(place.signal);
        if (found == d_signals.end()) {
            if (!isLeftOut(place.signal))
                leaveOut(place.line, label + "there is no signal of this name");
            return;
        }
        found->second.used = true;
        LdfSignal const& signal = *found->second.statement;
        if (place.offset >= mostBytes * 8 || place.offset + signal.bits > mostBytes * 8) {
            leaveOut(place.line, label + "it reaches beyond the eight bytes of a LIN frame", ProblemKind::Outside);
            return;
        }
        auto const [other, isNew] = lines.emplace(place.signal, place.line);
        if (!isNew) {
            leaveOut(place.line, label + "the frame carries it already, from " + lineText(other->second),
                     ProblemKind::Duplicate);
            return;
        }
        if (place.offset + signal.bits > std::uint64_t{message.length} * 8) {
            report(place.line, Severity::Warning,
                   label + "it reaches beyond the " + std::to_string(message.length) +
                       (message.length == 1 ? " byte" : " bytes") + " of the frame",
                   ProblemKind::Outside);
        }
        SignalDefinition& definition = message.signals.emplace_back();
        definition.name = place.signal;
        definition.line = place.line;
        definition.startBit = static_cast<unsigned>(place.offset);
        definition.bits = static_cast<unsigned>(signal.bits);
        if (found->second.encoding != nullptr)
            encode(*found->second.encoding, definition);
    }

    static void encode(LdfEncoding const& encoding, SignalDefinition& definition) {
        for (LdfWord const& word : encoding.words)
            definition.values.push_back({static_cast<std::int64_t>(word.value), std::string(word.text)});
        if (encoding.ranges.empty())
            return;
        LdfRange const& first = encoding.ranges.front();
        std::uint64_t lowest = first.first;
        std::uint64_t highest = first.last;
        for (LdfRange const& range : encoding.ranges) {
            if (range.factor == first.factor && range.offset == first.offset) {
                lowest = std::min(lowest, range.first);
                highest = std::max(highest, range.last);
            }
        }
        definition.factor = first.factor;
        definition.offset = first.offset;
        definition.unit = first.unit;
        double const one = static_cast<double>(lowest) * first.factor + first.offset;
        double const other = static_cast<double>(highest) * first.factor + first.offset;
        if (std::isfinite(one) && std::isfinite(other)) {
            definition.minimum = std::min(one, other);
            definition.maximum = std::max(one, other);
        }
    }

    void reportUnusedSignals() {
        for (LdfSignal const& signal : d_file.signals) {
            auto const found = d_signals.find(signal.name);
            if (found != d_signals.end() && found->second.statement == &signal && !found->second.used)
                leaveOut(signal.line, "signal " + quote(signal.name) + ": no frame carries it");
        }
    }

    void joinEventFrames() {
        for (LdfEventFrame const& event : d_file.eventFrames) {
            const std::string label = "event-triggered frame " + quote(event.name) + ": ";
            if (event.identifier > highestIdentifier) {
                leaveOut(event.line, label + "the identifier " + std::to_string(event.identifier) + " is above 63");
                continue;
            }
            for (std::string_view const name : event.frames) {
                auto const frame = d_frames.find(name);
                if (frame != d_frames.end()) {
                    addEvent(d_database.messages[frame->second].eventTriggered,
                             static_cast<std::uint32_t>(event.identifier));
                } else if (!isLeftOut(name)) {
                    leaveOut(event.line, label + "there is no frame " + quote(name));
                }
            }
        }
    }

    static void addEvent(std::vector<std::uint32_t>& events, std::uint32_t identifier) {
        if (std::find(events.begin(), events.end(), identifier) == events.end())
            events.push_back(identifier);
    }

    // A table repeats as a whole while it is active. Tables that resolve collisions run once after each collision, so
    // they say nothing about cycles.
    void joinTables() {
        std::unordered_set<std::string_view> withoutCycle;
        std::unordered_set<std::string_view> others(d_file.sporadicFrames.begin(), d_file.sporadicFrames.end());
        others.insert({"MasterReq", "SlaveResp"}); // may be scheduled without being defined
        for (LdfEventFrame const& event : d_file.eventFrames) {
            withoutCycle.insert(event.collisionTable);
            others.insert(event.name);
        }
        for (LdfTable const& table : d_file.tables) {
            double total = 0.0;
            std::unordered_map<std::size_t, unsigned> counts; // by index of the frame
            for (LdfSlot const& slot : table.slots) {
                total += slot.delay;
                auto const frame = d_frames.find(slot.frame);
                if (frame != d_frames.end()) {
                    ++counts[frame->second];
                } else if (!slot.frame.empty() && others.count(slot.frame) == 0 && !isLeftOut(slot.frame)) {
                    leaveOut(slot.line,
                             "schedule table " + quote(table.name) + ": there is no frame " + quote(slot.frame));
                }
            }
            if (!table.complete || withoutCycle.count(table.name) != 0)
                continue;
            for (auto const& [index, count] : counts) {
                double const cycle = total / count / 1000.0;
                double& shortest = d_database.messages[index].cycleTime;
                if (cycle > 0.0 && std::isfinite(cycle) && (shortest == 0.0 || cycle < shortest))
                    shortest = cycle;
            }
        }
    }

    LdfFile d_file;
    std::vector<Problem> d_problems;
    Database d_database;
    std::unordered_map<std::string_view, Signal> d_signals;
    std::unordered_map<std::string_view, LdfEncoding const*> d_encodings;
    std::unordered_map<std::string_view, std::size_t> d_frames; // index of the message
    std::unordered_map<std::uint32_t, std::size_t> d_frameOfIdentifier;
};

} // namespace

Database makeLdfDatabase(LdfFile&& file, std::vector<Problem>&& problems) {
    return Builder(std::move(file), std::move(problems)).build();
}

} // namespace qztool
