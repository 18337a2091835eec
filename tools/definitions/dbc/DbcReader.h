// Reads a definition file in the DBC format into a Database.
#pragma once

#include "tools/definitions/Database.h"

#include <string_view>

namespace qztool {

// Reads the bytes of a whole file: UTF-8 (with or without byte order mark) or Windows-1252, any kind of line end. Never
// fails as a whole: what cannot be read is left out and reported in `problems`. All texts come out as UTF-8.
Database readDatabase(std::string_view text);

} // namespace qztool
