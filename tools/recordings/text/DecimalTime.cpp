// Conversion of decimal seconds to microseconds in integers: a double would be off by one for some stamps since 1970.
#include "tools/recordings/text/DecimalTime.h"
#include "tools/base/Characters.h"

#include <limits>

namespace qztool {

namespace {

constexpr std::uint64_t microsecondsPerSecond = 1'000'000;
constexpr std::uint64_t mostSeconds = std::numeric_limits<std::uint64_t>::max() / microsecondsPerSecond;

unsigned digitOf(char character) {
    return static_cast<unsigned>(character - '0');
}

// Up to six digits after the point, scaled to microseconds.
std::uint32_t readFraction(TextCursor& cursor) {
    std::uint32_t fraction = 0;
    std::uint32_t scale = microsecondsPerSecond;
    for (; isDigit(cursor.peek()); cursor.advance()) {
        if (scale > 1) {
            scale /= 10;
            fraction = fraction * 10 + digitOf(cursor.peek());
        }
    }
    return fraction * scale;
}

} // namespace

char const* readTime(TextCursor& cursor, std::uint64_t& microseconds) {
    if (!isDigit(cursor.peek()))
        return "time stamp is not a number";
    std::uint64_t seconds = 0;
    for (; isDigit(cursor.peek()); cursor.advance()) {
        seconds = seconds * 10 + digitOf(cursor.peek());
        if (seconds > mostSeconds)
            return timeTooLarge;
    }
    std::uint64_t const whole = seconds * microsecondsPerSecond;
    std::uint32_t const fraction = cursor.take('.') ? readFraction(cursor) : 0;
    if (fraction > std::numeric_limits<std::uint64_t>::max() - whole)
        return timeTooLarge;
    microseconds = whole + fraction;
    return nullptr;
}

} // namespace qztool
