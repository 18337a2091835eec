// Words and number forms that the printed descriptions of all signal kinds share.
#pragma once

#include <cstdint>
#include <iomanip>
#include <ostream>

namespace qzsignal {

// Name of a value type (0..3); every other number has the empty name.
inline char const* typeName(std::int32_t type) {
    static constexpr char const* names[] = {"unsigned", "signed", "float", "double"};
    return type >= 0 && type < 4 ? names[type] : "";
}

inline char const* endianName(bool bigEndian) {
    return bigEndian ? "BIG" : "LITTLE";
}

inline char const* yesNo(bool value) {
    return value ? "yes" : "no";
}

// Prints as 16 hexadecimal digits, without prefix, in lower case, whatever the stream was set to. Leaves the stream so,
// with '0' as its fill character.
struct Hex16 {
    std::uint64_t value;
};

inline std::ostream& operator<<(std::ostream& out, Hex16 const& number) {
    return out << std::hex << std::noshowbase << std::nouppercase << std::right << std::setfill('0') << std::setw(16)
               << number.value;
}

} // namespace qzsignal
