// qzsignal signals: what definition files hold.
#include "tools/Subcommand.h"
#include "tools/base/Console.h"
#include "tools/base/ExitStatus.h"
#include "tools/commands/Fits.h"
#include "tools/console/ConsoleReporter.h"
#include "tools/console/DefinitionOption.h"
#include "tools/console/Table.h"
#include "tools/drive/DefinitionSet.h"
#include "tools/drive/SignalSet.h"
#include "tools/machine/StateJson.h"
#include "tools/signals/SignalListing.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <string>
#include <vector>

namespace qztool {

namespace {

struct Options {
    DefinitionOptions definitions;
    std::vector<std::string> patterns;
    bool json = false;
    std::string fits; // a recording; empty: none
};

// The patterns, and the signals whose own name one of them is.
std::vector<std::string> withOwnNames(std::vector<std::string> patterns, DefinitionSet const& definitions) {
    for (std::size_t i = 0, given = patterns.size(); i < given; ++i)
        for (std::string& meant : definitions.meantBy(patterns[i]))
            patterns.push_back(std::move(meant));
    return patterns;
}

void print(std::vector<ListedSignalDefinition> const& signals, bool json, std::ostream& out) {
    if (!json)
        return printTable(out, tableOf(signals), terminalWidth());
    nlohmann::ordered_json array = nlohmann::ordered_json::array();
    for (ListedSignalDefinition const& signal : signals)
        array.push_back(toJson(signal));
    out << jsonText(array) << std::endl;
}

int run(Options const& options, Console& console) {
    if (!options.fits.empty())
        return printFits(options.definitions.files, options.fits, options.json, console);
    ConsoleReporter reporter(console, options.definitions.quiet);
    DefinitionSet definitions(reporter, options.definitions.decoding);
    if (!loadDefinitions(options.definitions, definitions))
        return exitNotThere;
    CurrentFrame frame;
    SignalSet signals(definitions, frame, reporter);
    ExitStatus const built = builtStatus(signals.build(withOwnNames(options.patterns, definitions)));
    if (built != exitSuccess)
        return built;
    print(listSignals(definitions, signals), options.json, console.results());
    return exitSuccess;
}

} // namespace

std::function<int()> setUpSignals(CLI::App& parser, Console& console) {
    auto const options = std::make_shared<Options>();
    addDefinitionOptions(parser, options->definitions);
    parser.add_flag("--json", options->json,
                    "Print an array of objects: name, original, bus, channel, id, extended, startBit, bits, byteOrder, "
                    "type, scale, offset, unit, minimum, maximum, cycleTime, multiplexor, words, file, line");
    CLI::Option* const fits =
        parser
            .add_option("--fits", options->fits,
                        "Say which of the definition files fit this recording, the best one first, with the shares of "
                        "its frames and identifiers that they define; a FILE may then be a folder, of which all files "
                        "are read. With --json: file, frames, identifiers (shares from 0 to 1), messages")
            ->type_name("TRACE");
    parser
        .add_option("GLOB", options->patterns,
                    "List only signals whose name (Message.Signal), its spelling in the file, or the signal's own name "
                    "matches")
        ->type_name("")
        ->excludes(fits);
    parser.footer(std::string("\n"
                              "A line that is too long for a terminal ends with an ellipsis; elsewhere, lines are "
                              "whole.\n\n") +
                  exitStatusHelp +
                  "\nExamples:\n"
                  "  qzsignal signals -d car.dbc\n"
                  "  qzsignal signals -d car.dbc 'Engine.*'\n"
                  "  qzsignal signals -d definitions/ --fits drive.log\n"
                  "  qzsignal signals -d car.dbc --json | jq -r '.[].name'\n");
    return [options, &console] { return run(*options, console); };
}

} // namespace qztool
