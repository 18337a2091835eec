#include "tests/expression/ReferenceLanguage.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <map>
#include <ostream>
#include <string_view>
#include <utility>

namespace reference {
namespace {

constexpr std::size_t longestName = 1023;

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool startsName(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

bool endsName(char c) {
    return std::string_view(" \t\r\n!()*+,-/:<=>").find(c) != std::string_view::npos || c == '\0';
}

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r';
}

std::map<std::string, double> const constants = {
    {"released", 0.0}, {"pressed", 1.0}, {"pressed_long", 2.0}, {"high", 1.0}, {"low", 0.0}};

enum class Kind { End, Newline, Number, Name, Symbol };

struct Token {
    Kind d_kind = Kind::End;
    std::string d_text; // of Name and Symbol
    double d_number = 0.0;
    std::size_t d_begin = 0; // position of its first character
    std::size_t d_end = 0;   // and past its last one
};

// Cuts a text, with the newline at its end, into tokens.
class Scanner {
public:
    explicit Scanner(std::string const& text) : d_text(text) {}

    Token next() {
        for (;;) {
            if (skipLine())
                continue;
            if (d_at == d_text.size())
                return token(Kind::End, 0);
            char const c = d_text[d_at];
            if (c == '\n')
                return token(Kind::Newline, 1);
            if (isDigit(c) || (c == '.' && isDigit(peek(1))))
                return number();
            if (startsName(c))
                return name();
            for (char const* const two : {"<=", ">=", "==", "!=", "||", "&&"})
                if (d_text.compare(d_at, 2, two) == 0)
                    return token(Kind::Symbol, 2);
            if (std::strchr("<>!+-*/(),", c) != nullptr)
                return token(Kind::Symbol, 1);
            ++d_at; // a space, or a character without a meaning
        }
    }

private:
    char peek(std::size_t ahead) const { return d_at + ahead < d_text.size() ? d_text[d_at + ahead] : '\0'; }

    // Skips an empty line or a comment line, if one starts here.
    bool skipLine() {
        if (d_at != 0 && d_text[d_at - 1] != '\n')
            return false;
        std::size_t end = d_at;
        while (end < d_text.size() && isBlank(d_text[end]))
            ++end;
        if (end == d_text.size() || (d_text[end] != '\n' && d_text[end] != '#'))
            return false;
        d_at = d_text.find('\n', end) + 1;
        return true;
    }

    Token token(Kind kind, std::size_t length) {
        Token made;
        made.d_kind = kind;
        made.d_text = d_text.substr(d_at, length);
        made.d_begin = d_at;
        made.d_end = d_at += length;
        return made;
    }

    Token number() {
        std::size_t length = 0;
        auto const digits = [&] {
            std::size_t const before = length;
            while (isDigit(peek(length)))
                ++length;
            return length != before;
        };
        digits();
        if (peek(length) == '.') {
            ++length;
            digits();
        }
        if (peek(length) == 'e' || peek(length) == 'E') {
            std::size_t const mantissa = length++;
            if (peek(length) == '+' || peek(length) == '-')
                ++length;
            if (!digits())
                length = mantissa;
        }
        Token made = token(Kind::Number, length);
        made.d_number = std::strtod(made.d_text.c_str(), nullptr);
        return made;
    }

    Token name() {
        std::size_t length = 1;
        while (!endsName(peek(length)))
            ++length;
        if (length > longestName)
            return token(Kind::Symbol, length); // one that fits nowhere
        Token made = token(Kind::Name, length);
        auto const constant = constants.find(made.d_text);
        if (constant != constants.end()) {
            made.d_kind = Kind::Number;
            made.d_number = constant->second;
        }
        return made;
    }

    std::string const& d_text;
    std::size_t d_at = 0;
};

struct DoesNotFit {};

// What binds to what: higher levels first.
struct Infix {
    int d_level;
    char const* d_onNumbers;    // null if the symbol does not stand between numbers
    char const* d_onConditions; // null if it does not stand between conditions
};

std::map<std::string, Infix> const infixes = {
    {"||", {1, nullptr, "oplor"}},  {"&&", {1, nullptr, "opland"}},                                //
    {"<", {2, "oplt", nullptr}},    {">", {2, "opgt", nullptr}},    {"<=", {2, "ople", nullptr}},  //
    {">=", {2, "opge", nullptr}},   {"==", {2, "opdeq", "opbeq"}},  {"!=", {2, "opdne", "opbne"}}, //
    {"-", {3, "opminus", nullptr}}, {"+", {3, "opplus", nullptr}},                                 //
    {"*", {4, "opmult", nullptr}},  {"/", {4, "opdiv", nullptr}},
};
constexpr int conditionLevel = 1;
constexpr int comparisonLevel = 2;
constexpr int sumLevel = 3;
constexpr int productLevel = 4;
constexpr int signLevel = 5;

// A term, and whether it is a condition; one that is not is a number, and may still be used as a condition.
struct Part {
    Term d_term;
    bool d_condition = false;
};

class Reader {
public:
    explicit Reader(std::string const& text) : d_text(text), d_scanner(d_text) { d_token = d_scanner.next(); }

    Reading read() {
        Reading reading;
        try {
            reading.d_term = condition(conditionLevel).d_term;
            if (d_token.d_kind != Kind::Newline)
                throw DoesNotFit();
            advance();
            if (d_token.d_kind != Kind::End)
                throw DoesNotFit();
            reading.d_accepted = true;
        } catch (DoesNotFit const&) {
            auto const lines =
                std::count(d_text.begin(), d_text.begin() + static_cast<std::ptrdiff_t>(d_lastEnd), '\n');
            reading.d_errorLine = 1 + static_cast<unsigned>(lines);
            std::size_t const begin = d_lastEnd == 0 ? d_token.d_begin : d_lastBegin;
            reading.d_errorText = d_text.substr(begin, d_token.d_end - begin);
            reading.d_errorBegin = std::min(d_token.d_begin, d_text.size() - 1);
            reading.d_errorEnd = std::min(d_token.d_end, d_text.size() - 1);
        }
        return reading;
    }

private:
    void advance() {
        d_lastBegin = d_token.d_begin;
        d_lastEnd = d_token.d_end;
        d_token = d_scanner.next();
    }
    bool sees(char const* symbol) const { return d_token.d_kind == Kind::Symbol && d_token.d_text == symbol; }
    bool take(char const* symbol) {
        bool const seen = sees(symbol);
        if (seen)
            advance();
        return seen;
    }
    void expect(char const* symbol) {
        if (!take(symbol))
            throw DoesNotFit();
    }
    Infix const* infix() const {
        auto const found = d_token.d_kind == Kind::Symbol ? infixes.find(d_token.d_text) : infixes.end();
        return found != infixes.end() ? &found->second : nullptr;
    }

    static Term operation(char const* name, Term first) {
        Term term;
        term.d_operation = name;
        term.d_operands.push_back(std::move(first));
        return term;
    }
    static Term operation(char const* name, Term first, Term second) {
        Term term = operation(name, std::move(first));
        term.d_operands.push_back(std::move(second));
        return term;
    }
    static Term asCondition(Part part) {
        return part.d_condition ? std::move(part.d_term) : operation("opnz", std::move(part.d_term));
    }

    // Reads a number or condition where a condition is allowed, with all that binds at `level` or tighter. A number
    // stays one, until it is used as a condition.
    Part condition(int level) {
        Part left = singleCondition();
        for (Infix const* sign = infix(); sign != nullptr && sign->d_level >= level; sign = infix()) {
            if (sign->d_onConditions == nullptr)
                throw DoesNotFit();
            // Only conditions come here with a sign of comparison; a number has taken its own already.
            char const* const name = sign->d_onConditions;
            int const tighter = sign->d_level + 1;
            advance();
            Term first = asCondition(std::move(left));
            left = {operation(name, std::move(first), asCondition(condition(tighter))), true};
        }
        return left;
    }

    // A condition without a sign between conditions, or a number.
    Part singleCondition() {
        if (take("!"))
            return {operation("opnot", asCondition(singleCondition())), true};
        if (!sees("("))
            return comparison(number(sumLevel));
        advance();
        Part inner = condition(conditionLevel);
        expect(")");
        if (inner.d_condition)
            return inner;
        return comparison(continueNumber(std::move(inner.d_term), sumLevel));
    }

    // Takes a number's comparison with another one, if there is one.
    Part comparison(Term left) {
        Infix const* const sign = infix();
        if (sign == nullptr || sign->d_level != comparisonLevel)
            return {std::move(left), false};
        char const* const name = sign->d_onNumbers;
        advance();
        return {operation(name, std::move(left), number(sumLevel)), true};
    }

    Term number(int level) { return continueNumber(singleNumber(), level); }

    Term continueNumber(Term left, int level) {
        for (Infix const* sign = infix(); sign != nullptr && sign->d_level >= level; sign = infix()) {
            char const* const name = sign->d_onNumbers;
            int const tighter = sign->d_level + 1;
            advance();
            left = operation(name, std::move(left), number(tighter));
        }
        return left;
    }

    Term singleNumber() {
        Term term;
        if (take("-"))
            return operation("opneg", number(signLevel));
        if (take("+")) // a sign that binds like the one between numbers: + a * b is + (a * b)
            return number(productLevel);
        if (take("(")) {
            term = number(sumLevel);
            expect(")");
            return term;
        }
        if (d_token.d_kind == Kind::Number) {
            term.d_operation = "opdouble";
            term.d_number = d_token.d_number;
        } else if (d_token.d_kind == Kind::Name) {
            term.d_operation = "opsignal";
            term.d_name = d_token.d_text;
        } else {
            throw DoesNotFit();
        }
        advance();
        return term;
    }

    std::string const d_text;
    Scanner d_scanner;
    Token d_token;
    std::size_t d_lastBegin = 0; // of the token before
    std::size_t d_lastEnd = 0;
};

bool isTrue(double value) {
    return !(value == 0.0);
}

double resultOf(std::string const& operation, std::vector<double> const& x) {
    static std::map<std::string, double (*)(std::vector<double> const&)> const operations = {
        {"opnz", [](auto const& v) { return v[0]; }},
        {"opnot", [](auto const& v) { return isTrue(v[0]) ? 0.0 : 1.0; }},
        {"opneg", [](auto const& v) { return -v[0]; }},
        {"opland", [](auto const& v) { return isTrue(v[0]) && isTrue(v[1]) ? 1.0 : 0.0; }},
        {"oplor", [](auto const& v) { return isTrue(v[0]) || isTrue(v[1]) ? 1.0 : 0.0; }},
        {"opdeq", [](auto const& v) { return v[0] == v[1] ? 1.0 : 0.0; }},
        {"opdne", [](auto const& v) { return v[0] == v[1] ? 0.0 : 1.0; }},
        {"opbeq", [](auto const& v) { return v[0] == (isTrue(v[1]) ? 1.0 : 0.0) ? 1.0 : 0.0; }},
        {"opbne", [](auto const& v) { return v[0] == (isTrue(v[1]) ? 1.0 : 0.0) ? 0.0 : 1.0; }},
        {"oplt", [](auto const& v) { return v[0] < v[1] ? 1.0 : 0.0; }},
        {"opgt", [](auto const& v) { return v[0] > v[1] ? 1.0 : 0.0; }},
        {"ople", [](auto const& v) { return v[0] <= v[1] ? 1.0 : 0.0; }},
        {"opge", [](auto const& v) { return v[0] >= v[1] ? 1.0 : 0.0; }},
        {"opplus", [](auto const& v) { return v[0] + v[1]; }},
        {"opminus", [](auto const& v) { return v[0] - v[1]; }},
        {"opmult", [](auto const& v) { return v[0] * v[1]; }},
        {"opdiv", [](auto const& v) { return v[0] / v[1]; }},
    };
    return operations.at(operation)(x);
}

std::optional<double> valueOf(Term const& term, Signals const& signals) {
    if (term.d_operation == "opdouble")
        return term.d_number;
    if (term.d_operation == "opsignal")
        return signals(term.d_name);
    std::vector<double> operands;
    for (Term const& operand : term.d_operands) {
        std::optional<double> const value = valueOf(operand, signals);
        if (!value)
            return {};
        operands.push_back(*value);
    }
    return resultOf(term.d_operation, operands);
}

void append(Program& program, Term const& term) {
    for (Term const& operand : term.d_operands)
        append(program, operand);
    program.push_back({term.d_operation, term.d_number, term.d_name});
}

} // namespace

Reading read(std::string const& text) {
    return Reader(text + '\n').read();
}

bool operator==(Instruction const& a, Instruction const& b) {
    return a.d_operation == b.d_operation && a.d_name == b.d_name &&
           std::memcmp(&a.d_number, &b.d_number, sizeof a.d_number) == 0;
}

Program programOf(Term const& term) {
    Program program;
    append(program, term);
    return program;
}

std::string print(Program const& program) {
    std::string text;
    for (Instruction const& each : program) {
        text += text.empty() ? "" : " ";
        text += each.d_operation == "opdouble"   ? print(each.d_number)
                : each.d_operation == "opsignal" ? each.d_name
                                                 : each.d_operation;
    }
    return text;
}

std::ostream& operator<<(std::ostream& out, Program const& program) {
    return out << print(program);
}

double evaluate(Term const& term, Signals const& signals) {
    return valueOf(term, signals).value_or(0.0);
}

std::string print(double number) {
    if (std::isnan(number))
        return "nan";
    char text[32];
    return {text, std::to_chars(text, text + sizeof text, number).ptr};
}

} // namespace reference
