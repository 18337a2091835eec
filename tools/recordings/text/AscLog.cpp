// Headers, events and frames of ASC logs.
#include "tools/recordings/text/AscLog.h"

#include "tools/base/Characters.h"
#include "tools/recordings/LengthCode.h"
#include "tools/recordings/text/AscDate.h"
#include "tools/recordings/text/AscEvents.h"
#include "tools/recordings/text/AscFields.h"
#include "tools/recordings/text/AscFlexRay.h"
#include "tools/recordings/text/DecimalTime.h"
#include "tools/recordings/text/Letters.h"

#include <algorithm>
#include <limits>

namespace qztool {

namespace {

constexpr std::uint32_t fdFormat = 0x1000; // in the flags of a CANFD line; clear: a classic frame on a CAN FD channel

// True if the words of `phrase` come next, with any number of spaces between them.
bool beginsWith(TextCursor line, std::string_view phrase) {
    TextCursor expected(phrase);
    for (std::string_view word = expected.word(); !word.empty(); word = expected.word())
        if (!equalIgnoringCase(line.word(), word))
            return false;
    return true;
}

bool isComment(TextCursor line) {
    return line.take('/') && line.take('/');
}

bool isBaseHeader(TextCursor line) {
    return beginsWith(line, "base");
}

// Moves over a header that states when the log begins, up to the date; false: it is another line. The start of a
// trigger block is later than that of the log, and only stands in for a date that is not there.
bool takeDateHeader(TextCursor& line) {
    for (char const* const phrase : {"date", "begin triggerblock"}) {
        if (beginsWith(line, phrase)) {
            TextCursor words(phrase);
            while (!words.word().empty())
                line.word();
            return true;
        }
    }
    return false;
}

bool isOtherHeader(TextCursor line) {
    return isComment(line) || beginsWith(line, "internal events logged") ||
           beginsWith(line, "no internal events logged") || beginsWith(line, "end triggerblock") ||
           takeDateHeader(line);
}

// LIN channels are L2, L3 and so on, but the first one is Li.
std::string_view linChannel(std::string_view word) {
    if (word == "Li")
        return "1";
    return word.size() > 1 && word.front() == 'L' && std::all_of(word.begin() + 1, word.end(), isDigit<char>)
               ? word.substr(1)
               : std::string_view();
}

char const* readIdentifier(std::string_view word, int base, Frame& frame) {
    bool const extended = !word.empty() && word.back() == 'x';
    frame.flags = extended ? frameFlag::extended : 0;
    if (extended)
        word.remove_suffix(1);
    if (!toNumber(word, base, frame.address))
        return "identifier is not a number of the log's base";
    if (frame.address > (extended ? highestExtendedIdentifier : highestStandardIdentifier))
        return extended ? "identifier above 1FFFFFFF" : "identifier without x above 7FF";
    return nullptr;
}

constexpr char const* symbolicName = "frame with a name in place of its identifier";

// True if it can only be the name of a message, which some tools write in place of its identifier.
bool isName(std::string_view word, int base) {
    auto const isLetter = [](char c) { return (toLower(c) >= 'a' && toLower(c) <= 'z') || c == '_'; };
    auto const isOfName = [&](char c) { return isLetter(c) || isDigit(c); };
    if (word.empty() || !isLetter(word.front()) || !std::all_of(word.begin(), word.end(), isOfName))
        return false;
    std::string_view const digits = word.back() == 'x' ? word.substr(0, word.size() - 1) : word;
    return digits.empty() || base == 10 || !std::all_of(digits.begin(), digits.end(), [](char c) {
               return isDigit(c) || (toLower(c) >= 'a' && toLower(c) <= 'f');
           });
}

// The identifier at the end of "Length = 239910 BitCount = 124 ID = 418119424x", decimal in either base; empty if there
// is none.
std::string_view identifierAtEnd(TextCursor line) {
    for (std::string_view word = line.word(); !word.empty(); word = line.word())
        if (word == "ID" && line.word() == "=")
            return line.word();
    return {};
}

bool isErrorFrame(std::string_view word) {
    return equalIgnoringCase(word, "ErrorFrame");
}

} // namespace

bool AscLog::fits(std::string_view line) {
    TextCursor cursor(line);
    cursor.skipBlanks();
    if (isBaseHeader(cursor) || isOtherHeader(cursor))
        return true;
    // With a point, as logs of other formats begin their lines with a running number.
    std::string_view const first = cursor.word();
    TextCursor time(first);
    std::uint64_t microseconds = 0;
    return first.find('.') != std::string_view::npos && readTime(time, microseconds) == nullptr && time.atEnd();
}

ParsedLine AscLog::parse(std::string_view line, Frame& frame) {
    TextCursor cursor(line);
    cursor.skipBlanks();
    if (cursor.atEnd())
        return {LineKind::Other};
    if (isDigit(cursor.peek()))
        return parseEvent(cursor, frame);
    if (isBaseHeader(cursor))
        return parseBase(cursor);
    bool const isDate = beginsWith(cursor, "date"); // trigger blocks are parts of a log
    if (takeDateHeader(cursor)) {
        ParsedLine parsed = parseDate(cursor);
        parsed.isHeader = isDate;
        return parsed;
    }
    return isOtherHeader(cursor) ? ParsedLine{LineKind::Other} : malformedLine("neither a header nor an event");
}

ParsedLine AscLog::parseDate(TextCursor cursor) {
    cursor.skipBlanks();
    if (cursor.atEnd() || d_startTime)
        return {LineKind::Other};
    d_startTime = ascDate(cursor.rest());
    return d_startTime ? ParsedLine{LineKind::Other} : skippedEvent("date in a form that is not known");
}

ParsedLine AscLog::parseBase(TextCursor cursor) {
    cursor.word(); // "base"
    std::string_view const base = cursor.word();
    bool const isDecimal = equalIgnoringCase(base, "dec");
    if (!isDecimal && !equalIgnoringCase(base, "hex"))
        return malformedLine("base is neither hex nor dec");
    bool relative = d_relative;
    if (equalIgnoringCase(cursor.word(), "timestamps")) {
        std::string_view const reference = cursor.word();
        relative = equalIgnoringCase(reference, "relative");
        if (!relative && !equalIgnoringCase(reference, "absolute"))
            return malformedLine("time stamps are neither absolute nor relative");
    }
    d_base = isDecimal ? 10 : 16;
    d_relative = relative;
    return headerLine();
}

char const* AscLog::readEventTime(TextCursor& cursor) {
    std::uint64_t time = 0;
    if (char const* const cause = readTime(cursor, time))
        return cause;
    if (!cursor.atEnd() && !isBlank(cursor.peek()))
        return "time stamp is not a number";
    if (d_relative) {
        if (time > std::numeric_limits<std::uint64_t>::max() - d_time)
            return timeTooLarge;
        time += d_time;
    }
    d_time = time;
    return nullptr;
}

ParsedLine AscLog::parseEvent(TextCursor cursor, Frame& frame) {
    if (char const* const cause = readEventTime(cursor))
        return malformedLine(cause);
    frame.timestamp = d_time;
    frame.bus = Bus::Can;
    TextCursor const afterTime = cursor;
    std::string_view const first = cursor.word();
    if (first == "CANFD")
        return parseFdEvent(cursor, frame);
    if (std::string_view const channel = linChannel(first); !channel.empty())
        return parseLinEvent(channel, cursor, frame);
    if (first == "Fr")
        return parseAscFlexRay(cursor, d_base, frame);
    if (first.empty())
        return {LineKind::Other};
    if (!std::all_of(first.begin(), first.end(), isDigit<char>))
        return skippedEvent(ascEventKind(first));
    // A channel's number begins frames, but statistics and transport protocol messages as well.
    std::string_view const second = cursor.word();
    if (isErrorFrame(second))
        return errorFrame(first, frame);
    return isDirection(cursor.word()) ? parseFrame(afterTime, frame) : skippedEvent(ascEventKind(second));
}

// From after the channel on. Errors have a word of their own in place of the direction or the identifier.
ParsedLine AscLog::parseLinEvent(std::string_view channel, TextCursor cursor, Frame& frame) const {
    std::string_view const identifier = cursor.word();
    std::string_view const direction = cursor.word();
    for (std::string_view const word : {identifier, direction, TextCursor(cursor).word()})
        if (char const* const kind = ascLinEventKind(word))
            return skippedEvent(kind);
    if (!isDirection(direction))
        return skippedEvent("LIN event of another kind");
    if (!readAscChannel(channel, frame))
        return malformedLine(badChannel);
    frame.bus = Bus::Lin;
    frame.flags = directionFlag(direction);
    if (!toNumber(identifier, d_base, frame.address) || frame.address > highestLinIdentifier)
        return malformedLine("LIN identifier is not a number of the log's base up to 63");
    std::uint32_t length = 0;
    if (!toNumber(cursor.word(), d_base, length) || length > mostClassicBytes)
        return malformedLine("length of a LIN frame is not a number up to 8");
    char const* const cause = readAscData(cursor, d_base, length, frame);
    return cause != nullptr ? malformedLine(cause) : ParsedLine{LineKind::Frame};
}

ParsedLine AscLog::errorFrame(std::string_view channel, Frame& frame) {
    frame.address = 0;
    frame.flags = frameFlag::error;
    frame.length = 0;
    return readAscChannel(channel, frame) ? ParsedLine{LineKind::Frame} : malformedLine(badChannel);
}

// From after "CANFD" on: error frames have the word in place of the direction or of the identifier.
ParsedLine AscLog::parseFdEvent(TextCursor cursor, Frame& frame) const {
    std::string_view const channel = cursor.word();
    std::string_view const direction = cursor.word();
    std::string_view const identifier = isErrorFrame(direction) ? direction : cursor.word();
    if (isErrorFrame(identifier))
        return errorFrame(channel, frame);
    if (!readAscChannel(channel, frame))
        return malformedLine(badChannel);
    if (!isDirection(direction))
        return malformedLine("direction is none of Rx, Tx and TxRq");
    if (isName(identifier, d_base))
        return skippedEvent(symbolicName);
    if (char const* const cause = readIdentifier(identifier, d_base, frame))
        return malformedLine(cause);
    std::string_view const next = cursor.word();
    bool const hasName = next != "0" && next != "1"; // that a database gave the message
    std::string_view const bitRateSwitch = hasName ? cursor.word() : next;
    std::string_view const errorState = cursor.word();
    if ((bitRateSwitch != "0" && bitRateSwitch != "1") || (errorState != "0" && errorState != "1"))
        return malformedLine("bit rate switch and error state are not both 0 or 1");
    std::uint32_t code = 0, length = 0;
    if (!toNumber(cursor.word(), d_base, code) || code > highestLengthCode)
        return malformedLine("data length code is not a number of the log's base up to 15");
    // Deliberate: decimal, whatever the base.
    if (!toNumber(cursor.word(), 10, length) || length > mostCanBytes)
        return malformedLine("data length is not a number up to 64");
    if (char const* const cause = readAscData(cursor, d_base, length, frame))
        return malformedLine(cause);
    cursor.word(); // duration
    cursor.word(); // bits
    std::uint32_t flags = fdFormat;
    toNumber(cursor.word(), 16, flags); // not written by every tool
    frame.flags |= directionFlag(direction);
    if (length == 0 && code != 0 && (flags & fdFormat) == 0) {
        frame.flags |= frameFlag::remote;
        frame.length = static_cast<std::uint8_t>(std::min<std::uint32_t>(code, mostClassicBytes));
    } else if ((flags & fdFormat) != 0 || length > mostClassicBytes) {
        frame.flags |= frameFlag::fd;
        frame.add(frameFlag::bitRateSwitch, bitRateSwitch == "1");
        frame.add(frameFlag::errorState, errorState == "1");
    }
    return {LineKind::Frame};
}

ParsedLine AscLog::parseFrame(TextCursor cursor, Frame& frame) const {
    if (!readAscChannel(cursor.word(), frame))
        return malformedLine(badChannel);
    std::string_view identifier = cursor.word();
    int base = d_base;
    if (isName(identifier, base)) {
        base = 10;
        identifier = identifierAtEnd(cursor);
        if (identifier.empty())
            return skippedEvent(symbolicName);
    }
    if (char const* const cause = readIdentifier(identifier, base, frame))
        return malformedLine(cause);
    frame.flags |= directionFlag(cursor.word());
    std::string_view const type = cursor.word();
    if (type == "r") {
        std::uint32_t length = 0; // may be missing
        frame.flags |= frameFlag::remote;
        frame.length = toNumber(cursor.word(), d_base, length) && length <= mostClassicBytes
                           ? static_cast<std::uint8_t>(length)
                           : std::uint8_t{0};
        return {LineKind::Frame};
    }
    if (type != "d")
        return malformedLine("frame is marked neither as data (d) nor as remote (r)");
    std::uint32_t length = 0;
    if (!toNumber(cursor.word(), d_base, length))
        return malformedLine("data length is not a number of the log's base");
    char const* const cause =
        length <= mostClassicBytes ? readAscData(cursor, d_base, length, frame) : readLongData(cursor, length, frame);
    return cause != nullptr ? malformedLine(cause) : ParsedLine{LineKind::Frame};
}

// A number above 8 may be a length, or a length code: of a classic frame with its eight bytes, or, since some tools
// write CAN FD frames in the classic form, of such a frame. The bytes that follow decide.
char const* AscLog::readLongData(TextCursor& cursor, std::uint32_t number, Frame& frame) const {
    std::uint32_t there = 0;
    TextCursor ahead = cursor;
    std::uint32_t byte = 0;
    while (there < mostCanBytes && toNumber(ahead.word(), d_base, byte) && byte <= 255)
        ++there;
    std::uint32_t length = number;
    if (number <= highestLengthCode && (there == fdLength(number) || there == mostClassicBytes))
        length = there;
    if (length > mostCanBytes)
        return "data length above 64";
    if (length > mostClassicBytes)
        frame.flags |= frameFlag::fd;
    return readAscData(cursor, d_base, length, frame);
}

} // namespace qztool
