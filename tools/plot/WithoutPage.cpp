// In builds without the library that draws the page.
#include "tools/plot/PageTemplate.h"

namespace qztool {

std::array<std::string_view, 9> const pageTemplate = {};

} // namespace qztool
