// Words and number forms that the printed descriptions of all signal kinds share.
#pragma once

#include <cstdint>
#include <iomanip>
#include <ostream>

namespace qzsignal {

// Name of a value type (0..3); empty for every other number.
inline char const* typeName(std::int32_t type) {
    static constexpr char const* names[] = {"unsigned", "signed", "float", "double"};
    return type >= 0 && type < 4 ? names[type] : "";
}

// Writes the name of a value type, padded to the stream's width as any word is. Writes nothing, not even padding, for a
// number without a name.
inline std::ostream& printTypeName(std::ostream& out, std::int32_t type) {
    char const* const name = typeName(type);
    if (*name != '\0')
        return out << name;
    out.width(0);
    return out;
}

inline char const* endianName(bool bigEndian) {
    return bigEndian ? "BIG" : "LITTLE";
}

inline char const* yesNo(bool value) {
    return value ? "yes" : "no";
}

// Prints as 16 hexadecimal digits in lower case without prefix, whatever format the stream has. Leaves the stream in
// that format, with '0' as its fill character.
struct Hex16 {
    std::uint64_t value;
};

inline std::ostream& operator<<(std::ostream& out, Hex16 const& number) {
    return out << std::hex << std::noshowbase << std::nouppercase << std::right << std::setfill('0') << std::setw(16)
               << number.value;
}

} // namespace qzsignal
