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
}

} // namespace qztool
