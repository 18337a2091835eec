// The word that was probably meant.
#pragma once

#include <string>
#include <vector>

namespace qztool {

// The candidate that takes the fewest edits (insert, delete, change a character) to become `word`, if that is at most a
// third of its length, or two in a short word; otherwise empty.
std::string nearest(std::string const& word, std::vector<std::string> const& candidates);

} // namespace qztool
