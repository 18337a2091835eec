// The loop over the statements of a definition file.
#include "tools/definitions/dbc/DbcReader.h"

#include "tools/definitions/ProblemText.h"
#include "tools/definitions/TextEncoding.h"
#include "tools/definitions/dbc/DatabaseBuilder.h"
#include "tools/definitions/dbc/DbcScanner.h"
#include "tools/definitions/dbc/StatementParser.h"

#include <string>
#include <utility>

namespace qztool {

namespace {

class Reader {
public:
    explicit Reader(std::string_view text) : d_scanner(text), d_parser(d_scanner) {}

    Database run() {
        while (d_scanner.beginStatement()) {
            const std::string_view word = d_scanner.word();
            readStatement(word, keywordOf(word));
        }
        return d_builder.finish();
    }

private:
    void readStatement(std::string_view word, Keyword keyword) {
        switch (keyword) {
        case Keyword::None:
            readUnknown(word);
            break;
        case Keyword::Version:
            readVersion();
            break;
        case Keyword::Symbols:
            d_scanner.skipLine();
            d_scanner.skipWordLines();
            break;
        case Keyword::BitTiming:
            d_scanner.skipLine();
            break;
        case Keyword::Nodes:
            d_scanner.skipLine();
            d_scanner.skipIndentedLines();
            break;
        case Keyword::Message:
            readMessage();
            break;
        case Keyword::Signal:
            readSignal();
            break;
        case Keyword::NumberType:
            readReference<NumberTypeStatement>(word);
            break;
        case Keyword::Selection:
            readReference<SelectionStatement>(word);
            break;
        case Keyword::Values:
            readReference<ValuesStatement>(word);
            break;
        case Keyword::ValueTable:
            readValueTable();
            break;
        case Keyword::Attribute:
            readAttribute(word);
            break;
        case Keyword::AttributeDefinition:
            readAttributeDefinition(word);
            break;
        case Keyword::AttributeDefault:
            readAttributeDefault(word);
            break;
        case Keyword::Skipped:
            skip(word);
            break;
        }
    }

    void readUnknown(std::string_view word) {
        if (word.empty() && d_scanner.take(';'))
            return;
        char const single = d_scanner.peek();
        const std::string_view start = word.empty() ? std::string_view(&single, 1) : word;
        report(Severity::Warning, "unknown statement " + quote(start) + "; skipped up to the next known one");
        d_builder.endMessage();
        d_scanner.resynchronise();
    }

    void readVersion() {
        std::string_view version;
        if (d_scanner.atLineEnd())
            return;
        if (!d_scanner.quoted(version)) {
            leaveOut("VERSION",
                     d_scanner.unclosedTextLine() != 0 ? "a text that opens here is not closed" : "there is no text");
        }
        d_scanner.take(';');
    }

    void readMessage() {
        MessageStatement statement;
        if (d_parser.read(statement)) {
            d_builder.add(statement);
            reportExcess(statement, "BO_");
        } else {
            d_builder.addUnread(statement, d_parser.cause());
            d_scanner.resynchronise();
        }
    }

    void readSignal() {
        SignalStatement statement;
        if (d_parser.read(statement)) {
            reportExcess(statement, "SG_");
            d_builder.add(std::move(statement));
        } else {
            d_builder.addUnread(statement, d_parser.cause());
            d_scanner.resynchronise();
        }
    }

    template <typename Statement>
    void readReference(std::string_view word) {
        Statement statement;
        statement.reference.keyword = word;
        if (d_parser.read(statement)) {
            d_builder.add(std::move(statement));
        } else {
            leaveOut(statement.reference.signal.empty() ? std::string(word)
                                                        : std::string(word) + " " + quote(statement.reference.signal),
                     d_parser.cause());
        }
    }

    void readValueTable() {
        ValueTableStatement statement;
        if (d_parser.read(statement))
            d_builder.add(std::move(statement));
        else
            leaveOut("VAL_TABLE_ " + quote(statement.name), d_parser.cause());
    }

    // Of most attributes nothing is read. Names that are longer than some tools allow are kept in two of them.
    void readAttribute(std::string_view word) {
        std::string_view name;
        bool const isNamed = d_scanner.quoted(name);
        if (isNamed && (name == "SystemMessageLongSymbol" || name == "SystemSignalLongSymbol"))
            return readReference<LongNameStatement>(word);
        if (isNamed && MessageAttributes::isRead(name)) {
            std::string_view const object = d_scanner.peek() == 'B' ? d_scanner.word() : std::string_view();
            if (object.empty() || object == "BO_")
                return readAttributeValue(word, name, object == "BO_");
        }
        skip(word);
    }

    void readAttributeDefault(std::string_view word) {
        std::string_view name;
        if (d_scanner.quoted(name) && MessageAttributes::isRead(name))
            readAttributeValue(word, name, false);
        else
            skip(word);
    }

    void readAttributeValue(std::string_view word, std::string_view name, bool ofMessage) {
        AttributeStatement statement;
        statement.reference.keyword = word;
        statement.name = name;
        statement.ofMessage = ofMessage;
        if (d_parser.read(statement))
            d_builder.add(statement);
        else
            leaveOut(std::string(word) + " " + quote(name), d_parser.cause());
    }

    // The one list of choices that counts is that of the formats of frames.
    void readAttributeDefinition(std::string_view word) {
        std::string_view name;
        ChoicesStatement statement;
        if (d_scanner.peek() != 'B' || d_scanner.word() != "BO_" || !d_scanner.quoted(name) ||
            name != MessageAttributes::format || d_scanner.word() != "ENUM")
            skip(word);
        else if (d_parser.read(statement))
            d_builder.add(std::move(statement));
        else
            leaveOut(std::string(word) + " " + quote(name), d_parser.cause());
    }

    void skip(std::string_view word) {
        if (!d_parser.skip())
            leaveOut(std::string(word), d_parser.cause());
    }

    void leaveOut(std::string const& statement, std::string const& cause) {
        report(Severity::Error, statement + ": " + cause + "; left out");
        d_scanner.resynchronise();
    }

    template <typename Statement>
    void reportExcess(Statement const& statement, char const* keyword) {
        if (statement.hasExcess) {
            report(Severity::Warning,
                   keyword + (" " + quote(statement.name)) + ": the end of the line is not understood and ignored");
        }
    }

    void report(Severity severity, std::string text) {
        d_builder.report(d_scanner.statementLine(), severity, std::move(text));
    }

    DbcScanner d_scanner;
    StatementParser d_parser;
    DatabaseBuilder d_builder;
};

} // namespace

Database readDatabase(std::string_view text) {
    if (std::optional<Problem> problem = findEncodingProblem(text)) {
        Database database;
        database.problems.push_back(std::move(*problem));
        return database;
    }
    std::string storage;
    return Reader(toPlainText(text, storage)).run();
}

} // namespace qztool
