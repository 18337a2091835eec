// Which definition files fit a recording, as the command prints it.
#pragma once

#include "tools/base/Console.h"
#include "tools/base/ExitStatus.h"

#include <string>
#include <vector>

namespace qztool {

// Ranks definition files, and all files below folders, by the recording, and prints a line for each, or an array of
// objects: file, frames and identifiers (shares from 0 to 1), messages (that the file defines). Files that cannot be
// ranked are reported. The status is 1 if no file defines a frame of the recording, 69 if the recording or all files
// are not there, 65 if the recording is damaged throughout.
ExitStatus printFits(std::vector<std::string> const& paths, std::string const& trace, bool json, Console& console);

} // namespace qztool
