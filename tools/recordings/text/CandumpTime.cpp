// Dates, and what times count from.
#include "tools/recordings/text/CandumpTime.h"

#include "tools/base/Characters.h"
#include "tools/recordings/LocalTime.h"
#include "tools/recordings/text/DecimalTime.h"

#include <algorithm>
#include <limits>

namespace qztool {

namespace {

constexpr char const* notClosed = "time stamp is not closed by a parenthesis";

// True if what comes next has three digits before the point, as the times of -t d and -t z begin.
bool isShort(TextCursor cursor) {
    for (int i = 0; i < 3; ++i, cursor.advance())
        if (!isDigit(cursor.peek()))
            return false;
    return cursor.peek() == '.';
}

// Colours may come before the parenthesis.
void skipToParenthesis(TextCursor& cursor) {
    while (!cursor.atEnd() && cursor.peek() != '(' && cursor.peek() != '\n')
        cursor.advance();
}

void skipLine(TextCursor& cursor) {
    while (!cursor.atEnd() && !cursor.take('\n'))
        cursor.advance();
}

bool isDate(TextCursor cursor) {
    for (int i = 0; i < 4; ++i, cursor.advance())
        if (!isDigit(cursor.peek()))
            return false;
    return cursor.peek() == '-';
}

} // namespace

void CandumpTime::Steps::add(std::uint64_t time) {
    back += count != 0 && time < last ? 1 : 0;
    constant = count < 2 || (constant && time == last);
    last = time;
    ++count;
}

CandumpTime::Reference CandumpTime::Steps::reference() const {
    constexpr unsigned enough = 8;
    // A clock that stands still is none.
    if (back * enough > count || (count > 2 && constant && last != 0))
        return Reference::LineBefore;
    return count >= enough ? Reference::FirstLine : Reference::Open;
}

void CandumpTime::lookAhead(std::string_view lines) {
    Steps steps;
    for (TextCursor cursor(lines); !cursor.atEnd(); skipLine(cursor)) {
        skipToParenthesis(cursor);
        std::uint64_t time = 0;
        if (cursor.take('(') && (steps.count != 0 || isShort(cursor)) && readTime(cursor, time) == nullptr &&
            cursor.take(')'))
            steps.add(time);
    }
    if (Reference const reference = steps.reference(); reference != Reference::Open)
        d_reference = reference;
}

char const* CandumpTime::read(TextCursor& cursor, std::uint64_t& microseconds) {
    if (!cursor.take('('))
        return "line does not begin with a time in parentheses";
    if (isDate(cursor))
        return readDate(cursor, microseconds);
    if (d_reference == Reference::Unknown)
        d_reference = isShort(cursor) ? Reference::Open : Reference::Epoch;
    if (char const* const cause = readTime(cursor, microseconds))
        return cause;
    if (!cursor.take(')'))
        return notClosed;
    return d_reference == Reference::Open || d_reference == Reference::LineBefore ? addUp(microseconds) : nullptr;
}

char const* CandumpTime::addUp(std::uint64_t& microseconds) {
    if (microseconds > std::numeric_limits<std::uint64_t>::max() - d_sum)
        return timeTooLarge;
    d_sum += microseconds;
    if (d_reference == Reference::Open) {
        d_steps.add(microseconds);
        d_reference = d_steps.reference();
    }
    if (d_reference == Reference::LineBefore)
        microseconds = d_sum;
    return nullptr;
}

char const* CandumpTime::readDate(TextCursor& cursor, std::uint64_t& microseconds) {
    constexpr std::string_view pattern = "dddd-dd-dd dd:dd:dd.";
    static_assert(pattern.size() == std::tuple_size_v<decltype(d_dateText)>);
    std::array<char, pattern.size()> text{};
    for (std::size_t i = 0; i < pattern.size(); ++i, cursor.advance()) {
        char const character = cursor.peek();
        if (pattern[i] == 'd' ? !isDigit(character) : character != pattern[i])
            return "date is not as in 2025-09-11 19:03:51.821276";
        text[i] = character;
    }
    std::uint64_t fraction = 0;
    std::uint64_t unit = 100'000;
    for (; isDigit(cursor.peek()); cursor.advance(), unit /= 10)
        fraction += static_cast<std::uint64_t>(cursor.peek() - '0') * unit;
    if (!cursor.take(')'))
        return notClosed;
    if (text != d_dateText) {
        auto const number = [&text](std::size_t begin, std::size_t end) {
            int value = 0;
            for (std::size_t i = begin; i < end; ++i)
                value = value * 10 + (text[i] - '0');
            return value;
        };
        std::uint64_t const date = sinceEpoch({number(0, 4), number(5, 7), number(8, 10)},
                                              {number(11, 13), number(14, 16), number(17, 19)}, 0);
        if (date == 0)
            return "there is no such date, or it is before 1970";
        d_date = date;
        d_dateText = text;
    }
    d_reference = Reference::Epoch;
    microseconds = d_date + fraction;
    return nullptr;
}

std::optional<std::uint64_t> CandumpTime::startTime() const {
    return d_reference == Reference::Epoch ? std::optional<std::uint64_t>(0) : std::nullopt;
}

} // namespace qztool
