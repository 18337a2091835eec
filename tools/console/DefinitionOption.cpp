// Help and rules of --dbc.
#include "tools/console/DefinitionOption.h"

#include <CLI/CLI.hpp>

namespace qztool {

void addDefinitionOption(CLI::App& parser, std::vector<std::string>& definitions) {
    parser
        .add_option(
            "--dbc", definitions,
            "Definitions in the DBC format. CHANNEL (a number, or an interface such as can0) restricts a file to "
            "one channel of the recording; a file without one serves all channels that have no file of their "
            "own. May be given more than once")
        ->type_name("[CHANNEL:]FILE")
        ->required()
        ->allow_extra_args(false); // what follows its file may be the recording
}

} // namespace qztool
