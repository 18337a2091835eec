// The tokens of LIN description files.
#include "tools/definitions/ldf/LdfScanner.h"
#include "tools/base/Characters.h"

#include <algorithm>

namespace qztool {

namespace {

bool inWord(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || isDigit(c) || c == '_' || c == '.' || c == '+' ||
           c == '-' || (static_cast<unsigned char>(c) & 0x80U) != 0;
}

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
}

class Scanner {
public:
    explicit Scanner(std::string_view text) : d_text(text) {}

    LdfToken next() {
        skipBlanks();
        LdfToken token;
        token.line = d_line;
        token.firstInLine = d_firstInLine;
        d_firstInLine = false;
        if (d_position == d_text.size())
            return token;
        std::size_t const start = d_position;
        if (d_text[start] == '"') {
            readText(token);
        } else if (inWord(d_text[start])) {
            while (d_position < d_text.size() && inWord(d_text[d_position]))
                ++d_position;
            token.kind = LdfTokenKind::Word;
            token.text = d_text.substr(start, d_position - start);
        } else {
            ++d_position;
            token.kind = LdfTokenKind::Mark;
            token.text = d_text.substr(start, 1);
        }
        return token;
    }

    // Line in which a comment opens that nothing closes; 0: there is none.
    std::size_t unclosedCommentLine() const { return d_unclosedCommentLine; }

private:
    void readText(LdfToken& token) {
        std::size_t const start = ++d_position;
        d_position = std::min(d_text.find_first_of("\"\n", start), d_text.size());
        token.text = d_text.substr(start, d_position - start);
        bool const closed = d_position < d_text.size() && d_text[d_position] == '"';
        token.kind = closed ? LdfTokenKind::Text : LdfTokenKind::Unclosed;
        d_position += closed ? 1 : 0;
    }

    void skipBlanks() {
        while (d_position < d_text.size())
            if (isBlank(d_text[d_position]))
                passOver(1);
            else if (d_text.compare(d_position, 2, "//") == 0)
                d_position = std::min(d_text.find('\n', d_position), d_text.size());
            else if (d_text.compare(d_position, 2, "/*") == 0)
                skipBlockComment();
            else
                return;
    }

    void skipBlockComment() {
        std::size_t const end = d_text.find("*/", d_position + 2);
        if (end == std::string_view::npos)
            d_unclosedCommentLine = d_line;
        passOver(end == std::string_view::npos ? d_text.size() - d_position : end + 2 - d_position);
    }

    void passOver(std::size_t count) {
        for (; count > 0; --count, ++d_position) {
            if (d_text[d_position] == '\n') {
                ++d_line;
                d_firstInLine = true;
            }
        }
    }

    std::string_view d_text;
    std::size_t d_position = 0;
    std::size_t d_line = 1;
    bool d_firstInLine = true;
    std::size_t d_unclosedCommentLine = 0;
};

} // namespace

std::vector<LdfToken> scanLdf(std::string_view text, std::vector<Problem>& problems) {
    Scanner scanner(text);
    std::vector<LdfToken> tokens;
    do {
        tokens.push_back(scanner.next());
    } while (tokens.back().kind != LdfTokenKind::End);
    if (scanner.unclosedCommentLine() != 0) {
        problems.push_back({scanner.unclosedCommentLine(), Severity::Error,
                            "the comment that opens here is not closed; the rest of the file is left out"});
    }
    return tokens;
}

std::string_view firstWordOfLdf(std::string_view text) {
    LdfToken const token = Scanner(text).next();
    return token.kind == LdfTokenKind::Word ? token.text : std::string_view();
}

} // namespace qztool
