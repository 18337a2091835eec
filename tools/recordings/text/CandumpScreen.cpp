// The fields of a line on a screen, from left to right.
#include "tools/recordings/text/CandumpScreen.h"

#include "tools/recordings/text/CandumpFields.h"

#include <algorithm>
#include <utility>

namespace qztool {

namespace {

constexpr char escape = '\33';

// Takes sequences such as "ESC[34m" out.
void removeColours(std::string_view line, std::string& plain) {
    plain.clear();
    for (std::size_t i = 0; i < line.size(); ++i)
        if (line[i] == escape)
            i = std::min(line.find('m', i), line.size() - 1);
        else
            plain += line[i];
}

bool startsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

// The readers below return the cause if they fail, and nothing if they do not.

// "RX - -": direction, bit rate switch, error state. Nothing, if the identifier comes next.
char const* readExtraColumns(TextCursor& cursor, std::uint16_t& flags) {
    TextCursor ahead = cursor;
    std::string_view const direction = ahead.word();
    if (direction != "RX" && direction != "TX")
        return nullptr;
    std::string_view const bitRateSwitch = ahead.word();
    std::string_view const errorState = ahead.word();
    if ((bitRateSwitch != "B" && bitRateSwitch != "-") || (errorState != "E" && errorState != "-"))
        return "direction is not followed by B or -, and E or -";
    flags = direction == "RX" ? frameFlag::received : frameFlag::transmitted;
    if (bitRateSwitch == "B")
        flags |= frameFlag::bitRateSwitch;
    if (errorState == "E")
        flags |= frameFlag::errorState;
    cursor = ahead;
    return nullptr;
}

struct Length {
    std::uint32_t bytes = 0;
    unsigned digits = 0; // 1: classic frame; 2: CAN FD; more: CAN XL
};

// "[8]", or "{C}" with the length code of a classic frame
char const* readLength(TextCursor& cursor, Length& length) {
    constexpr char const* noLength = "identifier is not followed by a length in brackets";
    constexpr unsigned mostDigits = 4;
    cursor.skipBlanks();
    if (cursor.take('{')) {
        std::uint8_t const code = hexDigit(cursor.peek());
        if (code == noDigit)
            return noLength;
        cursor.advance();
        length = {std::min<std::uint32_t>(code, mostClassicBytes), 1};
        return cursor.take('}') ? nullptr : noLength;
    }
    if (!cursor.take('['))
        return noLength;
    for (; isDigit(cursor.peek()) && length.digits < mostDigits; cursor.advance(), ++length.digits)
        length.bytes = length.bytes * 10 + hexDigit(cursor.peek());
    if (length.digits == 0 || !cursor.take(']'))
        return noLength;
    if (length.digits == 1 && length.bytes > mostClassicBytes)
        return "more than 8 data bytes";
    return length.digits == 2 && length.bytes > mostCanBytes ? "more than 64 data bytes" : nullptr;
}

// All between time and data. `flags`: those of the extra columns.
char const* readHead(TextCursor& cursor, Frame& frame, Length& length) {
    if (char const* const cause = readCandumpChannel(cursor, frame))
        return cause;
    std::uint16_t extraFlags = 0;
    if (char const* const cause = readExtraColumns(cursor, extraFlags))
        return cause;
    std::uint32_t identifier = 0;
    unsigned const digits = readCandumpIdentifier(cursor, identifier);
    if (digits != standardDigits && digits != extendedDigits)
        return badIdentifierDigits;
    if (char const* const cause = readLength(cursor, length))
        return cause;
    if (char const* const cause = setCandumpIdentifier(identifier, digits == extendedDigits, frame))
        return cause;
    frame.flags |= extraFlags;
    frame.add(frameFlag::fd, length.digits == 2);
    frame.length = static_cast<std::uint8_t>(length.bytes);
    return nullptr;
}

// Two hexadecimal or eight binary digits. Returns false if it is neither.
bool readByte(std::string_view digits, std::uint8_t& byte) {
    unsigned const bits = digits.size() == 2 ? 4 : 1;
    if (digits.size() * bits != 8)
        return false;
    unsigned value = 0;
    for (char const character : digits) {
        std::uint8_t const digit = hexDigit(character);
        if (digit >> bits != 0)
            return false;
        value = value << bits | digit;
    }
    byte = static_cast<std::uint8_t>(value);
    return true;
}

char const* readData(std::string_view text, Frame& frame) {
    constexpr std::string_view separators = " \t`";
    bool swapped = false;
    for (std::size_t i = 0; i < frame.length; ++i) {
        // What comes after the data may be as long as a byte.
        bool const isLast = i + 1 == frame.length;
        std::size_t const end = std::min(text.find_first_of(separators), text.size());
        if (end == 0)
            return "fewer data bytes than the length says";
        if (!readByte(text.substr(0, end), frame.bytes[i]))
            return "data byte has neither two hexadecimal nor eight binary digits";
        text.remove_prefix(end);
        if (!isLast && !text.empty()) {
            swapped = swapped || text.front() == '`';
            text.remove_prefix(1);
        }
    }
    if (swapped)
        std::reverse(frame.bytes.begin(), frame.bytes.begin() + frame.length);
    // The data once more as text, between apostrophes, or a mark.
    std::size_t const more = std::min(text.find_first_not_of(" \t"), text.size());
    std::string_view const rest = text.substr(more);
    return rest.empty() || rest.front() == '\'' || rest.front() == '`' || startsWith(rest, "ERRORFRAME")
               ? nullptr
               : "text after the frame";
}

} // namespace

bool CandumpScreen::fits(std::string_view line) {
    std::string plain;
    removeColours(line, plain);
    TextCursor cursor(plain);
    cursor.skipBlanks();
    CandumpTime time;
    std::uint64_t microseconds = 0;
    if (cursor.peek() == '(' && time.read(cursor, microseconds) != nullptr)
        return false;
    Frame frame;
    Length length;
    return readHead(cursor, frame, length) == nullptr;
}

ParsedLine CandumpScreen::parse(std::string_view line, Frame& frame) {
    if (line.find(escape) != std::string_view::npos) {
        removeColours(line, d_plain);
        line = d_plain;
    }
    TextCursor cursor(line);
    cursor.skipBlanks();
    if (cursor.atEnd())
        return {};
    if (line.front() == '\t' && d_afterErrorFrame)
        return {};
    ParsedLine const parsed = parseFrame(cursor, frame);
    d_afterErrorFrame = parsed.kind == LineKind::Frame && frame.is(frameFlag::error);
    return parsed;
}

ParsedLine CandumpScreen::parseFrame(TextCursor cursor, Frame& frame) {
    frame.bus = Bus::Can;
    frame.timestamp = 0;
    if (cursor.peek() == '(')
        if (char const* const cause = d_time.read(cursor, frame.timestamp))
            return malformedLine(cause);
    Length length;
    if (char const* const cause = readHead(cursor, frame, length))
        return malformedLine(cause);
    if (length.digits > 2)
        return skippedEvent("CAN XL frame");
    std::string_view text = cursor.rest();
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    if (startsWith(text, "remote request")) {
        frame.flags |= frameFlag::remote;
        return {LineKind::Frame};
    }
    char const* const cause = readData(text, frame);
    return cause != nullptr ? malformedLine(cause) : ParsedLine{LineKind::Frame};
}

} // namespace qztool
