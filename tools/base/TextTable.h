// Tables of text for people.
#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace qztool {

// Prints rows of the same number of cells in columns as wide as their longest cell; the first row holds the headings.
// Lines longer than `width` characters end with an ellipsis; 0: no line is too long. Texts are UTF-8 without control
// characters.
void printTable(std::ostream& out, std::vector<std::vector<std::string>> const& rows, std::size_t width);

// Characters in a line of the terminal that standard output is; 0: it is none.
std::size_t terminalWidth();

} // namespace qztool
