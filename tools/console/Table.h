// Columns on a terminal.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

namespace qztool {

// Characters that a text in UTF-8 takes, as far as each takes one column.
std::size_t width(std::string const& text);

// Prints rows, all of the same number of cells, in columns as wide as their widest cell; the last one as it comes. With
// `limit` other than 0, no line is wider: the widest columns are made narrower first, and what is cut ends in "~".
void printTable(std::ostream& out, std::vector<std::vector<std::string>> const& rows, std::size_t limit);

// Columns of the terminal that results go to; 0 if they go elsewhere or it does not say.
std::size_t terminalWidth();

} // namespace qztool
