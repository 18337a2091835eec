// The parser's complaint, and the place that it is about.
#include "tools/expression/Compile.h"

#include "tools/base/ErrorCapture.h"
#include "tools/base/Printable.h"
#include "tools/expression/Tokens.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <vector>

namespace qztool {

namespace {

struct Attempt {
    std::unique_ptr<ExpParser> parser; // null if the expression is bad
    std::string complaint;             // the parser's line without its end
    std::string shown;                 // the part of the expression in it
};

// The parser tells of a bad expression on standard error alone: a line of its own, in which it shows the part of the
// expression from the token before the bad one to the end of that, and then the whole expression.
Attempt attempt(std::string const& text, bool edge) {
    constexpr std::string_view begin = " at '", end = "'\n", next = "[ERROR] parser error in ExpParser\n";
    Attempt result;
    ErrorCapture const messages;
    result.parser = std::make_unique<ExpParser>(text.c_str(), edge);
    if (ExpParser::allExpParsers.count(result.parser.get()) != 0)
        return result;

    result.parser.reset();
    std::string const all = messages.text();
    std::string const own = all.substr(0, all.find(next));
    result.complaint = own.substr(0, own.find_last_not_of('\n') + 1);
    std::size_t const shown = own.find(begin), shownEnd = own.rfind(end);
    if (shown != std::string::npos && shownEnd != std::string::npos && shownEnd >= shown + begin.size())
        result.shown = own.substr(shown + begin.size(), shownEnd - shown - begin.size());
    return result;
}

bool endsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// Where the bad token begins.
std::optional<std::size_t> badPlace(std::string const& text, std::string const& shown) {
    std::string const whole = text + "\n";
    std::vector<Token> places;
    for (Token const& token : tokensOf(text))
        if (shown.size() >= token.end - token.begin && endsWith(whole.substr(0, token.end), shown))
            places.push_back(token);
    // The same words may come more than once, and be right elsewhere. The parser reads nothing behind the token that it
    // complains of, so what counts is the first place with which an expression can end for the same complaint.
    for (Token const& place : places)
        if (places.size() == 1 || attempt(whole.substr(0, place.end), false).shown == shown)
            return place.begin;
    return std::nullopt;
}

bool continuesCharacter(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80; // in UTF-8
}

void showPlace(std::string const& text, std::size_t place) {
    std::size_t const begin = place == 0 ? 0 : text.rfind('\n', place - 1) + 1; // npos + 1 is 0
    std::string line = text.substr(begin, text.find('\n', begin) - begin);
    std::replace_if(line.begin(), line.end(), isControlCharacter, ' '); // a tab would set the caret off
    auto const before = line.begin() + static_cast<std::ptrdiff_t>(place - begin);
    auto const inside = std::count_if(line.begin(), before, continuesCharacter);
    std::cerr << "    " << line << "\n    " << std::string(place - begin - static_cast<std::size_t>(inside), ' ') << "^"
              << std::endl;
}

} // namespace

std::unique_ptr<ExpParser> compile(std::string const& text, bool edge, Console& console) {
    Attempt result = attempt(text, edge);
    if (result.parser)
        return std::move(result.parser);
    std::cerr << result.complaint << std::endl;
    if (std::optional<std::size_t> const place = badPlace(text, result.shown))
        showPlace(text, *place);
    else if (tokensOf(text).empty())
        console.error("the expression is empty");
    return nullptr;
}

} // namespace qztool
