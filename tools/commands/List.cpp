// qzsignal list: the shared signals of this machine.
#include "tools/Subcommand.h"
#include "tools/base/Console.h"
#include "tools/base/ExitStatus.h"
#include "tools/base/Numbers.h"
#include "tools/base/Printable.h"
#include "tools/machine/SharedSignals.h"
#include "tools/machine/SignalReader.h"
#include "tools/machine/StateJson.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <chrono>
#include <iomanip>
#include <memory>
#include <unordered_map>

namespace qztool {

namespace {

constexpr double microsecondsPerSecond = 1e6;

// Seconds since the signal was last written; nothing if it never was, or if its time does not count from 1970, as in
// recordings that count from their own beginning.
std::optional<double> ageOf(SignalState const& state) {
    constexpr double year2000 = 946684800;
    if (!state.value)
        return std::nullopt;
    double const written = static_cast<double>(state.value->timestamp) / microsecondsPerSecond;
    double const now = std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
    if (written < year2000 || written > now)
        return std::nullopt;
    return now - written;
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
    std::ostringstream text;
    text << std::fixed << std::setprecision(1) << *age << " s";
    return text.str();
}

// Columns as wide as their longest entry, the last one as it comes.
void printTable(std::ostream& out, std::vector<std::vector<std::string>> const& rows) {
    std::vector<std::size_t> widths(rows.front().size());
    for (auto const& row : rows)
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], row[i].size());
    for (auto const& row : rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i)
            line += row[i] + (i + 1 < row.size() ? std::string(widths[i] - row[i].size() + 2, ' ') : "");
        out << line << "\n";
    }
    out << std::flush;
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

int run(bool json, Console& console) {
    std::vector<ListedSignal> const signals = sharedSignals();
    reportSharedKeys(signals, console);
    nlohmann::ordered_json array = nlohmann::ordered_json::array();
    std::vector<std::vector<std::string>> rows = {{"NAME", "TYPE", "VALUE", "UNIT", "AGE"}};
    for (ListedSignal const& each : signals) {
        std::optional<SignalState> const state = readSignal(each.instance);
        if (!state)
            continue; // gone in the meantime
        if (state->locked)
            console.warning("'", printable(each.instance), "' is locked by another process, its value is not known");
        std::optional<double> const age = ageOf(*state);
        nlohmann::ordered_json object = toJson(*state);
        rows.push_back({printable(state->instance), object["type"].get<std::string>(),
                        state->value ? numberText(state->value->physical) : "-", printable(state->unit), ageText(age)});
        object["age"] = age ? nlohmann::ordered_json(*age) : nlohmann::ordered_json();
        array.push_back(std::move(object));
    }
    if (json)
        console.results() << jsonText(array) << std::endl;
    else
        printTable(console.results(), rows);
    return exitSuccess;
}

} // namespace

std::function<int()> setUpList(CLI::App& parser, Console& console) {
    auto const json = std::make_shared<bool>(false);
    parser.add_flag("--json", *json,
                    "Print an array of objects: name, type, unit, value, raw, timestamp, age (in seconds)");
    parser.footer("\n"
                  "AGE is the time since the last write, for signals whose times count from 1970.\n"
                  "\nExamples:\n"
                  "  qzsignal list\n"
                  "  qzsignal list --json | jq -r '.[].name'\n");
    return [json, &console] { return run(*json, console); };
}

} // namespace qztool
