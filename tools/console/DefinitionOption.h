// The options about definition files, the same for all commands that read recordings.
#pragma once

#include "tools/base/ExitStatus.h"
#include "tools/drive/DefinitionSet.h"
#include "tools/drive/SignalSet.h"

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

// Loads all files, also after one that cannot be read; then the result is false.
bool loadDefinitions(DefinitionOptions const& options, DefinitionSet& definitions);

// The exit status if no more can be done with these signals; `exitSuccess` for Ready.
ExitStatus builtStatus(SignalSet::Built built);

} // namespace qztool
