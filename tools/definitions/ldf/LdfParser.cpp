// The sections and elements of LIN description files.
#include "tools/definitions/ldf/LdfParser.h"

#include "tools/definitions/Numerals.h"
#include "tools/definitions/ProblemText.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

namespace qztool {

namespace {

constexpr std::string_view readSections[] = {"Signals",           "Diagnostic_signals",    "Frames",
                                             "Diagnostic_frames", "Sporadic_frames",       "Event_triggered_frames",
                                             "Schedule_tables",   "Signal_encoding_types", "Signal_representation"};

// Sections and statements about nodes and the physical layer, of no use here. Signal groups name signals a second time.
constexpr std::string_view skippedSections[] = {"Nodes",         "Node_attributes", "Diagnostic_addresses",
                                                "Signal_groups", "composite",       "Dynamic_frames"};
constexpr std::string_view skippedStatements[] = {"LIN_description_file", "LIN_speed", "LDF_file_revision",
                                                  "LIN_sig_byte_order_little_endian"};

template <typename Words>
bool isOneOf(std::string_view word, Words const& words) {
    return std::find(std::begin(words), std::end(words), word) != std::end(words);
}

bool isKnownVersion(std::string_view version) {
    constexpr std::string_view starts[] = {"1.2", "1.3", "2.0", "2.1", "2.2", "ISO17987", "J2602"};
    return std::any_of(std::begin(starts), std::end(starts),
                       [version](std::string_view start) { return version.substr(0, start.size()) == start; });
}

std::string describe(LdfToken const& token) {
    return token.kind == LdfTokenKind::Text || token.kind == LdfTokenKind::Unclosed ? "the text " + quote(token.text)
                                                                                    : quote(token.text);
}

} // namespace

LdfFile LdfParser::read() {
    while (!atEnd())
        readStatement();
    return std::move(d_file);
}

void LdfParser::readStatement() {
    struct Section {
        std::string_view name;
        Element element;
        bool block; // each element ends with a block in braces, not with a semicolon
    };
    static constexpr Section sections[] = {{"Signals", &LdfParser::signal, false},
                                           {"Diagnostic_signals", &LdfParser::signal, false},
                                           {"Frames", &LdfParser::frame, true},
                                           {"Diagnostic_frames", &LdfParser::diagnosticFrame, true},
                                           {"Sporadic_frames", &LdfParser::sporadicFrame, false},
                                           {"Event_triggered_frames", &LdfParser::eventFrame, false},
                                           {"Schedule_tables", &LdfParser::table, true},
                                           {"Signal_encoding_types", &LdfParser::encoding, true},
                                           {"Signal_representation", &LdfParser::representation, false}};
    LdfToken const& first = token();
    auto const section = std::find_if(std::begin(sections), std::end(sections),
                                      [&first](Section const& s) { return s.name == first.text; });
    if (first.kind != LdfTokenKind::Word) {
        if (!take(';')) { // an empty statement
            report(first.line, Severity::Error, "unexpected " + describe(first) + "; left out");
            ++d_position;
            skipStatement();
        }
    } else if (section != std::end(sections)) {
        readSection(section->element, section->block);
    } else if (first.text == "LIN_protocol_version" || first.text == "LIN_language_version") {
        readVersion();
    } else if (first.text == "Channel_name") {
        readChannelName();
    } else {
        if (first.text == "LIN_sig_byte_order_big_endian") {
            report(first.line, Severity::Warning,
                   "LIN_sig_byte_order_big_endian is not applied: signals of several bytes are read low byte first");
        } else if (!isOneOf(first.text, skippedSections) && !isOneOf(first.text, skippedStatements)) {
            report(first.line, Severity::Error,
                   std::string("unknown ") + (isMark('{', 1) ? "section " : "statement ") + quote(first.text) +
                       "; left out");
        }
        ++d_position;
        skipStatement();
    }
}

void LdfParser::readVersion() {
    LdfToken const& keyword = token();
    if (isMark('=', 1) && token(2).kind == LdfTokenKind::Text && !isKnownVersion(token(2).text)) {
        report(keyword.line, Severity::Warning,
               std::string(keyword.text) + " " + quote(token(2).text) + " is unknown; read as ISO 17987");
    }
    ++d_position;
    skipStatement();
}

void LdfParser::readChannelName() {
    if (isMark('=', 1) && token(2).kind == LdfTokenKind::Text)
        d_file.channelName = token(2).text;
    ++d_position;
    skipStatement();
}

void LdfParser::readSection(Element element, bool block) {
    LdfToken const& keyword = token();
    ++d_position;
    if (!take('{')) {
        report(keyword.line, Severity::Error,
               "section " + quote(keyword.text) + ": expected '{' but found " + describe(token()) + "; left out");
        skipStatement();
        return;
    }
    readElements(element, block);
    if (!take('}'))
        report(keyword.line, Severity::Warning, "section " + quote(keyword.text) + " is not closed");
}

void LdfParser::readElements(Element element, bool block) {
    while (!isMark('}') && !atEnd() && !atSection()) {
        std::size_t const start = d_position;
        d_label.clear();
        if (!(this->*element)()) {
            report(d_tokens[start].line, Severity::Error, d_label + ": " + d_cause + "; left out");
            resume(start, block);
        }
    }
}

// Moves to the end of the element that begins at token `start`.
void LdfParser::resume(std::size_t start, bool block) {
    d_position = start;
    std::size_t depth = 0;
    while (!atEnd() && !atSection()) {
        if (d_position > start && (depth == 0 || !block) && beginsElement(block))
            return;
        if (isMark('}') && depth == 0)
            return;
        if (isMark('{'))
            ++depth;
        else if (isMark('}'))
            --depth;
        // A text that is not closed has swallowed what ends the element.
        bool const last =
            (depth == 0 && isMark(block ? '}' : ';')) || (!block && token().kind == LdfTokenKind::Unclosed);
        ++d_position;
        if (last)
            return;
    }
}

// Elements of all sections begin with a name and what follows it here, and usually a line of their own.
bool LdfParser::beginsElement(bool block) const {
    return token().firstInLine && token().kind == LdfTokenKind::Word && (isMark(':', 1) || (block && isMark('{', 1)));
}

// From past the keyword on.
void LdfParser::skipStatement() {
    std::size_t depth = 0;
    while (!atEnd() && !atSection()) {
        bool const opens = isMark('{');
        bool const closes = isMark('}');
        bool const ends = isMark(';');
        ++d_position;
        depth += opens ? 1 : 0;
        depth -= closes && depth > 0 ? 1 : 0;
        if (depth == 0 && (closes || ends))
            return;
    }
}

// Name: 8, 0, Publisher, Subscriber; - of which all past the length is of no use here.
bool LdfParser::signal() {
    LdfSignal signal;
    signal.line = token().line;
    d_label = "signal";
    if (!name(signal.name, "a signal name"))
        return false;
    d_label += " " + quote(signal.name);
    bool read = expect(':') && count(signal.bits, "the length");
    if (read && take(',')) {
        if (take('{')) {
            while (token().kind == LdfTokenKind::Word || isMark(','))
                ++d_position;
            read = expect('}');
        } else {
            std::string_view initial;
            read = name(initial, "the initial value");
        }
        std::string_view node;
        while (read && take(','))
            read = name(node, "a node name");
    }
    if (!read || !end()) {
        d_file.leftOut.insert(signal.name);
        return false;
    }
    d_file.signals.push_back(signal);
    return true;
}

// Name: 0x01, Publisher, 2 { places }
bool LdfParser::frame() {
    LdfFrame frame;
    frame.line = token().line;
    d_label = "frame";
    if (!name(frame.name, "a frame name"))
        return false;
    d_label += " " + quote(frame.name);
    std::string_view publisher;
    bool read =
        expect(':') && count(frame.identifier, "the identifier") && expect(',') && name(publisher, "a node name");
    if (read && take(',')) {
        frame.length = 0;
        read = count(*frame.length, "the length");
    }
    return read ? frameBody(frame) : (d_file.leftOut.insert(frame.name), false);
}

// MasterReq: 60 { places }
bool LdfParser::diagnosticFrame() {
    LdfFrame frame;
    frame.line = token().line;
    frame.length = 8;
    d_label = "frame";
    if (!name(frame.name, "a frame name"))
        return false;
    d_label += " " + quote(frame.name);
    bool const read = expect(':') && count(frame.identifier, "the identifier");
    return read ? frameBody(frame) : (d_file.leftOut.insert(frame.name), false);
}

bool LdfParser::frameBody(LdfFrame& frame) {
    if (!expect('{')) {
        d_file.leftOut.insert(frame.name);
        return false;
    }
    d_file.frames.push_back(frame);
    while (!isMark('}') && !atEnd() && !atSection() && !frameFollows()) {
        std::size_t const start = d_position;
        d_label = "frame " + quote(frame.name);
        if (!place()) {
            report(d_tokens[start].line, Severity::Error, d_label + ": " + d_cause + "; left out");
            resume(start, false);
        }
    }
    if (!take('}'))
        report(frame.line, Severity::Warning, "frame " + quote(frame.name) + " is not closed");
    return true;
}

// Whether the header of a further frame follows, not a place that is spelled badly.
bool LdfParser::frameFollows() const {
    std::size_t ahead = 1;
    if (!isMark(':', ahead))
        return false;
    while (token(ahead).kind == LdfTokenKind::Word || isMark(',', ahead) || isMark(':', ahead))
        ++ahead;
    return isMark('{', ahead);
}

bool LdfParser::place() {
    LdfPlace place;
    place.line = token().line;
    if (!name(place.signal, "a signal name"))
        return false;
    d_label += ", signal " + quote(place.signal);
    if (!expect(',') || !count(place.offset, "the offset") || !end())
        return false;
    d_file.frames.back().places.push_back(place);
    return true;
}

// Name: Frame, Frame; - these are frames of their own, so there is nothing to keep but the name.
bool LdfParser::sporadicFrame() {
    d_label = "sporadic frame";
    std::string_view sporadic;
    if (!name(sporadic, "a frame name"))
        return false;
    d_label += " " + quote(sporadic);
    d_file.sporadicFrames.push_back(sporadic);
    std::string_view frame;
    if (!expect(':') || !name(frame, "a frame name"))
        return false;
    while (take(','))
        if (!name(frame, "a frame name"))
            return false;
    return end();
}

// Name: Table, 0x06, Frame, Frame;    before LIN 2.1    Name: 0x06, Frame, Frame;
bool LdfParser::eventFrame() {
    LdfEventFrame event;
    event.line = token().line;
    d_label = "event-triggered frame";
    if (!name(event.name, "a frame name"))
        return false;
    d_label += " " + quote(event.name);
    d_file.leftOut.insert(event.name);
    if (!expect(':'))
        return false;
    std::uint64_t number = 0;
    bool const hasTable =
        token().kind == LdfTokenKind::Word && readCount(token().text, number) != std::errc{} && isMark(',', 1);
    if ((hasTable && (!name(event.collisionTable, "a schedule table") || !expect(','))) ||
        !count(event.identifier, "the identifier"))
        return false;
    while (take(',')) {
        event.frames.emplace_back();
        if (!name(event.frames.back(), "a frame name"))
            return false;
    }
    if (!end())
        return false;
    d_file.leftOut.erase(event.name);
    d_file.eventFrames.push_back(std::move(event));
    return true;
}

bool LdfParser::table() {
    LdfTable table;
    table.line = token().line;
    d_label = "schedule table";
    if (!name(table.name, "a table name"))
        return false;
    d_label += " " + quote(table.name);
    if (!expect('{'))
        return false;
    std::string const label = d_label;
    d_file.tables.push_back(table);
    while (!isMark('}') && !atEnd() && !atSection() && (!isMark('{', 1) || command())) {
        std::size_t const start = d_position;
        if (!slot()) {
            report(d_tokens[start].line, Severity::Error,
                   label + ": " + d_cause + "; no cycle times are taken from this table", ProblemKind::Cycle);
            d_file.tables.back().complete = false;
            resume(start, false);
        }
    }
    if (!take('}'))
        report(table.line, Severity::Warning, label + " is not closed");
    return true;
}

// Whether a command follows, such as AssignNAD { LSM } delay 10 ms, and not the table after one that is not closed.
bool LdfParser::command() const {
    std::size_t ahead = 2;
    while (token(ahead).kind == LdfTokenKind::Word || isMark(',', ahead))
        ++ahead;
    return isMark('}', ahead);
}

bool LdfParser::slot() {
    LdfSlot slot;
    slot.line = token().line;
    if (!name(slot.frame, "a frame name"))
        return false;
    if (take('{')) {
        slot.frame = {};
        while (!take('}'))
            ++d_position;
    }
    if (token().text != "delay")
        return missing("'delay'");
    ++d_position;
    std::string_view numeral;
    if (!name(numeral, "the delay"))
        return false;
    bool const joined = numeral.size() > 2 && numeral.substr(numeral.size() - 2) == "ms";
    numeral.remove_suffix(joined ? 2 : 0);
    if (const std::string reason = readReal(numeral, slot.delay); !reason.empty())
        return fail("the delay " + quote(numeral) + " " + reason);
    if (slot.delay < 0)
        return fail("the delay " + quote(numeral) + " is negative");
    if (!joined && token().kind == LdfTokenKind::Word && token().text == "ms")
        ++d_position;
    if (!end())
        return false;
    d_file.tables.back().slots.push_back(slot);
    return true;
}

bool LdfParser::encoding() {
    LdfEncoding encoding;
    encoding.line = token().line;
    d_label = "encoding";
    if (!name(encoding.name, "a name"))
        return false;
    d_label += " " + quote(encoding.name);
    if (!expect('{')) {
        d_file.leftOut.insert(encoding.name);
        return false;
    }
    std::string const label = d_label;
    d_file.encodings.push_back(encoding);
    while (!isMark('}') && !atEnd() && !atSection() && !isMark('{', 1)) {
        std::size_t const start = d_position;
        if (!codedValue()) {
            report(d_tokens[start].line, Severity::Error, label + ": " + d_cause + "; left out");
            resume(start, false);
        }
    }
    if (!take('}'))
        report(encoding.line, Severity::Warning, label + " is not closed");
    return true;
}

bool LdfParser::codedValue() {
    LdfToken const& keyword = token();
    if (keyword.text == "physical_value")
        return physicalValue();
    if (keyword.text == "logical_value")
        return logicalValue();
    if (keyword.text != "bcd_value" && keyword.text != "ascii_value")
        return missing("a kind of value");
    ++d_position;
    report(keyword.line, Severity::Warning,
           "encoding " + quote(d_file.encodings.back().name) + ": " +
               (keyword.text == "bcd_value" ? "binary-coded decimals are" : "ASCII text is") +
               " not decoded; its signals are read as numbers");
    return end();
}

// physical_value, 0, 250, 0.5, -40, "degree"; - of which the unit may be absent.
bool LdfParser::physicalValue() {
    LdfRange range;
    range.line = token().line;
    ++d_position;
    if (!expect(',') || !count(range.first, "the first raw value") || !expect(',') ||
        !count(range.last, "the last raw value") || !expect(',') || !real(range.factor, "the factor") || !expect(',') ||
        !real(range.offset, "the offset") || (take(',') && !text(range.unit, "the unit")) || !end())
        return false;
    if (range.first > range.last) {
        return fail("the range from " + std::to_string(range.first) + " to " + std::to_string(range.last) +
                    " runs backwards");
    }
    d_file.encodings.back().ranges.push_back(range);
    return true;
}

// logical_value, 254, "out of range"; - of which the text may be absent.
bool LdfParser::logicalValue() {
    LdfWord word;
    word.line = token().line;
    ++d_position;
    if (!expect(',') || !count(word.value, "the raw value"))
        return false;
    bool const hasText = take(',');
    if ((hasText && !text(word.text, "the text")) || !end())
        return false;
    if (hasText)
        d_file.encodings.back().words.push_back(word);
    return true;
}

bool LdfParser::representation() {
    LdfRepresentation representation;
    representation.line = token().line;
    d_label = "representation";
    if (!name(representation.encoding, "the name of an encoding"))
        return false;
    d_label += " " + quote(representation.encoding);
    if (!expect(':'))
        return false;
    do {
        representation.signals.emplace_back();
        if (!name(representation.signals.back(), "a signal name"))
            return false;
    } while (take(','));
    if (!end())
        return false;
    d_file.representations.push_back(std::move(representation));
    return true;
}

LdfToken const& LdfParser::token(std::size_t ahead) const {
    return d_tokens[std::min(d_position + ahead, d_tokens.size() - 1)];
}

bool LdfParser::isMark(char mark, std::size_t ahead) const {
    return token(ahead).kind == LdfTokenKind::Mark && token(ahead).text.front() == mark;
}

// A line that begins with the name of a section and a brace.
bool LdfParser::atSection() const {
    return token().firstInLine && token().kind == LdfTokenKind::Word && isMark('{', 1) &&
           (isOneOf(token().text, readSections) || isOneOf(token().text, skippedSections));
}

bool LdfParser::take(char mark) {
    bool const there = isMark(mark);
    d_position += there ? 1 : 0;
    return there;
}

bool LdfParser::expect(char mark) {
    return take(mark) || missing(std::string("'") + mark + "'");
}

// A semicolon that is forgotten at the end of a line harms nothing.
bool LdfParser::end() {
    if (take(';'))
        return true;
    if (!token().firstInLine && !isMark('}') && !atEnd())
        return missing("';'");
    LdfToken const& last = d_tokens[d_position - 1];
    report(last.line, Severity::Warning, "';' is missing after " + describe(last));
    return true;
}

bool LdfParser::name(std::string_view& result, char const* what) {
    if (token().kind != LdfTokenKind::Word)
        return missing(what);
    result = token().text;
    ++d_position;
    return true;
}

bool LdfParser::count(std::uint64_t& result, char const* what) {
    std::string_view numeral;
    if (!name(numeral, what))
        return false;
    const std::errc error = readCount(numeral, result);
    return error == std::errc{} ||
           fail(std::string(what) + " " + quote(numeral) +
                (error == std::errc::result_out_of_range ? " is too large" : " is not a whole number from 0 on"));
}

bool LdfParser::real(double& result, char const* what) {
    std::string_view numeral;
    if (!name(numeral, what))
        return false;
    std::string const reason = readReal(numeral, result);
    return reason.empty() || fail(std::string(what) + " " + quote(numeral) + " " + reason);
}

bool LdfParser::text(std::string_view& result, char const* what) {
    if (token().kind != LdfTokenKind::Text)
        return missing(what);
    result = token().text;
    ++d_position;
    return true;
}

bool LdfParser::fail(std::string cause) {
    d_cause = std::move(cause);
    return false;
}

bool LdfParser::missing(std::string const& what) {
    if (token().kind == LdfTokenKind::Unclosed)
        return fail("the text " + quote(token().text) + " is not closed");
    return fail(atEnd() ? "unexpected end of file, expected " + what
                        : "expected " + what + " but found " + describe(token()));
}

void LdfParser::report(std::size_t line, Severity severity, std::string text, ProblemKind kind) {
    d_problems.push_back({line, severity, std::move(text), kind});
}

} // namespace qztool
