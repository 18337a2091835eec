// Frames as candump's log format has them.
#pragma once

#include "tools/recordings/Frame.h"

#include <string>

namespace qztool {

// Appends the line, with its end, such as "(1757617431.821276) can0 167#727FC3000019E500". The interface is called
// after the channel; the direction is not written. False: it cannot hold the frame, as it is not of CAN.
bool appendCandumpLine(Frame const& frame, std::string& text);

} // namespace qztool
