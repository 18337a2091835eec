// Whole files as text.
#pragma once

#include <string>

namespace qztool {

// Reads a file into `text`. Returns the system's error text if that fails, otherwise an empty string.
std::string readTextFile(std::string const& path, std::string& text);

} // namespace qztool
