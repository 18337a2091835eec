// Reports what was wrong with a recording.
#pragma once

#include "tools/base/Console.h"
#include "tools/base/ExitStatus.h"
#include "tools/console/RecordingOption.h"
#include "tools/drive/DefinitionSet.h"
#include "tools/drive/Drive.h"

#include <string>

namespace qztool {

// Reports what was wrong with a recording that was read to its end, or until a stop was requested. Returns the exit
// status that it gives: `exitSuccess` if frames of messages that are defined could be read, and nothing kept the reader
// from reading on.
ExitStatus report(Drive const& drive, UnfedFrames const& unfed, RecordingOptions const& options, Console& console);

// Places in a recording, such as "x.log:3, 17-20" or "x.blf: object 3".
std::string placesText(RecordingReader const& recording, std::string const& path, std::string const& places);

// So many identifiers that are not defined are listed.
constexpr std::size_t mostIdentifiers = 10;

} // namespace qztool
