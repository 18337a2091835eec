// The fields of a candump line, from left to right.
#include "tools/traces/CandumpLog.h"

#include "tools/traces/DecimalTime.h"
#include "tools/traces/TextCursor.h"

#include <algorithm>

namespace qztool {

namespace {

constexpr std::uint32_t errorFrameBit = 0x20000000;
constexpr std::uint8_t noDigit = 0xFF;

constexpr std::array<std::uint8_t, 256> makeHexDigits() {
    std::array<std::uint8_t, 256> values{};
    for (unsigned i = 0; i < values.size(); ++i) {
        if (i >= '0' && i <= '9') {
            values[i] = static_cast<std::uint8_t>(i - '0');
        } else if (i >= 'a' && i <= 'f') {
            values[i] = static_cast<std::uint8_t>(i - 'a' + 10);
        } else if (i >= 'A' && i <= 'F') {
            values[i] = static_cast<std::uint8_t>(i - 'A' + 10);
        } else {
            values[i] = noDigit;
        }
    }
    return values;
}

// A table, as most of the characters of a log pass through it.
constexpr std::array<std::uint8_t, 256> hexDigits = makeHexDigits();

std::uint8_t hexDigit(char character) {
    return hexDigits[static_cast<unsigned char>(character)];
}

// The readers below return the cause if they fail, and nothing if they do not.

char const* readBracketedTime(TextCursor& cursor, Frame& frame) {
    if (!cursor.take('(')) {
        return "line does not begin with a time in parentheses";
    }
    if (char const* const cause = readTime(cursor, frame.timestamp)) {
        return cause;
    }
    if (!cursor.take(')')) {
        return "time stamp is not closed by a parenthesis";
    }
    return nullptr;
}

char const* readChannel(TextCursor& cursor, Frame& frame) {
    constexpr unsigned beyondRange = 256;
    cursor.skipBlanks();
    if (cursor.atEnd()) {
        return "no interface name";
    }
    unsigned number = 0;
    for (; !cursor.atEnd() && !isBlank(cursor.peek()); cursor.advance()) {
        char const character = cursor.peek();
        number = isDecimalDigit(character) ? std::min(number * 10 + hexDigit(character), beyondRange) : 0;
    }
    if (number >= beyondRange) {
        return "channel number above 255";
    }
    frame.channel = static_cast<std::uint8_t>(number);
    return nullptr;
}

// `isError` tells an error frame, whose identifier holds the error's class instead.
char const* readIdentifier(TextCursor& cursor, Frame& frame, bool& isError) {
    constexpr unsigned standardDigits = 3;
    constexpr unsigned extendedDigits = 8;
    cursor.skipBlanks();
    std::uint32_t value = 0;
    unsigned digits = 0;
    for (; hexDigit(cursor.peek()) != noDigit && digits <= extendedDigits; cursor.advance(), ++digits) {
        value = (value << 4) | hexDigit(cursor.peek());
    }
    if (digits != standardDigits && digits != extendedDigits) {
        return "identifier has neither 3 nor 8 hexadecimal digits";
    }
    if (!cursor.take('#')) {
        return "identifier is not followed by '#'";
    }
    frame.extended = digits == extendedDigits;
    isError = frame.extended && (value & errorFrameBit) != 0;
    frame.identifier = isError ? value & ~errorFrameBit : value;
    if (frame.identifier > (frame.extended ? highestExtendedIdentifier : highestStandardIdentifier)) {
        return frame.extended ? "identifier above 1FFFFFFF" : "identifier of 3 digits above 7FF";
    }
    return nullptr;
}

bool atFieldEnd(TextCursor const& cursor) {
    return cursor.atEnd() || isBlank(cursor.peek());
}

// "_E": the length code of a frame that announces more than the eight bytes it carries.
char const* readRawLengthCode(TextCursor& cursor) {
    if (cursor.take('_')) {
        std::uint8_t const code = hexDigit(cursor.peek());
        if (code == noDigit || code <= 8) {
            return "raw length code is not one of 9 to F";
        }
        cursor.advance();
    }
    return nullptr;
}

char const* readData(TextCursor& cursor, Frame& frame) {
    constexpr char const* badCharacter = "data holds a character that is not a hexadecimal digit";
    frame.payload.fill(0);
    std::uint8_t length = 0;
    for (; hexDigit(cursor.peek()) != noDigit; ++length) {
        if (length == frame.payload.size()) {
            return "more than 8 data bytes";
        }
        std::uint8_t const high = hexDigit(cursor.peek());
        cursor.advance();
        std::uint8_t const low = hexDigit(cursor.peek());
        if (low == noDigit) {
            return atFieldEnd(cursor) || cursor.peek() == '_' ? "odd number of data digits" : badCharacter;
        }
        cursor.advance();
        frame.payload[length] = static_cast<std::uint8_t>(high << 4 | low);
    }
    frame.length = length;
    if (length == frame.payload.size()) {
        return readRawLengthCode(cursor);
    }
    return atFieldEnd(cursor) ? nullptr : badCharacter;
}

char const* readRemoteLength(TextCursor& cursor) {
    if (cursor.peek() == '8') {
        cursor.advance();
        return readRawLengthCode(cursor);
    }
    if (cursor.peek() >= '0' && cursor.peek() < '8') {
        cursor.advance();
    }
    return nullptr;
}

char const* readLineEnd(TextCursor& cursor) {
    if (!atFieldEnd(cursor)) {
        return "frame is not followed by a blank";
    }
    std::string_view const direction = cursor.word();
    bool const directionFits = direction.empty() || direction == "R" || direction == "T";
    cursor.skipBlanks();
    return directionFits && cursor.atEnd() ? nullptr : "text behind the frame";
}

} // namespace

bool CandumpLog::fits(std::string_view line) {
    TextCursor cursor(line);
    cursor.skipBlanks();
    return cursor.take('(') && isDecimalDigit(cursor.peek());
}

ParsedLine CandumpLog::parse(std::string_view line, Frame& frame) {
    TextCursor cursor(line);
    cursor.skipBlanks();
    if (cursor.atEnd()) {
        return {LineKind::Other};
    }
    if (char const* const cause = readBracketedTime(cursor, frame)) {
        return malformedLine(cause);
    }
    if (char const* const cause = readChannel(cursor, frame)) {
        return malformedLine(cause);
    }
    bool isError = false;
    if (char const* const cause = readIdentifier(cursor, frame, isError)) {
        return malformedLine(cause);
    }
    if (cursor.take('#')) {
        return {LineKind::FdFrame};
    }
    bool const isRemote = cursor.take('R');
    if (char const* const cause = isRemote ? readRemoteLength(cursor) : readData(cursor, frame)) {
        return malformedLine(cause);
    }
    if (char const* const cause = readLineEnd(cursor)) {
        return malformedLine(cause);
    }
    if (isError) {
        return {LineKind::ErrorFrame};
    }
    return {isRemote ? LineKind::RemoteFrame : LineKind::Frame};
}

} // namespace qztool
