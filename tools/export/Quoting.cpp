// Quotes and escapes.
#include "tools/export/Quoting.h"

#include <nlohmann/json.hpp>

namespace qztool {

std::string csvField(std::string const& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos)
        return text;
    std::string field = "\"";
    for (char const c : text)
        field += c == '"' ? std::string("\"\"") : std::string(1, c);
    return field + '"';
}

std::string jsonString(std::string const& text) {
    return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

} // namespace qztool
