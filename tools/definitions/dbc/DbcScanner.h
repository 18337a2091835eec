// Takes the text of a definition file apart: statements, words, numerals and quoted texts, with their lines.
#pragma once

#include <cstddef>
#include <string_view>

namespace qztool {

// The statements that are distinguished. Skipped: known to the format, ended by a semicolon, of no use here.
enum class Keyword {
    None,
    Version,
    Symbols,
    BitTiming,
    Nodes,
    Message,
    Signal,
    NumberType,
    Selection,
    Values,
    ValueTable,
    Attribute,
    AttributeDefinition,
    AttributeDefault,
    Skipped
};

// The statement that `word` begins; None if it begins none.
Keyword keywordOf(std::string_view word);

// A cursor over plain text (UTF-8, line feeds). The text must outlive the scanner and all that it returns.
//
// No statement goes on beyond a line that begins with a statement keyword. So a damaged statement cannot swallow its
// successors: at such a line, as at the end of the text, every operation finds nothing until `beginStatement`.
class DbcScanner {
public:
    explicit DbcScanner(std::string_view text) : d_text(text) {}

    // Moves to the next statement. Returns false at the end of the text.
    bool beginStatement();
    // Line of the current statement's first character, counted from 1.
    std::size_t statementLine() const { return d_startLine; }
    // Gives the current statement up: moves to the next line, after its first one, that begins with a keyword.
    void resynchronise();

    // The next character of the statement that is neither blank nor comment; NUL where the statement ends.
    char peek();
    // Moves over `character` if it comes next.
    bool take(char character);
    // A run of letters, digits, underscores and characters beyond ASCII; empty if none comes next.
    std::string_view word();
    // A run of what numbers and words are made of (with signs and points); empty if none comes next.
    std::string_view numeral();
    // A run of decimal digits; empty if none comes next.
    std::string_view digits();
    // A quoted text without its quotes, escapes left in place. Returns false, and stays, if none comes next or it is
    // not closed.
    bool quoted(std::string_view& content);
    // Line in which a text opens that the current statement does not close; 0: there is none.
    std::size_t unclosedTextLine() const { return d_unclosedTextLine; }
    // True if the text, not just the statement, ends here.
    bool atEnd();
    // True if nothing but spaces and a comment follow in this line.
    bool atLineEnd();

    // Moves past the statement's semicolon, aware of quoted texts. Returns false if it has none.
    bool skipToSemicolon();
    void skipLine();
    // Moves over further lines that are indented and do not begin with a keyword.
    void skipIndentedLines();
    // Moves over further lines that hold words alone, as those of an NS_ block, which are keywords without a statement.
    void skipWordLines();

private:
    bool inText() const { return d_position < d_text.size(); }
    bool atComment() const { return d_text.compare(d_position, 2, "//") == 0; }
    void skipComment();
    void skipBlanks();
    void skipBlanksInLine();
    std::string_view run(unsigned wanted);
    std::string_view wordAt(std::size_t position) const;
    bool keywordLineAt(std::size_t position) const;
    bool holdsKeywordLine(std::string_view content) const;
    std::size_t findClosingQuote(std::size_t position);
    bool wordLine(std::size_t position) const;

    std::string_view d_text;
    std::size_t d_position = 0;
    std::size_t d_line = 1;
    std::size_t d_start = 0;
    std::size_t d_startLine = 1;
    std::size_t d_barrier = std::string_view::npos; // the keyword that ends the current statement
    std::size_t d_unclosedTextLine = 0;
    std::size_t d_noQuoteFrom = std::string_view::npos; // known to hold no closing quote from here on
};

} // namespace qztool
