// Classes of ASCII characters, whatever the locale.
#pragma once

namespace qztool {

template <typename Character>
constexpr bool isDigit(Character character) {
    return character >= '0' && character <= '9';
}

} // namespace qztool
