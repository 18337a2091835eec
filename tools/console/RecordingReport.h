// Reports what was wrong with a recording.
#pragma once

#include "tools/base/Console.h"
#include "tools/base/ExitStatus.h"
#include "tools/drive/Drive.h"

#include <string>

namespace qztool {

// Reports what was wrong with a recording that was read to its end, or until a stop was requested. Returns the exit
// status that it gives: `exitSuccess` if frames could be read and nothing kept the reader from reading on.
ExitStatus report(Drive const& drive, std::string const& path, Console& console);

} // namespace qztool
