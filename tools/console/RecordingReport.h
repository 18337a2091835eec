// Reports what was wrong with a recording.
#pragma once

#include "tools/base/Console.h"
#include "tools/base/ExitStatus.h"
#include "tools/drive/DefinitionSet.h"
#include "tools/drive/Drive.h"

#include <string>

namespace qztool {

// Reports what was wrong with a recording that was read to its end, or until a stop was requested. Returns the exit
// status that it gives: `exitSuccess` if frames of messages that are defined could be read, and nothing kept the reader
// from reading on.
ExitStatus report(Drive const& drive, UnfedFrames const& unfed, std::string const& path, Console& console);

// So many identifiers that are not defined are listed.
constexpr std::size_t mostIdentifiers = 10;

} // namespace qztool
