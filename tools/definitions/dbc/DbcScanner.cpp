// The cursor over the text of a definition file, and the table of its keywords.
#include "tools/definitions/dbc/DbcScanner.h"
#include "tools/base/Characters.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace qztool {

namespace {

struct KeywordEntry {
    std::string_view word;
    Keyword keyword;
};

// The frequent ones first: every statement of a file is looked up here.
constexpr KeywordEntry keywords[] = {
    {"SG_", Keyword::Signal},
    {"BA_", Keyword::Attribute},
    {"VAL_", Keyword::Values},
    {"CM_", Keyword::Skipped},
    {"BO_", Keyword::Message},
    {"SIG_VALTYPE_", Keyword::NumberType},
    {"SG_MUL_VAL_", Keyword::Selection},
    {"VAL_TABLE_", Keyword::ValueTable},
    {"BA_DEF_", Keyword::AttributeDefinition},
    {"BA_DEF_DEF_", Keyword::AttributeDefault},
    {"BO_TX_BU_", Keyword::Skipped},
    {"SIG_GROUP_", Keyword::Skipped},
    {"BA_REL_", Keyword::Skipped},
    {"BA_DEF_REL_", Keyword::Skipped},
    {"BA_DEF_DEF_REL_", Keyword::Skipped},
    {"EV_", Keyword::Skipped},
    {"EV_DATA_", Keyword::Skipped},
    {"ENVVAR_DATA_", Keyword::Skipped},
    {"SGTYPE_", Keyword::Skipped},
    {"SGTYPE_VAL_", Keyword::Skipped},
    {"SIG_TYPE_REF_", Keyword::Skipped},
    {"SIGTYPE_VALTYPE_", Keyword::Skipped},
    {"BA_DEF_SGTYPE_", Keyword::Skipped},
    {"BA_SGTYPE_", Keyword::Skipped},
    {"CAT_DEF_", Keyword::Skipped},
    {"CAT_", Keyword::Skipped},
    {"FILTER", Keyword::Skipped},
    {"NS_DESC_", Keyword::Skipped},
    {"BU_SG_REL_", Keyword::Skipped},
    {"BU_EV_REL_", Keyword::Skipped},
    {"BU_BO_REL_", Keyword::Skipped},
    {"VERSION", Keyword::Version},
    {"NS_", Keyword::Symbols},
    {"BS_", Keyword::BitTiming},
    {"BU_", Keyword::Nodes},
};

// What a character may be part of.
enum CharacterClass : std::uint8_t {
    blank = 1, // all control characters too: old editors leave form feeds and a final Ctrl-Z
    digit = 2,
    letter = 4,  // and the underscore, and all beyond ASCII
    sign = 8,    // what numerals have besides digits and letters
    special = 16 // what skipping has to look at: line ends, quotes, comments and semicolons
};

constexpr std::uint8_t classOf(unsigned character) {
    if (character <= ' ')
        return static_cast<std::uint8_t>(character == '\n' ? blank | special : blank);
    if (isDigit(character))
        return digit;
    if ((character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') || character == '_' ||
        character >= 0x80)
        return letter;
    if (character == '.' || character == '+' || character == '-' || character == '#')
        return sign;
    return character == '"' || character == '/' || character == ';' ? special : 0;
}

constexpr std::array<std::uint8_t, 256> makeClasses() {
    std::array<std::uint8_t, 256> classes{};
    for (unsigned character = 0; character < classes.size(); ++character)
        classes[character] = classOf(character);
    return classes;
}

constexpr std::array<std::uint8_t, 256> classes = makeClasses();

bool isOneOf(char c, unsigned wanted) {
    return (classes[static_cast<unsigned char>(c)] & wanted) != 0;
}

bool isBlank(char c) {
    return isOneOf(c, blank);
}

bool isWordCharacter(char c) {
    return isOneOf(c, letter | digit);
}

// These stand before everything that an NS_ block could be mixed up with.
bool endsWordLines(Keyword keyword) {
    switch (keyword) {
    case Keyword::Version:
    case Keyword::Symbols:
    case Keyword::BitTiming:
    case Keyword::Nodes:
    case Keyword::Message:
    case Keyword::Signal:
        return true;
    default:
        return false;
    }
}

} // namespace

Keyword keywordOf(std::string_view word) {
    if (word.empty() || word.front() < 'A' || word.front() > 'Z')
        return Keyword::None;
    for (KeywordEntry const& entry : keywords)
        if (entry.word == word)
            return entry.keyword;
    return Keyword::None;
}

bool DbcScanner::beginStatement() {
    skipBlanks();
    d_barrier = std::string_view::npos;
    d_unclosedTextLine = 0;
    d_start = d_position;
    d_startLine = d_line;
    return inText();
}

void DbcScanner::resynchronise() {
    d_position = d_start;
    d_line = d_startLine;
    do {
        skipLine();
    } while (inText() && !keywordLineAt(d_position));
}

char DbcScanner::peek() {
    skipBlanks();
    return inText() && d_position != d_barrier ? d_text[d_position] : '\0';
}

bool DbcScanner::take(char character) {
    if (peek() != character)
        return false;
    ++d_position;
    return true;
}

std::string_view DbcScanner::run(unsigned wanted) {
    if (peek() == '\0')
        return {};
    const std::size_t begin = d_position;
    while (inText() && isOneOf(d_text[d_position], wanted))
        ++d_position;
    return d_text.substr(begin, d_position - begin);
}

std::string_view DbcScanner::word() {
    return run(letter | digit);
}

std::string_view DbcScanner::numeral() {
    return run(letter | digit | sign);
}

std::string_view DbcScanner::digits() {
    return run(digit);
}

bool DbcScanner::quoted(std::string_view& content) {
    if (peek() != '"')
        return false;
    const std::size_t opening = d_position;
    const std::size_t openingLine = d_line;
    const std::size_t begin = opening + 1;
    const std::size_t end = findClosingQuote(begin);
    if (end == std::string_view::npos) {
        d_unclosedTextLine = openingLine;
        return false;
    }
    content = d_text.substr(begin, end - begin);
    d_position = end + 1;
    d_line += static_cast<std::size_t>(std::count(content.begin(), content.end(), '\n'));
    // A text may hold lines that look like statements. More often its closing quote was forgotten, and what ended it
    // is the opening quote of a later one: then the statement does not end after it.
    if (d_line != openingLine && holdsKeywordLine(content) && peek() != ';' && peek() != ',') {
        d_unclosedTextLine = openingLine;
        d_position = opening;
        d_line = openingLine;
        return false;
    }
    return true;
}

bool DbcScanner::atEnd() {
    skipBlanks();
    return !inText();
}

bool DbcScanner::atLineEnd() {
    skipBlanksInLine();
    return !inText() || d_text[d_position] == '\n' || atComment();
}

bool DbcScanner::skipToSemicolon() {
    for (;;) {
        char const next = peek();
        if (next == '\0' || d_unclosedTextLine != 0)
            return false;
        if (next == '"') {
            std::string_view content;
            if (!quoted(content))
                return false;
            continue;
        }
        ++d_position;
        if (next == ';')
            return true;
        while (inText() && !isOneOf(d_text[d_position], special))
            ++d_position;
    }
}

void DbcScanner::skipLine() {
    const std::size_t end = d_text.find('\n', d_position);
    if (end == std::string_view::npos) {
        d_position = d_text.size();
    } else {
        d_position = end + 1;
        ++d_line;
    }
}

void DbcScanner::skipIndentedLines() {
    while (inText() && isBlank(d_text[d_position]) && !keywordLineAt(d_position))
        skipLine();
}

void DbcScanner::skipWordLines() {
    while (inText() && wordLine(d_position))
        skipLine();
}

void DbcScanner::skipComment() {
    while (inText() && d_text[d_position] != '\n')
        ++d_position;
}

void DbcScanner::skipBlanks() {
    bool newLine = false;
    while (inText()) {
        char const next = d_text[d_position];
        if (next == '\n') {
            ++d_line;
            newLine = true;
            ++d_position;
        } else if (isBlank(next)) {
            ++d_position;
        } else if (next == '/' && atComment()) {
            skipComment();
        } else {
            break;
        }
    }
    if (newLine && keywordOf(wordAt(d_position)) != Keyword::None)
        d_barrier = d_position;
}

void DbcScanner::skipBlanksInLine() {
    while (inText() && d_text[d_position] != '\n' && isBlank(d_text[d_position]))
        ++d_position;
}

std::string_view DbcScanner::wordAt(std::size_t position) const {
    std::size_t end = position;
    while (end < d_text.size() && isWordCharacter(d_text[end]))
        ++end;
    return d_text.substr(position, end - position);
}

bool DbcScanner::keywordLineAt(std::size_t position) const {
    while (position < d_text.size() && d_text[position] != '\n' && isBlank(d_text[position]))
        ++position;
    return keywordOf(wordAt(position)) != Keyword::None;
}

bool DbcScanner::holdsKeywordLine(std::string_view content) const {
    const std::size_t begin = static_cast<std::size_t>(content.data() - d_text.data());
    for (std::size_t end = content.find('\n'); end != std::string_view::npos; end = content.find('\n', end + 1))
        if (keywordLineAt(begin + end + 1))
            return true;
    return false;
}

// A quote after an odd number of backslashes belongs to the text.
std::size_t DbcScanner::findClosingQuote(std::size_t position) {
    const std::size_t begin = position;
    while (begin < d_noQuoteFrom) {
        const std::size_t quote = d_text.find('"', position);
        if (quote == std::string_view::npos) {
            d_noQuoteFrom = begin;
            break;
        }
        std::size_t backslashes = 0;
        while (quote - backslashes > begin && d_text[quote - backslashes - 1] == '\\')
            ++backslashes;
        if (backslashes % 2 == 0)
            return quote;
        position = quote + 1;
    }
    return std::string_view::npos;
}

bool DbcScanner::wordLine(std::size_t position) const {
    bool first = true;
    while (position < d_text.size() && d_text[position] != '\n' && d_text.compare(position, 2, "//") != 0) {
        if (isBlank(d_text[position])) {
            ++position;
            continue;
        }
        const std::string_view word = wordAt(position);
        if (word.empty() || (first && endsWordLines(keywordOf(word))))
            return false;
        first = false;
        position += word.size();
    }
    return true;
}

} // namespace qztool
