// Numerals of definition files as numbers, the same in any locale.
#pragma once

#include <charconv>
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>

namespace qztool {

// Success only if all of `numeral` is the number. A plus sign, which the standard library does not read, may precede.
template <typename Number>
std::errc readNumeral(std::string_view numeral, Number& result) {
    if (numeral.size() > 1 && numeral.front() == '+' && numeral[1] != '-')
        numeral.remove_prefix(1);
    char const* const end = numeral.data() + numeral.size();
    auto const [stop, error] = std::from_chars(numeral.data(), end, result);
    return error == std::errc{} && stop != end ? std::errc::invalid_argument : error;
}

// The same of a whole number from 0 on, decimal or hexadecimal (0x1F).
inline std::errc readCount(std::string_view numeral, std::uint64_t& result) {
    if (numeral.size() < 3 || numeral[0] != '0' || (numeral[1] != 'x' && numeral[1] != 'X'))
        return readNumeral(numeral, result);
    char const* const end = numeral.data() + numeral.size();
    auto const [stop, error] = std::from_chars(numeral.data() + 2, end, result, 16);
    return error == std::errc{} && stop != end ? std::errc::invalid_argument : error;
}

// Why `numeral` is not a finite number; empty if it is one, then in `result`.
inline std::string readReal(std::string_view numeral, double& result) {
    const std::errc error = readNumeral(numeral, result);
    if (error == std::errc::result_out_of_range)
        return "is beyond the range of a double";
    if (error != std::errc{})
        return "is not a number";
    return std::isfinite(result) ? "" : "is not a finite number";
}

} // namespace qztool
