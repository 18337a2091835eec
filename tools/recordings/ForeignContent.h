// Files that are handed over by mistake.
#pragma once

#include <string_view>

namespace qztool {

// What a file is that begins so, and what to do, such as "it is an MDF measurement; export it as BLF or ASC"; null: it
// may be a recording in a format of lines.
char const* foreignContent(std::string_view bytes);

// The same for a first line that belongs to no format of lines.
char const* foreignLine(std::string_view line);

} // namespace qztool
