// What to say of a shared signal that is not there.
#pragma once

#include "tools/base/Console.h"

#include <string>

namespace qztool {

// Reports that there is no such signal, with the name that may have been meant.
void reportMissing(std::string const& name, Console& console);

} // namespace qztool
