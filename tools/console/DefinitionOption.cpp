// Help and rules of --definitions.
#include "tools/console/DefinitionOption.h"

#include <CLI/CLI.hpp>

namespace qztool {

void addDefinitionOptions(CLI::App& parser, DefinitionOptions& options) {
    parser
        .add_option(
            "-d,--definitions,--dbc", options.files,
            "Definition file, whose format is detected from its content. CHANNEL (a number, or an interface such as "
            "can0) restricts it to one channel of the recording; a file without one serves the first channel "
            "on which one of its frames is seen, out of those that have no file of their own. May be given "
            "more than once")
        ->type_name("[CHANNEL:]FILE")
        ->required()
        ->allow_extra_args(false); // what follows its file may be the recording
    parser.add_flag("--quiet", options.quiet, "Do not print warnings about definition files");
    parser.add_flag(
        "--j1939", options.decoding.byParameterGroup,
        "Match all frames with identifiers of 29 bits by their J1939 parameter group, also if the definition "
        "files do not say so. The first source address has the plain names, further ones are called "
        "Message_SA0B.Signal");
    parser.add_flag("--channel-prefix", options.decoding.channelPrefix,
                    "Put the channel before each name, as in can0.Message.Signal, so that a file serves all channels");
}

bool loadDefinitions(DefinitionOptions const& options, DefinitionSet& definitions) {
    bool allLoaded = true;
    for (std::string const& definition : options.files)
        allLoaded = definitions.load(parseDefinitionFile(definition)) && allLoaded;
    return allLoaded;
}

ExitStatus builtStatus(SignalSet::Built built) {
    switch (built) {
    case SignalSet::Built::Ready:
        return exitSuccess;
    case SignalSet::Built::BadFiles:
        return exitBadData;
    case SignalSet::Built::NoMatch:
        return exitNotThere;
    case SignalSet::Built::NotFree:
        return exitFedByOther;
    default:
        return exitNothingUsable;
    }
}

} // namespace qztool
