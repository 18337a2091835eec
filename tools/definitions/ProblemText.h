// Pieces of a definition file inside problem texts.
#pragma once

#include <string>
#include <string_view>

namespace qztool {

// `text` in quotes, cut short if it is long, control characters replaced: whatever the file holds, a line of output.
std::string quote(std::string_view text);

} // namespace qztool
