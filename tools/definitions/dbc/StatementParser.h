// Reads single statements of a definition file, from after their keyword on.
#pragma once

#include "tools/definitions/dbc/DbcScanner.h"
#include "tools/definitions/dbc/Statements.h"

#include <string>
#include <string_view>

namespace qztool {

// Each operation reads one statement at the scanner, to its end. One that returns false did not understand it; then
// `cause` tells why, the statement is filled as far as it was read, and the scanner stands somewhere inside it.
class StatementParser {
public:
    explicit StatementParser(DbcScanner& scanner) : d_scanner(scanner) {}

    bool read(MessageStatement& statement);
    bool read(SignalStatement& statement);
    bool read(NumberTypeStatement& statement);
    bool read(SelectionStatement& statement);
    bool read(ValuesStatement& statement);
    bool read(ValueTableStatement& statement);
    // From after the attribute's name on.
    bool read(LongNameStatement& statement);
    // From after the attribute's name on, which the statement has already.
    bool read(AttributeStatement& statement);
    // From after ENUM on.
    bool read(ChoicesStatement& statement);
    // A statement of no use here, which ends with a semicolon.
    bool skip();

    // Plain words without a full stop, such as "the factor 'x' is not a number".
    std::string const& cause() const { return d_cause; }

private:
    bool fail(std::string cause);
    bool missing(std::string_view what);
    bool expect(char character);
    bool end() { return expect(';'); }
    bool name(std::string_view& result, std::string_view what);
    template <typename Integer>
    bool integer(Integer& result, std::string_view what);
    bool real(double& result, std::string_view what);
    bool text(std::string& result, std::string_view what);
    bool attributeValue(std::string_view& result);
    bool startOf(Reference& reference);
    bool multiplexMark(SignalStatement& statement);
    bool placeOf(SignalStatement& statement);
    bool checkPlace(SignalStatement& statement, std::uint64_t startBit, std::uint64_t bits);
    bool scaleOf(SignalStatement& statement);
    bool unitOf(SignalStatement& statement);
    bool checkLongName(std::string const& longName);
    void receivers();
    bool endLine();
    bool value(std::string_view numeral, ValueText& value);
    bool valuesUpToEnd(std::vector<ValueText>& values);

    DbcScanner& d_scanner;
    std::string d_cause;
};

} // namespace qztool
