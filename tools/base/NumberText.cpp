// Integers by their digits, other numbers by the shortest form that reads back.
#include "tools/base/NumberText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string_view>

namespace qztool {

namespace {

constexpr double leastFixed = 1e-5;
constexpr double mostFixed = 1e15;

char* writeText(char* to, std::string_view text) {
    return std::copy(text.begin(), text.end(), to);
}

} // namespace

char* writeUnsigned(char* to, std::uint64_t number) {
    return std::to_chars(to, to + longestNumber, number).ptr;
}

char* writeSigned(char* to, std::int64_t number) {
    return std::to_chars(to, to + longestNumber, number).ptr;
}

char* writeDouble(char* to, double number) {
    double const size = std::fabs(number);
    if (size <= mostFixed) {
        // Most values of a bus are integers. -0 is none here: it has a sign to keep.
        auto const integer = static_cast<std::int64_t>(number);
        if (static_cast<double>(integer) == number && (integer != 0 || !std::signbit(number)))
            return writeSigned(to, integer);
        if (size >= leastFixed || number == 0)
            return std::to_chars(to, to + longestNumber, number, std::chars_format::fixed).ptr;
    }
    if (std::isnan(number))
        return writeText(to, "nan");
    if (std::isinf(number))
        return writeText(to, number < 0 ? "-inf" : "inf");
    return std::to_chars(to, to + longestNumber, number, std::chars_format::scientific).ptr;
}

char* writeSeconds(char* to, std::uint64_t microseconds) {
    constexpr std::uint64_t perSecond = 1'000'000;
    to = writeUnsigned(to, microseconds / perSecond);
    *to++ = '.';
    auto fraction = static_cast<std::uint32_t>(microseconds % perSecond);
    for (int i = 5; i >= 0; --i) {
        to[i] = static_cast<char>('0' + fraction % 10);
        fraction /= 10;
    }
    return to + 6;
}

char* writeSecondsSince(char* to, std::uint64_t microseconds, std::uint64_t start) {
    if (microseconds >= start)
        return writeSeconds(to, microseconds - start);
    *to++ = '-';
    return writeSeconds(to, start - microseconds);
}

} // namespace qztool
