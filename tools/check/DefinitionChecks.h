// Definitions against themselves.
#pragma once

#include "tools/check/Finding.h"

#include <vector>

namespace qztool {

// Appends what is wrong with the loaded definitions, by what they say; problems that kept something from being read
// are not among it (FoundProblems.h).
void checkDefinitions(DefinitionSet const& definitions, std::vector<Finding>& findings);

// The check of one kind, over one file.
using DefinitionCheck = void (*)(DefinitionSet::File const& file, std::vector<Finding>& findings);

void checkOverlaps(DefinitionSet::File const& file, std::vector<Finding>& findings);

} // namespace qztool
