// Definitions against the frames of a recording.
#pragma once

#include "tools/check/Traffic.h"

#include <string>
#include <vector>

namespace qztool {

// Appends what is wrong with identifiers, lengths and times; messages that are not there as well. `trace` is the
// recording's name.
void checkTraffic(Traffic const& traffic, std::string const& trace, std::vector<Finding>& findings);

} // namespace qztool
