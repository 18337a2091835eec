// The options about definition files, the same for all commands that read recordings.
#pragma once

#include "tools/drive/DefinitionSet.h"

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace qztool {

struct DefinitionOptions {
    std::vector<std::string> files; // each for `parseDefinitionFile`
    bool quiet = false;             // no warnings about them
    Decoding decoding;
};

// Adds --definitions, which has --dbc as another name, --quiet, --j1939 and --channel-prefix.
void addDefinitionOptions(CLI::App& parser, DefinitionOptions& options);

} // namespace qztool
