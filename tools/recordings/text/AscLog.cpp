// Headers, events and frames of ASC logs.
#include "tools/recordings/text/AscLog.h"

#include "tools/recordings/text/DecimalTime.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <system_error>

namespace qztool {

namespace {

char toLower(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

bool equalIgnoringCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char left, char right) { return toLower(left) == toLower(right); });
}

// True if the words of `phrase` come next, with any number of blanks between them.
bool beginsWith(TextCursor line, std::string_view phrase) {
    TextCursor expected(phrase);
    for (std::string_view word = expected.word(); !word.empty(); word = expected.word()) {
        if (!equalIgnoringCase(line.word(), word)) {
            return false;
        }
    }
    return true;
}

bool isComment(TextCursor line) {
    return line.take('/') && line.take('/');
}

bool isBaseHeader(TextCursor line) {
    return beginsWith(line, "base");
}

bool isOtherHeader(TextCursor line) {
    return isComment(line) || beginsWith(line, "date") || beginsWith(line, "internal events logged") ||
           beginsWith(line, "no internal events logged") || beginsWith(line, "begin triggerblock") ||
           beginsWith(line, "end triggerblock");
}

// Returns false if `word` is not a number in that base, or too large.
bool toNumber(std::string_view word, int base, std::uint32_t& value) {
    char const* const end = word.data() + word.size();
    auto const [position, error] = std::from_chars(word.data(), end, value, base);
    return error == std::errc() && position == end;
}

bool isDirection(std::string_view word) {
    return word == "Rx" || word == "Tx" || word == "TxRq";
}

// A frame of which nothing but its kind is read.
ParsedLine frameWithout(std::uint16_t flags, Frame& frame) {
    frame.bus = Bus::Can;
    frame.address = 0;
    frame.flags = flags;
    frame.length = 0;
    return {LineKind::Frame};
}

bool isErrorFrame(std::string_view word) {
    return equalIgnoringCase(word, "ErrorFrame");
}

} // namespace

bool AscLog::fits(std::string_view line) {
    TextCursor cursor(line);
    cursor.skipBlanks();
    if (isBaseHeader(cursor) || isOtherHeader(cursor)) {
        return true;
    }
    // With a point, as logs of other formats begin their lines with a running number.
    std::string_view const first = cursor.word();
    TextCursor time(first);
    std::uint64_t microseconds = 0;
    return first.find('.') != std::string_view::npos && readTime(time, microseconds) == nullptr && time.atEnd();
}

ParsedLine AscLog::parse(std::string_view line, Frame& frame) {
    TextCursor cursor(line);
    cursor.skipBlanks();
    if (cursor.atEnd()) {
        return {LineKind::Other};
    }
    if (isDecimalDigit(cursor.peek())) {
        return parseEvent(cursor, frame);
    }
    if (isBaseHeader(cursor)) {
        return parseBase(cursor);
    }
    return isOtherHeader(cursor) ? ParsedLine{LineKind::Other} : malformedLine("neither a header nor an event");
}

ParsedLine AscLog::parseBase(TextCursor cursor) {
    cursor.word(); // "base"
    std::string_view const base = cursor.word();
    bool const isDecimal = equalIgnoringCase(base, "dec");
    if (!isDecimal && !equalIgnoringCase(base, "hex")) {
        return malformedLine("base is neither hex nor dec");
    }
    bool relative = d_relative;
    if (equalIgnoringCase(cursor.word(), "timestamps")) {
        std::string_view const reference = cursor.word();
        relative = equalIgnoringCase(reference, "relative");
        if (!relative && !equalIgnoringCase(reference, "absolute")) {
            return malformedLine("time stamps are neither absolute nor relative");
        }
    }
    d_base = isDecimal ? 10 : 16;
    d_relative = relative;
    return {LineKind::Other};
}

char const* AscLog::readEventTime(TextCursor& cursor) {
    std::uint64_t time = 0;
    if (char const* const cause = readTime(cursor, time)) {
        return cause;
    }
    if (!cursor.atEnd() && !isBlank(cursor.peek())) {
        return "time stamp is not a number";
    }
    if (d_relative) {
        if (time > std::numeric_limits<std::uint64_t>::max() - d_time) {
            return timeTooLarge;
        }
        time += d_time;
    }
    d_time = time;
    return nullptr;
}

ParsedLine AscLog::parseEvent(TextCursor cursor, Frame& frame) {
    if (char const* const cause = readEventTime(cursor)) {
        return malformedLine(cause);
    }
    TextCursor const behindTime = cursor;
    std::string_view const first = cursor.word();
    if (first == "CANFD") {
        return parseFdEvent(cursor, frame);
    }
    if (first.empty() || !std::all_of(first.begin(), first.end(), isDecimalDigit)) {
        return {LineKind::Other};
    }
    // A channel's number begins frames, but statistics and transport protocol messages as well.
    if (isErrorFrame(cursor.word())) {
        return frameWithout(frameFlag::error, frame);
    }
    return isDirection(cursor.word()) ? parseFrame(behindTime, frame) : ParsedLine{LineKind::Other};
}

// From after "CANFD" on: error frames have the word in place of the direction or of the identifier.
ParsedLine AscLog::parseFdEvent(TextCursor cursor, Frame& frame) const {
    cursor.word(); // channel
    bool const isError = isErrorFrame(cursor.word()) || isErrorFrame(cursor.word());
    return frameWithout(isError ? frameFlag::error : frameFlag::fd, frame);
}

ParsedLine AscLog::parseFrame(TextCursor cursor, Frame& frame) const {
    std::uint32_t channel = 0;
    if (!toNumber(cursor.word(), 10, channel) || channel < 1 || channel > 255) {
        return malformedLine("channel number is not within 1 and 255");
    }
    if (char const* const cause = readIdentifier(cursor.word(), frame)) {
        return malformedLine(cause);
    }
    cursor.word(); // direction
    std::string_view const type = cursor.word();
    if (type == "r") {
        return frameWithout(frameFlag::remote, frame);
    }
    if (type != "d") {
        return malformedLine("frame is marked neither as data (d) nor as remote (r)");
    }
    std::uint32_t length = 0;
    if (!toNumber(cursor.word(), d_base, length)) {
        return malformedLine("data length is not a number of the log's base");
    }
    // Deliberate: some tools write CAN FD frames in the classic form, told by nothing but their length.
    if (length > mostClassicBytes) {
        return frameWithout(frameFlag::fd, frame);
    }
    if (char const* const cause = readData(cursor, length, frame)) {
        return malformedLine(cause);
    }
    frame.timestamp = d_time;
    frame.bus = Bus::Can;
    frame.channel = static_cast<std::uint8_t>(channel);
    return {LineKind::Frame};
}

char const* AscLog::readIdentifier(std::string_view word, Frame& frame) const {
    bool const extended = word.back() == 'x';
    frame.flags = extended ? frameFlag::extended : 0;
    if (extended) {
        word.remove_suffix(1);
    }
    if (!toNumber(word, d_base, frame.address)) {
        return "identifier is not a number of the log's base";
    }
    if (frame.address > (extended ? highestExtendedIdentifier : highestStandardIdentifier)) {
        return extended ? "identifier above 1FFFFFFF" : "identifier without x above 7FF";
    }
    return nullptr;
}

char const* AscLog::readData(TextCursor& cursor, std::uint32_t length, Frame& frame) const {
    frame.length = static_cast<std::uint8_t>(length);
    for (std::uint32_t i = 0; i < length; ++i) {
        std::string_view const word = cursor.word();
        if (word.empty()) {
            return "fewer data bytes than the data length tells";
        }
        std::uint32_t byte = 0;
        if (!toNumber(word, d_base, byte) || byte > 255) {
            return "data byte is not a number of the log's base up to 255";
        }
        frame.bytes[i] = static_cast<std::uint8_t>(byte);
    }
    return nullptr;
}

} // namespace qztool
