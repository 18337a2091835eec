// Texts as fields of exported files.
#pragma once

#include <string>

namespace qztool {

// A field of CSV (RFC 4180): in quotes if it holds a comma, a quote or a line end, with quotes in it doubled.
std::string csvField(std::string const& text);

// A string of JSON, quotes included. What is not UTF-8 is replaced.
std::string jsonString(std::string const& text);

} // namespace qztool
