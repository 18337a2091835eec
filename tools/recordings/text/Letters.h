// Letters of ASCII, whatever their case.
#pragma once

#include <algorithm>
#include <string_view>

namespace qztool {

inline char toLower(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

inline bool equalIgnoringCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char left, char right) { return toLower(left) == toLower(right); });
}

} // namespace qztool
