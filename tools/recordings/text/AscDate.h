// Dates in the headers of ASC logs.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace qztool {

// Microseconds since 1970 of a local date such as
//     Sat Sep 30 15:06:13.191 2017
//     Sat Sep 30 03:06:13.191 pm 2017
// with or without a fraction, and with the month's name in English, French, German, Italian or Spanish, as the tools
// write it in the language of their machine. None if it is another form, or there is no such date.
std::optional<std::uint64_t> ascDate(std::string_view text);

} // namespace qztool
