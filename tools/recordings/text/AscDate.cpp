// Words of dates.
#include "tools/recordings/text/AscDate.h"

#include "tools/base/Characters.h"
#include "tools/recordings/LocalTime.h"
#include "tools/recordings/text/Letters.h"
#include "tools/recordings/text/TextCursor.h"

#include <algorithm>
#include <charconv>
#include <system_error>

namespace qztool {

namespace {

// How the names of months begin; letters beyond ASCII are UTF-8 or Latin-1.
constexpr struct {
    std::string_view beginning;
    int month;
} months[] = {
    {"jan", 1},  {"ene", 1},  {"gen", 1},        {"feb", 2},    {"f\xC3\xA9v", 2}, {"f\xE9v", 2},
    {"mar", 3},  {"mrz", 3},  {"m\xC3\xA4r", 3}, {"m\xE4r", 3}, {"apr", 4},        {"avr", 4},
    {"abr", 4},  {"may", 5},  {"mai", 5},        {"mag", 5},    {"jun", 6},        {"juin", 6},
    {"giu", 6},  {"jul", 7},  {"juil", 7},       {"lug", 7},    {"aug", 8},        {"ago", 8},
    {"ao", 8},   {"sep", 9},  {"set", 9},        {"oct", 10},   {"okt", 10},       {"ott", 10},
    {"nov", 11}, {"dec", 12}, {"dez", 12},       {"dic", 12},   {"d\xC3\xA9", 12}, {"d\xE9", 12},
};

// 0: it is none.
int monthOf(std::string_view word) {
    for (auto const& each : months)
        if (equalIgnoringCase(word.substr(0, each.beginning.size()), each.beginning))
            return each.month;
    return 0;
}

// Returns false if `text` does not begin with a number, over which it moves.
bool takeNumber(std::string_view& text, int& number) {
    auto const [position, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    bool const isNumber = !text.empty() && isDigit(text.front()) && error == std::errc();
    if (isNumber)
        text.remove_prefix(static_cast<std::size_t>(position - text.data()));
    return isNumber;
}

bool take(std::string_view& text, char character) {
    bool const isNext = !text.empty() && text.front() == character;
    text.remove_prefix(isNext ? 1 : 0);
    return isNext;
}

struct Moment {
    TimeOfDay time{};
    std::uint64_t microseconds = 0;
};

// "15:06:13.191"
bool readTimeOfDay(std::string_view text, Moment& moment) {
    if (!takeNumber(text, moment.time.hour) || !take(text, ':') || !takeNumber(text, moment.time.minute) ||
        !take(text, ':') || !takeNumber(text, moment.time.second))
        return false;
    if (take(text, '.'))
        for (std::uint64_t unit = 100'000; !text.empty() && isDigit(text.front()); unit /= 10, text.remove_prefix(1))
            moment.microseconds += static_cast<std::uint64_t>(text.front() - '0') * unit;
    return text.empty();
}

// "am" or "pm" after a time of a clock with twelve hours.
bool applyHalfOfDay(std::string_view word, TimeOfDay& time) {
    bool const isAfternoon = equalIgnoringCase(word, "pm");
    if ((!isAfternoon && !equalIgnoringCase(word, "am")) || time.hour < 1 || time.hour > 12)
        return false;
    time.hour = time.hour % 12 + (isAfternoon ? 12 : 0);
    return true;
}

} // namespace

std::optional<std::uint64_t> ascDate(std::string_view text) {
    TextCursor cursor(text);
    cursor.word(); // day of the week, in any language
    Day day{};
    day.month = monthOf(cursor.word());
    std::string_view dayText = cursor.word();
    Moment moment;
    if (!takeNumber(dayText, day.day) || !dayText.empty() || !readTimeOfDay(cursor.word(), moment))
        return std::nullopt;
    std::string_view yearText = cursor.word();
    if (applyHalfOfDay(yearText, moment.time))
        yearText = cursor.word();
    if (!takeNumber(yearText, day.year) || !yearText.empty() || !cursor.word().empty())
        return std::nullopt;
    std::uint64_t const date = sinceEpoch(day, moment.time, moment.microseconds);
    return date != 0 ? std::optional(date) : std::nullopt;
}

} // namespace qztool
