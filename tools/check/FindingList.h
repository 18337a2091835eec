// Findings as they are listed.
#pragma once

#include "tools/check/Finding.h"

#include <vector>

namespace qztool {

// Sorts by kind; within one by file, in the order in which the files were loaded, and line. Identifiers that are not
// defined stay as they are: the most frequent first.
void sortFindings(std::vector<Finding>& findings, DefinitionSet const& definitions);

} // namespace qztool
