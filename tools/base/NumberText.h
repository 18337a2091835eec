// Numbers as text in a caller's buffer: exact, the same on every machine, and in any locale.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qztool {

// All of these write at `to`, at most so many characters, and return the end.
constexpr std::size_t longestNumber = 40;

// The fewest digits that read back as the same double: in fixed notation from 1e-5 up to 1e15 and for 0, otherwise with
// an exponent. What is no number is "nan", whatever its sign; infinite ones are "inf" and "-inf".
char* writeDouble(char* to, double number);

// Microseconds as seconds with six decimals.
char* writeSeconds(char* to, std::uint64_t microseconds);
// The same of a difference of times, which may be below 0.
char* writeSecondsSince(char* to, std::uint64_t microseconds, std::uint64_t start);

char* writeUnsigned(char* to, std::uint64_t number);
char* writeSigned(char* to, std::int64_t number);

} // namespace qztool
