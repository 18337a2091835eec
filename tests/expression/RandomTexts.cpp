#include "tests/expression/RandomTexts.h"

#include <cctype>

namespace {

char const* const constants[] = {"released", "pressed", "pressed_long", "high", "low"};
char const* const arithmetic[] = {"+", "-", "*", "/"};
char const* const comparisons[] = {"<", ">", "<=", ">=", "==", "!="};
char const* const junctions[] = {"&&", "||", "==", "!="};
char const* const symbols[] = {"<", ">", "<=", ">=", "==", "!=", "&&", "||", "+", "-", "*", "/", "!", "(", ")"};

// What no rule of the language uses, what looks like something else, and what ends a line.
char const* const oddities[] = {",",    "=",       "&",    "|",  "^",    "#",        ":",    "\"",    "%",    ".",
                                "?",    "[",       "]",    "~",  "\x80", "\xff",     "\v",   "\f",    "\x7f", "\x01",
                                "\n",   "\n# a\n", "\n\n", "\r", "=>",   "===",      "!==",  "&&&",   "|||",  "<<",
                                "0x1F", "1e",      "1e+",  "..", "1..2", "Released", "lowx", "high.", "e5",   "_"};

// What may stand between two words without any effect on them, and what nearly may.
char const* const gaps[] = {"", "", "", "", " ", " ", " ", "  ", "\t", "\r", " \t ", "=", ":", "\x80", " ^ "};

char const* const beginnings[] = {"\n", " \n", "# a && b\n", "\t # (\n\n", "#\n", " ", "\n\n \r\n"};
char const* const endings[] = {"\n", " \n\n", "\n# end", "\n  # end\n", " # end", "\r"};

} // namespace

std::string RandomTexts::next() {
    d_words.clear();
    std::size_t const kind = number(10);
    if (kind == 0) {
        for (std::size_t i = number(12); i > 0; --i)
            addWord(oneIn(3) ? oddWord() : oneIn(2) ? name() : oneIn(2) ? numeral() : pick(symbols));
        return join();
    }
    if (oneIn(3))
        addNumber(1 + static_cast<int>(number(5)));
    else
        addCondition(1 + static_cast<int>(number(5)));
    if (kind <= 2)
        for (std::size_t i = 1 + number(2); i > 0; --i)
            d_words.insert(d_words.begin() + static_cast<std::ptrdiff_t>(number(d_words.size() + 1)),
                           oneIn(2) ? oddWord() : pick(symbols));
    if (kind == 3 && d_words.size() > 1)
        d_words.erase(d_words.begin() + static_cast<std::ptrdiff_t>(number(d_words.size())));
    std::string text = join();
    if (kind == 4)
        mutate(text);
    return text;
}

void RandomTexts::addNumber(int depth) {
    switch (depth <= 0 ? number(3) : number(8)) {
    case 0:
        addWord(numeral());
        break;
    case 1:
        addWord(oneIn(4) ? pick(constants) : name());
        break;
    case 2:
        addWord(name());
        break;
    case 3:
        addWord(oneIn(3) ? "+" : "-");
        addNumber(depth - 1);
        break;
    case 4:
        addWord("(");
        addNumber(depth - 1);
        addWord(")");
        break;
    default:
        addNumber(depth - 1);
        addWord(pick(arithmetic));
        addNumber(depth - 1);
    }
}

void RandomTexts::addCondition(int depth) {
    switch (depth <= 0 ? number(3) : number(9)) {
    case 0:
        addNumber(depth - 1);
        break;
    case 1:
    case 2:
        addNumber(depth - 2);
        addWord(pick(comparisons));
        addNumber(depth - 2);
        break;
    case 3:
        addWord("!");
        addCondition(depth - 1);
        break;
    case 4:
    case 5:
        addWord("(");
        addCondition(depth - 1);
        addWord(")");
        break;
    default:
        addCondition(depth - 1);
        addWord(pick(junctions));
        addCondition(depth - 1);
    }
}

std::string RandomTexts::numeral() {
    auto const digits = [this](std::size_t most) {
        std::string text;
        for (std::size_t i = 1 + number(most); i > 0; --i)
            text += static_cast<char>('0' + number(10));
        return text;
    };
    switch (number(8)) {
    case 0:
        return digits(3) + ".";
    case 1:
        return "." + digits(20);
    case 2:
        return digits(25) + "." + digits(25);
    case 3:
        return digits(3) + (oneIn(2) ? "e" : "E") + (oneIn(2) ? "" : oneIn(2) ? "-" : "+") + digits(3);
    case 4:
        return (oneIn(2) ? digits(2) + "." : "." + digits(2)) + "E" + (oneIn(2) ? "-" : "") + digits(3);
    case 5:
        return digits(30);
    default:
        return std::to_string(number(4));
    }
}

std::string RandomTexts::name() {
    if (!oneIn(30))
        return pick(d_names);
    static std::string const first = "abcxyzABCXYZ_";
    static std::string const further = "abz019._&|^#;\"'[]{}\\@?%~$\x80\xc3\xbc\xff\v\x7f";
    std::string text(1, pick(first));
    for (std::size_t i = number(8); i > 0; --i)
        text += pick(further);
    return text;
}

std::string RandomTexts::oddWord() {
    return oneIn(10) ? std::string(1, static_cast<char>(1 + number(255))) : pick(oddities);
}

std::string RandomTexts::join() {
    std::string text;
    if (oneIn(10))
        text = pick(beginnings);
    for (std::string const& word : d_words) {
        // Mostly what keeps two words apart that would otherwise be one.
        bool const sticks = !text.empty() && std::string("&|=.0123456789").find(word[0]) != std::string::npos;
        text += sticks && !oneIn(20) ? " " : oneIn(40) ? pick(gaps) : gaps[number(11)];
        if (!text.empty() && std::isalnum(static_cast<unsigned char>(word[0])) && !oneIn(20))
            text += std::isalnum(static_cast<unsigned char>(text.back())) ? " " : "";
        text += word;
    }
    if (oneIn(10))
        text += pick(endings);
    return text;
}

void RandomTexts::mutate(std::string& text) {
    for (std::size_t i = 1 + number(3); i > 0 && !text.empty(); --i) {
        std::size_t const at = number(text.size());
        switch (number(4)) {
        case 0:
            text.erase(at, 1);
            break;
        case 1:
            text[at] = static_cast<char>(1 + number(255));
            break;
        case 2:
            text.insert(at, 1, pick(std::string("()!<>=&|+-*/ \n#,.e")));
            break;
        default:
            text.insert(number(text.size()), text.substr(at, 1 + number(6)));
        }
    }
}
