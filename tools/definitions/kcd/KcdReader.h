// Reads a Kayak CAN definition file (KCD) into a Database.
#pragma once

#include "tools/definitions/Database.h"
#include "tools/definitions/xml/RootElement.h"

#include <string_view>

namespace qztool {

// True if the root element is that of such files.
inline bool looksLikeKcd(std::string_view bytes) {
    return rootElementOf(bytes) == "NetworkDefinition";
}

// Reads the bytes of a whole file: UTF-8 (with or without byte order mark) or Windows-1252. Never fails as a whole:
// what cannot be read is left out and reported in `problems`. All texts come out as UTF-8. Refuses all files in a build
// without pugixml.
Database readKcd(std::string_view bytes);

} // namespace qztool
