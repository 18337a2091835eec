// The options about definition files, the same for all commands that read recordings.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace qztool {

struct DefinitionOptions {
    std::vector<std::string> files; // each for `parseDefinitionFile`
    bool quiet = false;             // no warnings about them
};

// Adds --definitions, which has --dbc as another name, and --quiet.
void addDefinitionOptions(CLI::App& parser, DefinitionOptions& options);

} // namespace qztool
