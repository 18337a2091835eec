// qzsignal list: the shared signals of this machine.
#include "tools/Subcommand.h"
#include "tools/base/Console.h"
#include "tools/base/ExitStatus.h"
#include "tools/base/Numbers.h"
#include "tools/base/Printable.h"
#include "tools/console/Table.h"
#include "tools/machine/SignalList.h"
#include "tools/machine/StateJson.h"

#include <CLI/CLI.hpp>

#include <array>
#include <cmath>
#include <memory>
#include <unordered_map>

namespace qztool {

namespace {

struct Options {
    std::vector<std::string> patterns;
    std::optional<double> stale;
    bool json = false;
};

// A time in microseconds as a local date, if it can be one, and otherwise in seconds, as it counts from a beginning of
// its own.
std::string timeText(std::uint64_t timestamp) {
    constexpr std::uint64_t second = 1'000'000;
    constexpr std::uint64_t year2000 = 946'684'800 * second;
    constexpr std::uint64_t year2100 = 4'102'444'800 * second;
    if (timestamp < year2000 || timestamp >= year2100)
        return secondsText(timestamp);
    auto const seconds = static_cast<std::time_t>(timestamp / second);
    std::tm date{};
    std::array<char, 32> text{};
    localtime_r(&seconds, &date);
    std::size_t const length = std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S.", &date);
    std::string const milliseconds = std::to_string(timestamp % second / 1000);
    return std::string(text.data(), length) + std::string(3 - milliseconds.size(), '0') + milliseconds;
}

std::string ageText(std::optional<double> const& age) {
    if (!age)
        return "-";
    struct {
        double seconds;
        char const* unit;
    } const units[] = {{86400, " d"}, {3600, " h"}, {60, " min"}};
    for (auto const& each : units)
        if (*age >= each.seconds)
            return std::to_string(static_cast<long long>(*age / each.seconds)) + each.unit;
    auto const tenths = static_cast<long long>(*age * 10);
    return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " s";
}

// Such as "4711 qzsignal replay", or what became of the process that made the signal.
std::string feederText(SignalEntry const& entry) {
    if (entry.orphan)
        return "orphan of " + std::to_string(entry.segment.creator);
    if (!entry.feeder)
        return std::to_string(entry.segment.creator) + (entry.alive ? " (detached)" : " (gone)");
    std::string const command =
        *entry.feeder == entry.segment.creator && entry.alive ? entry.command : commandOf(*entry.feeder);
    return std::to_string(*entry.feeder) + (command.empty() ? "" : " " + printable(command));
}

std::vector<std::string> row(SignalEntry const& entry) {
    SignalState const& state = entry.state;
    return {printable(state.instance),
            typeName(state.type),
            state.value ? numberText(state.value->physical) : "-",
            printable(state.unit),
            state.value ? timeText(state.value->timestamp) : "-",
            ageText(entry.age),
            std::to_string(entry.segment.attached),
            feederText(entry)};
}

nlohmann::ordered_json object(SignalEntry const& entry) {
    nlohmann::ordered_json json = toJson(entry.state);
    json["age"] = entry.age ? nlohmann::ordered_json(*entry.age) : nlohmann::ordered_json();
    json["creator"] = {
        {"pid", entry.segment.creator},
        {"command", entry.command.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(entry.command)},
        {"alive", entry.alive}};
    json["orphan"] = entry.orphan;
    json["attached"] = entry.segment.attached;
    return json;
}

std::string quoted(std::vector<std::string> const& patterns) {
    std::string text;
    for (std::string const& each : patterns)
        text += (text.empty() ? "'" : " or '") + printable(each) + "'";
    return text;
}

void reportSharedKeys(std::vector<ListedSignal> const& signals, Console& console) {
    std::unordered_map<key_t, std::string> names;
    for (ListedSignal const& each : signals) {
        auto const [entry, isNew] = names.try_emplace(each.segment.key, each.instance);
        if (!isNew)
            console.warning("'", printable(entry->second), "' and '", printable(each.instance),
                            "' show one segment, since their key files have the same key");
    }
}

int run(Options const& options, Console& console) {
    std::vector<ListedSignal> const signals = sharedSignals();
    reportSharedKeys(signals, console);
    nlohmann::ordered_json array = nlohmann::ordered_json::array();
    std::vector<std::vector<std::string>> rows = {
        {"NAME", "TYPE", "VALUE", "UNIT", "TIME", "AGE", "ATTACHED", "FED BY"}};
    SignalLister lister;
    bool matched = options.patterns.empty();
    for (ListedSignal const& each : signals) {
        if (!matchesAny(each.instance, options.patterns))
            continue;
        std::optional<SignalEntry> const entry = lister.entry(each);
        if (!entry)
            continue; // gone in the meantime
        matched = true;
        if (entry->state.locked)
            console.warning("'", printable(each.instance), "' is locked by another process, its value is not known");
        if (options.stale && (!entry->age || *entry->age < *options.stale))
            continue;
        if (options.json)
            array.push_back(object(*entry));
        else
            rows.push_back(row(*entry));
    }
    if (options.json)
        console.results() << jsonText(array) << "\n";
    else
        printTable(console.results(), rows, terminalWidth());
    if (!matched)
        console.error("no signal matches ", quoted(options.patterns));
    return matched ? exitSuccess : exitNotThere;
}

} // namespace

std::function<int()> setUpList(CLI::App& parser, Console& console) {
    auto const options = std::make_shared<Options>();
    parser
        .add_option("GLOB", options->patterns,
                    "Only signals whose names match one of the patterns; quote them for the shell")
        ->type_name("");
    parser.add_option("--stale", options->stale, "Only signals that were written last at least so long ago")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, 1e12).description(""));
    parser.add_flag("--json", options->json,
                    "Print an array of objects: name, type, unit, value, raw, timestamp, age (in seconds), creator "
                    "(pid, command, alive), orphan, attached");
    parser.footer(
        "\n"
        "TIME is the recorded time of the value: a local date, or seconds where it counts from a beginning of\n"
        "its own. AGE is the time since then, where it is a time of this machine's clock. ATTACHED counts\n"
        "processes. An orphan is what a process that is gone left; see qzsignal clean.\n"
        "\nExamples:\n"
        "  qzsignal list\n"
        "  qzsignal list 'Engine.*' --stale 5\n"
        "  qzsignal list --json | jq -r '.[].name'\n");
    return [options, &console] { return run(*options, console); };
}

} // namespace qztool
