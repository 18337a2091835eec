// The grammar of the statements that are read.
#include "tools/definitions/dbc/StatementParser.h"

#include "tools/base/Printable.h"
#include "tools/definitions/Numerals.h"
#include "tools/definitions/ProblemText.h"

#include <algorithm>
#include <cmath>
#include <system_error>

namespace qztool {

namespace {

std::string withoutEscapes(std::string_view content) {
    std::string result;
    result.reserve(content.size());
    for (std::size_t i = 0; i < content.size(); ++i) {
        bool const escape =
            content[i] == '\\' && i + 1 < content.size() && (content[i + 1] == '"' || content[i + 1] == '\\');
        i += escape ? 1 : 0;
        result += content[i];
    }
    return result;
}

constexpr unsigned mostBits = 64;              // of a signal
constexpr unsigned mostMessageBits = 1785 * 8; // of J1939 messages, which come in several frames

unsigned reachOf(SignalStatement const& statement) {
    unsigned const start = statement.startBit;
    unsigned const first = statement.bigEndian ? start / 8 * 8 + 7 - start % 8 : start;
    return first + statement.bits;
}

bool beginsName(char c) {
    return c == '_' || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

} // namespace

bool StatementParser::read(MessageStatement& statement) {
    statement.line = d_scanner.statementLine();
    statement.identifierRead = integer(statement.identifier, "the identifier");
    if (!statement.identifierRead || !name(statement.name, "the message name") || !expect(':') ||
        !integer(statement.length, "the length"))
        return false;
    if (!d_scanner.atLineEnd())
        d_scanner.word(); // the sender
    statement.hasExcess = endLine();
    return true;
}

bool StatementParser::read(SignalStatement& statement) {
    statement.line = d_scanner.statementLine();
    if (!name(statement.name, "the signal name") || !multiplexMark(statement) || !placeOf(statement) ||
        !scaleOf(statement) || !unitOf(statement))
        return false;
    receivers();
    statement.hasExcess = endLine();
    return true;
}

bool StatementParser::read(NumberTypeStatement& statement) {
    if (!startOf(statement.reference))
        return false;
    d_scanner.take(':');
    if (!integer(statement.type, "the type"))
        return false;
    if (statement.type > 2)
        return fail("type " + std::to_string(statement.type) + " is none of 0 (integer), 1 (float) and 2 (double)");
    return end();
}

bool StatementParser::read(SelectionStatement& statement) {
    if (!startOf(statement.reference) || !name(statement.multiplexor, "the multiplexor"))
        return false;
    do {
        SelectorRange range;
        const std::string_view first = d_scanner.digits();
        bool const dash = !first.empty() && d_scanner.take('-');
        const std::string_view last = dash ? d_scanner.digits() : std::string_view();
        if (last.empty())
            return missing("a range such as 0-3");
        if (readNumeral(first, range.first) != std::errc{} || readNumeral(last, range.last) != std::errc{})
            return fail("a value of the range " + std::string(first) + "-" + std::string(last) + " is too large");
        if (range.first > range.last)
            return fail("the range " + std::string(first) + "-" + std::string(last) + " runs backwards");
        statement.ranges.push_back(range);
        d_scanner.take(',');
    } while (d_scanner.peek() != ';' && d_scanner.peek() != '\0');
    return end();
}

bool StatementParser::read(ValuesStatement& statement) {
    if (beginsName(d_scanner.peek())) {
        const std::string_view variable = d_scanner.word();
        if (beginsName(d_scanner.peek()))
            return fail("the identifier " + quote(variable) + " is not a whole number");
        statement.ofEnvironmentVariable = true;
        return valuesUpToEnd(statement.values);
    }
    if (!startOf(statement.reference))
        return false;
    if (d_scanner.take(';'))
        return true;
    const std::string_view next = d_scanner.numeral();
    if (!next.empty() && d_scanner.peek() != '"') {
        statement.table = next;
        return end();
    }
    ValueText first;
    return value(next, first) && (statement.values.push_back(std::move(first)), valuesUpToEnd(statement.values));
}

bool StatementParser::read(ValueTableStatement& statement) {
    statement.line = d_scanner.statementLine();
    return name(statement.name, "the name of the table") && valuesUpToEnd(statement.values);
}

bool StatementParser::read(LongNameStatement& statement) {
    Reference& reference = statement.reference;
    reference.line = d_scanner.statementLine();
    const std::string_view kind = d_scanner.word();
    if (kind != "BO_" && kind != "SG_")
        return missing("BO_ or SG_");
    return integer(reference.identifier, "the identifier") &&
           (kind == "BO_" || name(reference.signal, "the signal name")) && text(statement.name, "the long name") &&
           checkLongName(statement.name) && end();
}

// Unlike other names, it stands in quotes, and may have any characters in between.
bool StatementParser::checkLongName(std::string const& longName) {
    return std::none_of(longName.begin(), longName.end(), isControlCharacter) ||
           fail("the long name " + quote(longName) + " holds control characters");
}

bool StatementParser::read(AttributeStatement& statement) {
    statement.reference.line = d_scanner.statementLine();
    if (statement.ofMessage && !integer(statement.reference.identifier, "the identifier"))
        return false;
    return attributeValue(statement.value) && end();
}

bool StatementParser::read(ChoicesStatement& statement) {
    do {
        if (!d_scanner.quoted(statement.choices.emplace_back()))
            return missing("a text");
    } while (d_scanner.take(','));
    return end();
}

bool StatementParser::attributeValue(std::string_view& result) {
    if (d_scanner.quoted(result))
        return true;
    result = d_scanner.numeral();
    return !result.empty() || missing("the value");
}

bool StatementParser::skip() {
    return d_scanner.skipToSemicolon() || missing("';'");
}

bool StatementParser::fail(std::string cause) {
    d_cause = std::move(cause);
    return false;
}

bool StatementParser::missing(std::string_view what) {
    if (const std::size_t line = d_scanner.unclosedTextLine(); line != 0) {
        return fail(line == d_scanner.statementLine()
                        ? "a text that opens here is not closed"
                        : "the text that opens in line " + std::to_string(line) + " is not closed");
    }
    if (d_scanner.atEnd())
        return fail("unexpected end of file, expected " + std::string(what));
    if (d_scanner.peek() == '\0')
        return fail(std::string(what) + " is missing");
    std::string_view next = d_scanner.numeral();
    std::string_view content;
    if (next.empty() && d_scanner.quoted(content))
        return fail(std::string(what) + " is missing before the text " + quote(content));
    char const single = next.empty() ? d_scanner.peek() : '\0';
    next = next.empty() ? std::string_view(&single, 1) : next;
    return fail(std::string(what) + " is missing before " + quote(next));
}

bool StatementParser::expect(char character) {
    return d_scanner.take(character) || missing(std::string("'") + character + "'");
}

bool StatementParser::name(std::string_view& result, std::string_view what) {
    result = d_scanner.word();
    return !result.empty() || missing(what);
}

template <typename Integer>
bool StatementParser::integer(Integer& result, std::string_view what) {
    const std::string_view numeral = d_scanner.numeral();
    if (numeral.empty())
        return missing(what);
    const std::errc error = readNumeral(numeral, result);
    if (error == std::errc{})
        return true;
    std::int64_t number = 0;
    if (readNumeral(numeral, number) == std::errc{} && number < 0)
        return fail(std::string(what) + " is negative (" + std::string(numeral) + ")");
    return fail(std::string(what) + " " + quote(numeral) +
                (error == std::errc::result_out_of_range ? " is too large" : " is not a whole number"));
}

bool StatementParser::real(double& result, std::string_view what) {
    const std::string_view numeral = d_scanner.numeral();
    if (numeral.empty())
        return missing(what);
    const std::string reason = readReal(numeral, result);
    return reason.empty() || fail(std::string(what) + " " + quote(numeral) + " " + reason);
}

bool StatementParser::text(std::string& result, std::string_view what) {
    std::string_view content;
    if (!d_scanner.quoted(content))
        return missing(what);
    if (content.find('\\') == std::string_view::npos)
        result = content;
    else
        result = withoutEscapes(content);
    return true;
}

bool StatementParser::startOf(Reference& reference) {
    reference.line = d_scanner.statementLine();
    return integer(reference.identifier, "the identifier") && name(reference.signal, "the signal name");
}

bool StatementParser::multiplexMark(SignalStatement& statement) {
    if (d_scanner.take(':'))
        return true;
    const std::string_view mark = d_scanner.word();
    if (mark.empty())
        return missing("':'");
    if (mark == "M") {
        statement.mark = MultiplexMark::Multiplexor;
    } else if (mark == "m") {
        statement.mark = MultiplexMark::Unnumbered;
    } else {
        bool const both = mark.back() == 'M';
        const std::string_view number = mark.substr(1, mark.size() - (both ? 2 : 1));
        if (mark.front() != 'm' || readNumeral(number, statement.selector) != std::errc{})
            return fail("the multiplexing mark " + quote(mark) + " is none of M, m1 and m1M (with any number)");
        statement.mark = both ? MultiplexMark::SelectedMultiplexor : MultiplexMark::Selected;
    }
    return expect(':');
}

// 8|16@1+
bool StatementParser::placeOf(SignalStatement& statement) {
    std::uint64_t startBit = 0;
    std::uint64_t bits = 0;
    if (!integer(startBit, "the start bit") || !expect('|') || !integer(bits, "the bit count") || !expect('@'))
        return false;
    statement.bigEndian = d_scanner.take('0');
    if (!statement.bigEndian && !d_scanner.take('1'))
        return missing("the byte order (0 or 1)");
    statement.isSigned = d_scanner.take('-');
    return (statement.isSigned || d_scanner.take('+') || missing("the sign (+ or -)")) &&
           checkPlace(statement, startBit, bits);
}

bool StatementParser::checkPlace(SignalStatement& statement, std::uint64_t startBit, std::uint64_t bits) {
    if (bits == 0 || bits > mostBits)
        return fail("it has " + std::to_string(bits) + " bits, but a signal has 1 to 64");
    if (startBit >= mostMessageBits)
        return fail("it starts at bit " + std::to_string(startBit) + ", but no message has more than 1785 bytes");
    statement.startBit = static_cast<unsigned>(startBit);
    statement.bits = static_cast<unsigned>(bits);
    statement.reach = reachOf(statement);
    if (statement.reach > mostMessageBits) {
        return fail("it reaches into byte " + std::to_string((statement.reach - 1) / 8) +
                    ", but no message has more than 1785 bytes");
    }
    return true;
}

// (0.01,0) [0|655.35]
bool StatementParser::scaleOf(SignalStatement& statement) {
    return expect('(') && real(statement.factor, "the factor") && expect(',') && real(statement.offset, "the offset") &&
           expect(')') && expect('[') && real(statement.minimum, "the minimum") && expect('|') &&
           real(statement.maximum, "the maximum") && expect(']');
}

bool StatementParser::unitOf(SignalStatement& statement) {
    if (!text(statement.unit, "the unit"))
        return false;
    // Only a forgotten closing quote makes a unit reach into the next line.
    return statement.unit.find('\n') == std::string::npos || fail("the unit is not closed");
}

// Receivers are of no use here. They end with the line, unless the line ends with a comma.
void StatementParser::receivers() {
    while (!d_scanner.atLineEnd() && !d_scanner.word().empty())
        while (!d_scanner.atLineEnd() && d_scanner.take(','))
            d_scanner.word();
}

// Returns true if the line goes on with something that does not belong there.
bool StatementParser::endLine() {
    if (!d_scanner.atLineEnd())
        d_scanner.take(';');
    if (d_scanner.atLineEnd())
        return false;
    d_scanner.skipLine();
    return true;
}

bool StatementParser::value(std::string_view numeral, ValueText& value) {
    if (numeral.empty())
        return missing("a value or ';'");
    if (readNumeral(numeral, value.value) != std::errc{}) {
        // Unsigned 64-bit signals reach higher, and some files write whole numbers as 2.0 or 1E3.
        std::uint64_t large = 0;
        double number = 0.0;
        if (readNumeral(numeral, large) == std::errc{})
            value.value = static_cast<std::int64_t>(large);
        else if (readNumeral(numeral, number) == std::errc{} && std::trunc(number) == number &&
                 std::fabs(number) < 1e15)
            value.value = static_cast<std::int64_t>(number);
        else
            return fail("the value " + quote(numeral) + " is not a whole number of up to 64 bits");
    }
    return text(value.text, "the text of a value");
}

bool StatementParser::valuesUpToEnd(std::vector<ValueText>& values) {
    while (!d_scanner.take(';')) {
        ValueText next;
        if (!value(d_scanner.numeral(), next))
            return false;
        values.push_back(std::move(next));
    }
    return true;
}

} // namespace qztool
