// Text inside HTML and SVG.
#pragma once

#include <string>
#include <string_view>

namespace qztool {

inline std::string markupText(std::string_view text) {
    std::string markup;
    for (char const character : text)
        switch (character) {
        case '<':
            markup += "&lt;";
            break;
        case '>':
            markup += "&gt;";
            break;
        case '&':
            markup += "&amp;";
            break;
        default:
            markup += character;
        }
    return markup;
}

} // namespace qztool
