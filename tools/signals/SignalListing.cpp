// Order, fields and cells.
#include "tools/signals/SignalListing.h"

#include "tools/base/NumberText.h"
#include "tools/base/Printable.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <unordered_set>

namespace qztool {

namespace {

char const* typeName(NumberKind kind) {
    switch (kind) {
    case NumberKind::Unsigned:
        return "unsigned";
    case NumberKind::Signed:
        return "signed";
    case NumberKind::Float:
        return "float";
    case NumberKind::Double:
        return "double";
    }
    return "";
}

std::string shortest(double number) {
    char text[longestNumber];
    return std::string(text, writeDouble(text, number));
}

bool hasRange(SignalDefinition const& signal) {
    return signal.minimum != 0 || signal.maximum != 0;
}

// Of the value of a word: only an unsigned signal of 64 bits has values beyond the range of the type.
std::string rawText(SignalDefinition const& signal, std::int64_t value) {
    bool const isPattern = signal.kind == NumberKind::Unsigned && signal.bits == 64;
    return isPattern ? std::to_string(static_cast<std::uint64_t>(value)) : std::to_string(value);
}

// In order of the values; of several words for one, the last counts.
std::map<std::int64_t, std::string> wordsOf(SignalDefinition const& signal) {
    std::map<std::int64_t, std::string> words;
    for (ValueText const& each : signal.values)
        words[each.value] = each.text;
    return words;
}

// The name of the multiplexor, or its own one in the file if it is left out itself.
std::string multiplexorName(ListedSignalDefinition const& signal) {
    std::size_t const above = *signal.definition().multiplexor;
    std::string const& instance = signal.file->instances[signal.message][above];
    return instance.empty() ? signal.messageDefinition().signals[above].name : instance;
}

std::string rangesText(std::vector<SelectorRange> const& ranges) {
    std::string text;
    for (SelectorRange const& range : ranges) {
        text += (text.empty() ? "" : ",") + std::to_string(range.first);
        if (range.last != range.first)
            text += "-" + std::to_string(range.last);
    }
    return text;
}

std::string identifierText(MessageDefinition const& message) {
    char text[32];
    if (message.bus == Bus::Can)
        std::snprintf(text, sizeof text, "%0*lX", message.extended ? 8 : 3,
                      static_cast<unsigned long>(message.address));
    else
        std::snprintf(text, sizeof text, "%s %lu", busName(message.bus), static_cast<unsigned long>(message.address));
    return text;
}

std::string wordsText(SignalDefinition const& signal) {
    std::string text;
    for (auto const& [value, word] : wordsOf(signal))
        text += (text.empty() ? "" : ", ") + rawText(signal, value) + "=" + word;
    return text;
}

using Row = std::vector<std::string>;

Row headings() {
    return {"NAME",  "ID",     "UNIT",  "START", "BITS", "ORDER",    "TYPE",
            "SCALE", "OFFSET", "RANGE", "CYCLE", "WHEN", "ORIGINAL", "WORDS"};
}

Row rowOf(ListedSignalDefinition const& listed) {
    SignalDefinition const& signal = listed.definition();
    MessageDefinition const& message = listed.messageDefinition();
    return {printable(listed.name()),
            identifierText(message),
            printable(signal.unit),
            std::to_string(signal.startBit),
            std::to_string(signal.bits),
            signal.bigEndian ? "big" : "little",
            typeName(signal.kind),
            shortest(signal.factor),
            shortest(signal.offset),
            hasRange(signal) ? shortest(signal.minimum) + ".." + shortest(signal.maximum) : "",
            message.cycleTime != 0 ? shortest(message.cycleTime) + " s" : "",
            signal.multiplexor ? printable(multiplexorName(listed)) + "=" + rangesText(signal.selectedBy) : "",
            listed.original != listed.name() ? printable(listed.original) : "",
            printable(wordsText(signal))};
}

} // namespace

std::vector<ListedSignalDefinition> listSignals(DefinitionSet const& definitions, SignalSet const& signals) {
    std::unordered_set<std::string> wanted;
    for (auto const& signal : signals.signals())
        if (signal->isWanted())
            wanted.insert(signal->instance());
    std::vector<ListedSignalDefinition> result;
    for (auto const& file : definitions.files())
        for (std::size_t message = 0; message < file->instances.size(); ++message) {
            auto const first = static_cast<std::ptrdiff_t>(result.size());
            for (std::size_t signal = 0; signal < file->instances[message].size(); ++signal)
                if (std::string const& name = file->instances[message][signal]; wanted.count(name) != 0)
                    result.push_back({file.get(), message, signal, definitions.originalOf(name)});
            // A multiplexor was moved before the signals that it selects.
            std::stable_sort(result.begin() + first, result.end(),
                             [](auto const& a, auto const& b) { return a.definition().line < b.definition().line; });
        }
    return result;
}

nlohmann::ordered_json toJson(ListedSignalDefinition const& listed) {
    SignalDefinition const& signal = listed.definition();
    MessageDefinition const& message = listed.messageDefinition();
    Network const& network = *listed.file->networks[message.channel];
    nlohmann::ordered_json json;
    json["name"] = listed.name();
    json["original"] = listed.original;
    json["bus"] = busName(message.bus);
    json["channel"] = nullptr;
    if (network.isRestricted)
        json["channel"] = *network.channel;
    json["id"] = message.address;
    json["extended"] = message.extended;
    json["startBit"] = signal.startBit;
    json["bits"] = signal.bits;
    json["byteOrder"] = signal.bigEndian ? "big" : "little";
    json["type"] = typeName(signal.kind);
    json["scale"] = signal.factor;
    json["offset"] = signal.offset;
    json["unit"] = signal.unit;
    json["minimum"] = nullptr;
    json["maximum"] = nullptr;
    if (hasRange(signal)) {
        json["minimum"] = signal.minimum;
        json["maximum"] = signal.maximum;
    }
    json["cycleTime"] = nullptr;
    if (message.cycleTime != 0)
        json["cycleTime"] = message.cycleTime;
    json["multiplexor"] = nullptr;
    if (signal.multiplexor) {
        json["multiplexor"] = {{"name", multiplexorName(listed)}, {"ranges", nlohmann::ordered_json::array()}};
        for (SelectorRange const& range : signal.selectedBy)
            json["multiplexor"]["ranges"].push_back(nlohmann::ordered_json::array({range.first, range.last}));
    }
    json["words"] = nlohmann::ordered_json::object();
    for (auto const& [value, word] : wordsOf(signal))
        json["words"][rawText(signal, value)] = word;
    json["file"] = listed.file->path;
    json["line"] = signal.line;
    return json;
}

std::vector<Row> tableOf(std::vector<ListedSignalDefinition> const& signals) {
    std::vector<Row> rows;
    rows.reserve(signals.size());
    for (ListedSignalDefinition const& signal : signals)
        rows.push_back(rowOf(signal));
    Row const titles = headings();
    std::vector<Row> table(rows.size() + 1);
    for (std::size_t i = 0; i < titles.size(); ++i) {
        if (std::all_of(rows.begin(), rows.end(), [i](Row const& row) { return row[i].empty(); }))
            continue;
        table.front().push_back(titles[i]);
        for (std::size_t j = 0; j < rows.size(); ++j)
            table[j + 1].push_back(rows[j][i]);
    }
    return table;
}

} // namespace qztool
