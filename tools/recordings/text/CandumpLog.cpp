// The fields of a candump line, from left to right.
#include "tools/recordings/text/CandumpLog.h"

#include "tools/base/Characters.h"
#include "tools/recordings/text/CandumpFields.h"
#include "tools/recordings/text/DecimalTime.h"

#include <algorithm>
#include <cstring>

namespace qztool {

namespace {

// Reads a number of `count` digits. Whatever is no digit leaves its mark in `strange`.
std::uint64_t readDigits(char const* text, unsigned count, unsigned& strange) {
    std::uint64_t number = 0;
    for (unsigned i = 0; i < count; ++i) {
        unsigned const digit = static_cast<unsigned char>(text[i]) - unsigned{'0'};
        strange |= digit > 9 ? 1U : 0U;
        number = number * 10 + digit;
    }
    return number;
}

// The same in hexadecimal.
std::uint32_t readHexDigits(char const* text, unsigned count, unsigned& strange) {
    std::uint32_t number = 0;
    for (unsigned i = 0; i < count; ++i) {
        unsigned const digit = hexDigit(text[i]);
        strange |= digit & 0xF0U;
        number = number << 4 | digit;
    }
    return number;
}

// The readers below return the cause if they fail, and nothing if they do not.

char const* readBracketedTime(TextCursor& cursor, Frame& frame) {
    if (!cursor.take('('))
        return "line does not begin with a time in parentheses";
    if (char const* const cause = readTime(cursor, frame.timestamp))
        return cause;
    if (!cursor.take(')'))
        return "time stamp is not closed by a parenthesis";
    return nullptr;
}

char const* readIdentifier(TextCursor& cursor, Frame& frame) {
    std::uint32_t value = 0;
    unsigned const digits = readCandumpIdentifier(cursor, value);
    if (digits != standardDigits && digits != extendedDigits)
        return badIdentifierDigits;
    if (!cursor.take('#'))
        return "identifier is not followed by '#'";
    return setCandumpIdentifier(value, digits == extendedDigits, frame);
}

bool atFieldEnd(TextCursor const& cursor) {
    return cursor.atEnd() || isBlank(cursor.peek());
}

// "_E": the length code of a frame that announces more than the eight bytes it carries.
char const* readRawLengthCode(TextCursor& cursor) {
    if (cursor.take('_')) {
        std::uint8_t const code = hexDigit(cursor.peek());
        if (code == noDigit || code <= 8)
            return "raw length code is not one of 9 to F";
        cursor.advance();
    }
    return nullptr;
}

char const* readData(TextCursor& cursor, Frame& frame) {
    constexpr char const* badCharacter = "data holds a character that is not a hexadecimal digit";
    bool const isFd = frame.is(frameFlag::fd);
    std::size_t const most = isFd ? mostCanBytes : mostClassicBytes;
    std::uint8_t length = 0;
    for (; hexDigit(cursor.peek()) != noDigit; ++length) {
        if (length == most)
            return isFd ? "more than 64 data bytes" : "more than 8 data bytes";
        std::uint8_t const high = hexDigit(cursor.peek());
        cursor.advance();
        std::uint8_t const low = hexDigit(cursor.peek());
        if (low == noDigit)
            return atFieldEnd(cursor) || cursor.peek() == '_' ? "odd number of data digits" : badCharacter;
        cursor.advance();
        frame.bytes[length] = static_cast<std::uint8_t>(high << 4 | low);
    }
    frame.length = length;
    if (length == mostClassicBytes && !isFd)
        return readRawLengthCode(cursor);
    return atFieldEnd(cursor) ? nullptr : badCharacter;
}

char const* readRemoteLength(TextCursor& cursor, Frame& frame) {
    frame.length = 0;
    if (cursor.peek() >= '0' && cursor.peek() <= '8') {
        frame.length = hexDigit(cursor.peek());
        cursor.advance();
    }
    return frame.length == mostClassicBytes ? readRawLengthCode(cursor) : nullptr;
}

// "1": bit 0 is the bit rate switch, bit 1 the error state.
char const* readFdFlags(TextCursor& cursor, Frame& frame) {
    std::uint8_t const flags = hexDigit(cursor.peek());
    if (flags == noDigit)
        return "'##' is not followed by the flags of a CAN FD frame";
    cursor.advance();
    frame.flags |= frameFlag::fd;
    frame.add(frameFlag::bitRateSwitch, (flags & 1) != 0);
    frame.add(frameFlag::errorState, (flags & 2) != 0);
    return nullptr;
}

// "DROPCOUNT: dropped 2 CAN frames on 'can0' socket (total drops 2)", between the frames of `candump -d`.
bool isDropReport(std::string_view line) {
    TextCursor cursor(line);
    return cursor.word() == "DROPCOUNT:";
}

char const* readLineEnd(TextCursor& cursor, Frame& frame) {
    if (!atFieldEnd(cursor))
        return "frame is not followed by a space";
    std::string_view const direction = cursor.word();
    bool const directionFits = direction.empty() || direction == "R" || direction == "T";
    if (!direction.empty())
        frame.flags |= direction == "R" ? frameFlag::received : frameFlag::transmitted;
    cursor.skipBlanks();
    return directionFits && cursor.atEnd() ? nullptr : "text after the frame";
}

} // namespace

// "(1757617431.", for the lines to come as well.
bool CandumpLog::readSecond(char const* text) {
    unsigned strange = text[0] != '(' || text[11] != '.' ? 1 : 0;
    std::uint64_t const seconds = readDigits(text + 1, 10, strange);
    if (strange != 0)
        return false;
    std::copy_n(text, d_secondText.size(), d_secondText.begin());
    d_second = seconds * 1'000'000;
    return true;
}

// Reads the line that most of a log consists of: a time since 1970, single spaces, a data frame, and nothing after it.
//     (1757617431.821276) can0 167#727FC3000019E500
// Since all has its place there, one test in the end stands for one at each character. False: the line is another,
// valid or not, and `frame` is unspecified.
bool CandumpLog::readUsualLine(std::string_view line, Frame& frame) {
    constexpr std::size_t afterTime = 20;
    constexpr std::size_t shortest = afterTime + 6; // a name of one character, a space, and "123#"
    if (line.size() < shortest)
        return false;
    char const* const text = line.data();
    // Hundreds of lines in a row begin with the same second.
    if (std::memcmp(text, d_secondText.data(), d_secondText.size()) != 0 && !readSecond(text))
        return false;
    unsigned strange = text[18] != ')' || text[19] != ' ' ? 1 : 0;
    frame.bus = Bus::Can;
    frame.timestamp = d_second + readDigits(text + 12, 6, strange);

    char const* const end = text + line.size();
    char const* position = text + afterTime;
    unsigned channel = 0;
    for (; !isBlank(*position); ++position) {
        channel = isDigit(*position) ? channel * 10 + hexDigit(*position) : 0;
        if (channel > 255 || end - position <= 5)
            return false;
    }
    strange |= position == text + afterTime || *position != ' ' ? 1 : 0;
    ++position;
    frame.channel = static_cast<std::uint8_t>(channel);

    bool const extended = position[3] != '#';
    frame.flags = extended ? frameFlag::extended : 0;
    unsigned const idDigits = extended ? 8 : 3;
    if (extended && (end - position <= 8 || position[8] != '#'))
        return false;
    frame.address = readHexDigits(position, idDigits, strange);
    position += idDigits + 1;

    auto const dataDigits = static_cast<std::size_t>(end - position);
    if (dataDigits % 2 != 0 || dataDigits > 2 * mostClassicBytes)
        return false;
    frame.length = static_cast<std::uint8_t>(dataDigits / 2);
    for (std::size_t i = 0; i < frame.length; ++i)
        frame.bytes[i] = static_cast<std::uint8_t>(readHexDigits(position + 2 * i, 2, strange));
    return strange == 0 && frame.address <= (extended ? highestExtendedIdentifier : highestStandardIdentifier);
}

bool CandumpLog::fits(std::string_view line) {
    TextCursor cursor(line);
    cursor.skipBlanks();
    return (cursor.take('(') && isDigit(cursor.peek())) || CandumpScreen::fits(line) || isDropReport(line);
}

void CandumpLog::lookAhead(std::string_view lines) {
    d_screen.lookAhead(lines);
}

std::optional<std::uint64_t> CandumpLog::startTime() const {
    return d_isScreen ? d_screen.startTime() : 0;
}

bool CandumpLog::linesHaveTheirTimes() const {
    return !d_isScreen || d_screen.startTime().has_value();
}

ParsedLine CandumpLog::parse(std::string_view line, Frame& frame) {
    if (readUsualLine(line, frame))
        return {LineKind::Frame};
    if (isCommentLine(line))
        return {LineKind::Other};
    if (isDropReport(line))
        return skippedEvent("report of dropped frames");
    // Decided by the first line that only can be of a screen: what is wrong with another is said in the terms of its
    // form.
    d_isScreen = d_isScreen || CandumpScreen::fits(line);
    return d_isScreen ? d_screen.parse(line, frame) : parseLogLine(line, frame);
}

ParsedLine CandumpLog::parseLogLine(std::string_view line, Frame& frame) {
    frame.bus = Bus::Can;
    TextCursor cursor(line);
    cursor.skipBlanks();
    if (cursor.atEnd())
        return {LineKind::Other};
    if (char const* const cause = readBracketedTime(cursor, frame))
        return malformedLine(cause);
    if (char const* const cause = readCandumpChannel(cursor, frame))
        return malformedLine(cause);
    if (char const* const cause = readIdentifier(cursor, frame))
        return malformedLine(cause);
    if (cursor.take('#')) {
        if (char const* const cause = readFdFlags(cursor, frame))
            return malformedLine(cause);
    } else if (cursor.take('R')) {
        frame.flags |= frameFlag::remote;
    }
    char const* const cause = frame.is(frameFlag::remote) ? readRemoteLength(cursor, frame) : readData(cursor, frame);
    if (cause != nullptr)
        return malformedLine(cause);
    if (char const* const end = readLineEnd(cursor, frame))
        return malformedLine(end);
    return {LineKind::Frame};
}

} // namespace qztool
