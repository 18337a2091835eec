// Texts in shared records: fields of fixed size, ended by a NUL.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

namespace qzsignal {

// Cuts to what fits before the NUL; the rest of the field is zeroed, so that nothing of an earlier run shines through.
template <std::size_t Size>
void copyText(char (&field)[Size], std::string const& text) {
    std::memset(field, 0, Size);
    std::memcpy(field, text.data(), std::min(text.size(), Size - 1));
}

// The text of a field that another process wrote, and may have left without its end.
template <std::size_t Size>
std::string_view textOf(char const (&field)[Size]) {
    return std::string_view(field, strnlen(field, Size));
}

} // namespace qzsignal
