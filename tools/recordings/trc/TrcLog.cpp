// Headers and columns of TRC logs.
#include "tools/recordings/trc/TrcLog.h"

#include "tools/base/Characters.h"
#include "tools/recordings/LocalTime.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>
#include <system_error>

namespace qztool {

namespace {

constexpr std::array<std::uint8_t, 16> lengthOfCode = {0, 1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 20, 24, 32, 48, 64};

struct Version {
    std::string_view number;
    std::string_view columns;
};

constexpr Version versions[] = {
    {"1.0", "NOILD"},    {"1.1", "NOtILD"},  {"1.2", "NOBtILD"},
    {"1.3", "NOBtIRLD"}, {"2.0", "NOTIdlD"}, {"2.1", "NOTBIdRLD"},
};

// Kinds of lines from 2.0 on that are frames.
struct Kind {
    std::string_view name;
    std::uint16_t flags;
};

constexpr Kind kinds[] = {
    {"DT", 0},
    {"FD", frameFlag::fd},
    {"FB", frameFlag::fd | frameFlag::bitRateSwitch},
    {"FE", frameFlag::fd | frameFlag::errorState},
    {"BI", frameFlag::fd | frameFlag::bitRateSwitch | frameFlag::errorState},
    {"RR", frameFlag::remote},
    {"ER", frameFlag::error},
};

constexpr char const* warning = "warning";

// Kinds of lines that are not read, of any version.
constexpr struct {
    std::string_view name;
    char const* kind;
} skippedKinds[] = {
    {"Warng", warning},
    {"ST", "hardware status"},
    {"EC", "error counters"},
    {"EV", "event"},
};

bool startsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

// Returns false if `word` is not a number in that base, or too large.
bool toNumber(std::string_view word, int base, std::uint32_t& value) {
    char const* const end = word.data() + word.size();
    auto const [position, error] = std::from_chars(word.data(), end, value, base);
    return error == std::errc() && position == end;
}

// Milliseconds such as "1841.7"; digits below a microsecond are cut off.
bool readMilliseconds(std::string_view word, std::uint64_t& microseconds) {
    std::size_t const point = std::min(word.find('.'), word.size());
    std::uint64_t whole = 0;
    auto const [position, error] = std::from_chars(word.data(), word.data() + point, whole);
    if (error != std::errc() || position != word.data() + point ||
        whole > std::numeric_limits<std::uint64_t>::max() / 1000 - 1)
        return false;
    microseconds = whole * 1000;
    std::uint64_t unit = 100;
    for (char const digit : word.substr(std::min(point + 1, word.size()))) {
        if (!isDigit(digit))
            return false;
        microseconds += unit * static_cast<std::uint64_t>(digit - '0');
        unit /= 10;
    }
    return true;
}

// Days since December 30, 1899, of local time.
std::optional<std::uint64_t> startTimeOf(std::string_view text) {
    constexpr double mostDays = 200'000; // in the year 2447
    constexpr std::uint64_t microsecondsPerSecond = 1'000'000;
    std::string const terminated(text);
    char* end = nullptr;
    double const days = std::strtod(terminated.c_str(), &end);
    if (end == terminated.c_str() || !(days > 0) || days > mostDays)
        return std::nullopt;
    auto const wholeDays = static_cast<int>(days);
    auto const time = static_cast<std::uint64_t>(std::llround((days - wholeDays) * 86'400e6));
    auto const seconds = static_cast<int>(time / microsecondsPerSecond);
    std::tm date{};
    date.tm_year = -1;
    date.tm_mon = 11;
    date.tm_mday = 30 + wholeDays;
    date.tm_hour = seconds / 3600;
    date.tm_min = seconds / 60 % 60;
    date.tm_sec = seconds % 60;
    std::uint64_t const start = sinceEpoch(date, time % microsecondsPerSecond);
    return start != 0 ? std::optional(start) : std::nullopt;
}

char const* readIdentifier(std::string_view word, Frame& frame) {
    if (!toNumber(word, 16, frame.address))
        return "identifier is not a hexadecimal number";
    bool const extended = word.size() > 4;
    if (extended)
        frame.flags |= frameFlag::extended;
    if (frame.address > (extended ? highestExtendedIdentifier : highestStandardIdentifier))
        return extended ? "identifier above 1FFFFFFF" : "identifier of 4 digits above 7FF";
    return nullptr;
}

char const* readDirection(std::string_view word, Frame& frame) {
    if (word != "Rx" && word != "Tx")
        return "direction is neither Rx nor Tx";
    frame.flags |= word == "Rx" ? frameFlag::received : frameFlag::transmitted;
    return nullptr;
}

char const* readBus(std::string_view word, Frame& frame) {
    std::uint32_t bus = 0;
    // "-": not known.
    if (word != "-" && (!toNumber(word, 10, bus) || bus > 255))
        return "bus is not a number up to 255";
    frame.channel = static_cast<std::uint8_t>(bus);
    return nullptr;
}

// Of `length` bytes, unless the frame is one without data, which 1.x says in their place.
char const* readData(TextCursor& cursor, Frame& frame) {
    if (frame.is(frameFlag::remote))
        return nullptr;
    for (std::size_t i = 0; i < frame.length; ++i) {
        std::string_view const word = cursor.word();
        if (i == 0 && word == "RTR") {
            frame.flags |= frameFlag::remote;
            return nullptr;
        }
        if (i == 0 && word == "ERROR") {
            frame.flags |= frameFlag::error;
            frame.length = 0;
            return nullptr;
        }
        if (word.empty())
            return "fewer data bytes than the length says";
        std::uint32_t byte = 0;
        if (!toNumber(word, 16, byte) || byte > 255)
            return "data byte is not a hexadecimal number up to FF";
        frame.bytes[i] = static_cast<std::uint8_t>(byte);
    }
    return nullptr;
}

} // namespace

TrcLog::TrcLog() {
    setColumns(versions[0].columns);
}

void TrcLog::setColumns(std::string_view letters) {
    d_columnCount = letters.copy(d_columns.data(), d_columns.size());
}

bool TrcLog::fits(std::string_view line) {
    TextCursor cursor(line);
    cursor.skipBlanks();
    if (cursor.peek() == ';')
        return true;
    if (!isDigit(cursor.peek()))
        return false;
    while (isDigit(cursor.peek()))
        cursor.advance();
    return cursor.peek() == ')';
}

ParsedLine TrcLog::parse(std::string_view line, Frame& frame) {
    TextCursor cursor(line);
    cursor.skipBlanks();
    if (cursor.atEnd())
        return {};
    if (cursor.peek() == ';')
        return parseHeader(trimmed(line).substr(1));
    frame.bus = Bus::Can;
    frame.flags = 0;
    frame.channel = 0;
    frame.length = 0;
    char const* skipped = nullptr;
    for (std::size_t i = 0; i < d_columnCount; ++i) {
        if (char const* const cause = readColumn(d_columns[i], cursor, frame, skipped))
            return malformedLine(cause);
        if (skipped != nullptr)
            return skippedEvent(skipped);
        // What errors have in their columns differs between versions, but for the bus.
        bool const busFollows = i + 1 < d_columnCount && d_columns[i + 1] == 'B';
        if (frame.is(frameFlag::error) && !busFollows) {
            frame.address = 0;
            frame.length = 0;
            return {LineKind::Frame, nullptr};
        }
    }
    return {LineKind::Frame, nullptr};
}

ParsedLine TrcLog::parseHeader(std::string_view line) {
    constexpr std::string_view version = "$FILEVERSION=";
    constexpr std::string_view start = "$STARTTIME=";
    constexpr std::string_view columns = "$COLUMNS=";
    if (startsWith(line, start)) {
        d_startTime = startTimeOf(line.substr(start.size()));
        return headerLine();
    }
    if (startsWith(line, columns))
        return parseColumns(trimmed(line.substr(columns.size())));
    if (!startsWith(line, version))
        return {};
    std::string_view const number = trimmed(line.substr(version.size()));
    for (Version const& each : versions) {
        if (each.number == number) {
            setColumns(each.columns);
            return headerLine();
        }
    }
    return malformedLine("file version is not one of 1.0 to 1.3, 2.0 and 2.1");
}

// "N,O,T,B,I,d,R,L,D"
ParsedLine TrcLog::parseColumns(std::string_view letters) {
    std::array<char, mostColumns> columns{};
    std::size_t count = 0;
    for (std::size_t i = 0; i < letters.size(); i += 2) {
        if (count == columns.size() || std::string_view("NOTBIdRlLD").find(letters[i]) == std::string_view::npos ||
            (i + 1 < letters.size() && letters[i + 1] != ','))
            return malformedLine("columns are not as in version 2.1");
        columns[count++] = letters[i];
    }
    std::string_view const read(columns.data(), count);
    for (std::string_view const needed : {"O", "T", "I", "lL", "D"})
        if (read.find_first_of(needed) == std::string_view::npos)
            return malformedLine("columns lack one of time, type, identifier, length and data");
    if (read.back() != 'D')
        return malformedLine("data is not the last column");
    setColumns(read);
    return headerLine();
}

// `skipped` becomes the kind of the line if it turns out to hold something else than a frame.
char const* TrcLog::readColumn(char column, TextCursor& cursor, Frame& frame, char const*& skipped) {
    if (column == 'D')
        return readData(cursor, frame);
    std::string_view const word = cursor.word();
    if (word.empty())
        return "line ends before its columns do";
    switch (column) {
    case 'O':
        return readMilliseconds(word, frame.timestamp) ? nullptr : "time is not a number of milliseconds";
    case 'T':
    case 't':
        return readKind(word, frame, skipped);
    case 'B':
        return readBus(word, frame);
    case 'I':
        if (word == "FFFFFFFF") { // in 1.0, which has no kinds
            skipped = warning;
            return nullptr;
        }
        return readIdentifier(word, frame);
    case 'd':
        return readDirection(word, frame);
    case 'l':
    case 'L':
        return readLength(column, word, frame);
    default:
        return nullptr; // the line's number, and a column without use
    }
}

char const* TrcLog::readKind(std::string_view word, Frame& frame, char const*& skipped) {
    if (word == "Rx" || word == "Tx")
        return readDirection(word, frame);
    if (word == "Error") {
        frame.flags |= frameFlag::error;
        return nullptr;
    }
    for (Kind const& kind : kinds) {
        if (kind.name == word) {
            frame.flags |= kind.flags;
            return nullptr;
        }
    }
    for (auto const& each : skippedKinds) {
        if (each.name == word) {
            skipped = each.kind;
            return nullptr;
        }
    }
    return "type of line is not known";
}

// 'L' is a code, 'l' counts bytes.
char const* TrcLog::readLength(char column, std::string_view word, Frame& frame) const {
    std::uint32_t length = 0;
    if (!toNumber(word, 10, length))
        return "length is not a number";
    bool const fd = frame.is(frameFlag::fd);
    if (column == 'L') {
        if (length >= lengthOfCode.size())
            return "length code above 15";
        length = fd ? lengthOfCode[length] : std::min<std::uint32_t>(length, mostClassicBytes);
    }
    if (length > (fd ? mostCanBytes : mostClassicBytes))
        return fd ? "more than 64 data bytes" : "more than 8 data bytes";
    frame.length = static_cast<std::uint8_t>(length);
    return nullptr;
}

} // namespace qztool
