// A drive as a still picture.
#pragma once

#include "tools/plot/PlottedDrive.h"

#include <ostream>

namespace qztool {

// Writes an SVG picture: a lane for each unit, marks shaded. Where there are more values than pixels, the lowest and
// the highest of each pixel are drawn.
void writePlotPicture(std::ostream& out, PlottedDrive const& drive);

} // namespace qztool
