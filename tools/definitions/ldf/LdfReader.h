// Reads a LIN description file (LDF) into a Database.
#pragma once

#include "tools/definitions/Database.h"

#include <string_view>

namespace qztool {

// True if the first word of the text is one that such files begin with.
bool looksLikeLdf(std::string_view bytes);

// Reads the bytes of a whole file: UTF-8 (with or without byte order mark) or Windows-1252, any kind of line end. Never
// fails as a whole: what cannot be read is left out and reported in `problems`. All texts come out as UTF-8.
Database readLdf(std::string_view bytes);

} // namespace qztool
