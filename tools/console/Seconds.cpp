// Digits before and after the point.
#include "tools/console/Seconds.h"

#include "tools/base/Characters.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace qztool {

namespace {

constexpr std::uint64_t perSecond = 1'000'000;
constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();

// Such as "1e-3".
std::optional<Seconds> parseWithExponent(std::string const& text) {
    double seconds = 0;
    char const* const end = text.data() + text.size();
    auto const result = std::from_chars(text.data(), end, seconds);
    double const microseconds = std::floor(seconds * 1e6);
    if (result.ec != std::errc() || result.ptr != end || !(microseconds >= 0 && microseconds < 1.8e19))
        return std::nullopt;
    return Seconds{static_cast<std::uint64_t>(microseconds), microseconds == seconds * 1e6};
}

} // namespace

std::optional<Seconds> parseSeconds(std::string const& text) {
    Seconds result = {0, true};
    std::uint64_t scale = perSecond; // of the next digit, in microseconds; 0: it is too small
    bool isFraction = false;
    bool hasDigits = false;
    for (char const c : text) {
        if (c == '.' && !isFraction) {
            isFraction = true;
        } else if (!isDigit(c)) {
            return parseWithExponent(text);
        } else {
            auto const digit = static_cast<unsigned>(c - '0');
            hasDigits = true;
            scale /= isFraction ? 10 : 1;
            std::uint64_t const added = digit * scale;
            std::uint64_t const factor = isFraction ? 1 : 10;
            if (result.microseconds > (most - added) / factor)
                return std::nullopt;
            result.microseconds = result.microseconds * factor + added;
            result.isExact = result.isExact && (scale != 0 || digit == 0);
        }
    }
    return hasDigits ? std::optional<Seconds>(result) : std::nullopt;
}

} // namespace qztool
