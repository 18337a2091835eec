// A drive as one HTML file that needs nothing else.
#pragma once

#include "tools/plot/PlottedDrive.h"

#include <ostream>

namespace qztool {

// False if the build had no library that draws the page.
bool canWritePlotPage();

// Writes the page. Every value is in it; what is drawn is reduced by the page itself, to what its pixels can show.
void writePlotPage(std::ostream& out, PlottedDrive const& drive);

} // namespace qztool
