// The token rules of the expression language.
#include "tools/expression/Tokens.h"

#include <algorithm>
#include <array>

namespace qztool {

namespace {

constexpr std::string_view blanks = " \t\r";
constexpr std::string_view notInNames(" \t\r\n\0!()*+,-/:<=>", 17);
constexpr std::string_view signs = "<>!+-*/(),";
constexpr std::array<std::string_view, 6> longSigns = {"<=", ">=", "==", "!=", "||", "&&"};
constexpr std::array<std::string_view, 5> keywords = {"released", "pressed", "pressed_long", "high", "low"};

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool beginsName(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

template <std::size_t Count>
bool isOneOf(std::array<std::string_view, Count> const& words, std::string_view word) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

// Cuts tokens off the front of a text, each as long as possible.
class Scanner {
public:
    explicit Scanner(std::string_view text) : d_text(text) {}

    std::vector<Token> run() {
        std::vector<Token> tokens;
        bool lineStart = true;
        for (;;) {
            if (lineStart)
                skipEmptyLines();
            if (d_position == d_text.size())
                return tokens;
            Token const token = next();
            d_position = token.end;
            lineStart = token.kind == Token::Kind::LineEnd;
            if (lineStart || token.end > token.begin)
                tokens.push_back(token);
            else
                ++d_position; // means nothing
        }
    }

private:
    char at(std::size_t position) const { return position < d_text.size() ? d_text[position] : '\0'; }

    // Lines that hold nothing, or a comment and nothing before it.
    void skipEmptyLines() {
        for (;;) {
            std::size_t const first = d_text.find_first_not_of(blanks, d_position);
            std::size_t const end = d_text.find('\n', d_position);
            if (end == std::string_view::npos || (first != end && at(first) != '#'))
                return;
            d_position = end + 1;
        }
    }

    // The token here; without characters if there is none.
    Token next() const {
        char const first = d_text[d_position];
        if (first == '\n')
            return token(Token::Kind::LineEnd, 1);
        if (std::size_t const length = numberLength())
            return token(Token::Kind::Number, length);
        if (beginsName(first)) {
            std::size_t const end = std::min(d_text.find_first_of(notInNames, d_position), d_text.size());
            std::string_view const word = d_text.substr(d_position, end - d_position);
            return token(isOneOf(keywords, word) ? Token::Kind::Keyword : Token::Kind::Name, word.size());
        }
        if (isOneOf(longSigns, d_text.substr(d_position, 2)))
            return token(Token::Kind::Sign, 2);
        return token(Token::Kind::Sign, signs.find(first) != std::string_view::npos ? 1 : 0);
    }

    Token token(Token::Kind kind, std::size_t length) const { return {kind, d_position, d_position + length}; }

    std::size_t behindDigits(std::size_t position) const {
        while (isDigit(at(position)))
            ++position;
        return position;
    }

    // 12  12.  12.5  .5  each with or without an exponent; a sign before it is a token of its own.
    std::size_t numberLength() const {
        std::size_t end = behindDigits(d_position);
        bool const hasWhole = end > d_position;
        if (at(end) == '.') {
            std::size_t const behindFraction = behindDigits(end + 1);
            if (hasWhole || behindFraction > end + 1)
                end = behindFraction;
        }
        if (end > d_position && (at(end) == 'e' || at(end) == 'E')) {
            std::size_t const digits = end + (at(end + 1) == '+' || at(end + 1) == '-' ? 2 : 1);
            if (isDigit(at(digits)))
                end = behindDigits(digits);
        }
        return end - d_position;
    }

    std::string_view d_text;
    std::size_t d_position = 0;
};

} // namespace

std::vector<Token> tokensOf(std::string_view expression) {
    return Scanner(std::string(expression) + "\n").run();
}

std::vector<std::string> signalNames(std::string_view expression) {
    std::vector<std::string> names;
    for (Token const& token : tokensOf(expression)) {
        if (token.kind != Token::Kind::Name)
            continue;
        std::string name(expression.substr(token.begin, token.end - token.begin));
        if (std::find(names.begin(), names.end(), name) == names.end())
            names.push_back(std::move(name));
    }
    return names;
}

} // namespace qztool
