// Joins the elements of a LIN description file, which name each other, to frames with their signals.
#pragma once

#include "tools/definitions/Database.h"
#include "tools/definitions/ldf/LdfStatements.h"

#include <vector>

namespace qztool {

// `problems` are those found so far. All in the result is independent of the file's text.
Database makeLdfDatabase(LdfFile&& file, std::vector<Problem>&& problems);

} // namespace qztool
