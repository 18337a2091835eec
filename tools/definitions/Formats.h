// The formats of definition files.
#pragma once

#include "tools/definitions/Database.h"

#include <string_view>
#include <vector>

namespace qztool {

// A folder of this one holds the reader of each.
struct DefinitionFormat {
    char const* name; // such as "DBC"
    // True if the bytes of a file look like this format. The file's name plays no part.
    bool (*looksLike)(std::string_view bytes);
    // Reads the bytes of a whole file. Never fails as a whole: what cannot be read is left out and reported in
    // `problems`.
    Database (*read)(std::string_view bytes);
};

// The first format that the bytes look like; the last one takes everything.
DefinitionFormat const& definitionFormatOf(std::string_view bytes);

// Reads the bytes of a whole file in the format that they look like.
Database readDefinitions(std::string_view bytes);

} // namespace qztool
