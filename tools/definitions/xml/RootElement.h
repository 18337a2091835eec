// What kind of XML document a file is, without reading it.
#pragma once

#include <string_view>

namespace qztool {

// The name of the document's root element without its prefix; empty if the bytes are not XML.
std::string_view rootElementOf(std::string_view bytes);

} // namespace qztool
