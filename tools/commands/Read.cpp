// qzsignal read: prints the values of shared signals.
#include "tools/Subcommand.h"
#include "tools/base/Console.h"
#include "tools/base/ExitStatus.h"
#include "tools/base/Numbers.h"
#include "tools/base/Printable.h"
#include "tools/machine/MissingSignal.h"
#include "tools/machine/SignalReader.h"
#include "tools/machine/StateJson.h"
#include "tools/machine/ValueTexts.h"

#include <CLI/CLI.hpp>

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace qztool {

namespace {

struct Options {
    std::vector<std::string> names;
    std::vector<std::string> definitions;
    bool json = false;
    double wait = 0;
};

using Clock = std::chrono::steady_clock;

// Waits until the signal is there, can be read and holds a value, or time is up.
std::optional<SignalState> readUntil(std::string const& name, Clock::time_point deadline) {
    constexpr auto interval = std::chrono::milliseconds(20);
    for (;;) {
        std::optional<SignalState> state = readSignal(name);
        if ((state && state->value) || Clock::now() >= deadline)
            return state;
        std::this_thread::sleep_for(std::min<Clock::duration>(interval, deadline - Clock::now()));
    }
}

std::string text(SignalState const& state, std::string const& word) {
    if (!state.value)
        return state.instance + " = - (no value yet)";
    SignalValue const& value = *state.value;
    return state.instance + " = " + numberText(value.physical) +
           (state.unit.empty() ? "" : " " + printable(state.unit)) + (word.empty() ? "" : " '" + word + "'") +
           " (raw " + rawText(value.raw, state.type) + ", timestamp " + std::to_string(value.timestamp) + ")";
}

int run(Options const& options, Console& console) {
    auto const deadline =
        Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(options.wait));
    nlohmann::ordered_json json = nlohmann::ordered_json::array();
    int status = exitSuccess;
    ValueTexts words;
    for (std::string const& definition : options.definitions)
        if (!words.load(definition, console))
            status = exitNothingUsable;
    for (std::string const& name : options.names) {
        std::optional<SignalState> const state = readUntil(name, deadline);
        if (!state) {
            reportMissing(name, console);
            status = exitNotThere;
        } else if (state->locked) {
            console.error("'", name, "' is locked by another process, its value is not known");
            status = exitNotThere;
        } else if (options.json) {
            json.push_back(toJson(*state));
            if (!options.definitions.empty())
                json.back()["text"] = words.text(*state);
        } else {
            console.results() << text(*state, words.text(*state)) << std::endl;
        }
    }
    if (options.json)
        console.results() << jsonText(json) << std::endl;
    return status;
}

} // namespace

std::function<int()> setUpRead(CLI::App& parser, Console& console) {
    auto const options = std::make_shared<Options>();
    parser.add_option("NAME", options->names, "Names of shared signals")->type_name("")->required();
    parser.add_flag("--json", options->json, "Print an array of objects: name, type, unit, value, raw, timestamp");
    parser
        .add_option("--dbc", options->definitions,
                    "Definition file whose value tables give words for values; in JSON they are called text. May be "
                    "given more than once")
        ->type_name("FILE")
        ->allow_extra_args(false); // what follows its file is a name
    parser.add_option("--wait", options->wait, "Wait this long for signals that are not there or hold no value yet")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, 1e6).description(""));
    parser.footer(std::string("\n") + exitStatusHelp +
                  "\nExamples:\n"
                  "  qzsignal read Engine.Speed\n"
                  "  qzsignal read Transmission.Gear --dbc car.dbc\n"
                  "  qzsignal read Engine.Speed Brakes.Pressure --json --wait 10\n");
    return [options, &console] { return run(*options, console); };
}

} // namespace qztool
