// The option that names definition files, the same for all commands that read recordings.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace qztool {

// Adds --dbc. Each argument is for `parseDefinitionFile`.
void addDefinitionOption(CLI::App& parser, std::vector<std::string>& definitions);

} // namespace qztool
