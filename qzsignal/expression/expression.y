// The grammar of the expression language. Each rule appends its instruction to the program in postfix order.
%define api.prefix {exp}
%define api.pure full
%define api.value.type {union qzsignal::TokenValue}
%define parse.trace
%parse-param {void* parser}
%lex-param {void* parser}

// After an exp, a newline or ")" may end it as it is or as a condition. Both conflicts are settled by shifting: a plain
// formula stays a number, inside parentheses as well.
%expect 2

%code requires {
#include "qzsignal/expression/TokenSource.h"
}

%code top {
// The generator's own names and words are younger than those that readers of the trace know.
#define YYFPRINTF qzsignal::tracePart
}

%code {
#include "qzsignal/expression/ExpParser.h"

#include <cstdio>
#include <cstring>

namespace qzsignal {

static char const* traceName(char const* name) {
    if (std::strcmp(name, "\"end of file\"") == 0)
        return "$end";
    return std::strcmp(name, "\"invalid token\"") == 0 ? "$undefined" : name;
}

static void tracePart(std::FILE* out, char const* text) {
    std::fputs(std::strcmp(text, "Reading a token\n") == 0 ? "Reading a token: " : text, out);
}

static void tracePart(std::FILE* out, char const*, char const* kind, char const* name) {
    std::fprintf(out, "%s %s (", kind, traceName(name));
}

template <typename... Numbers>
static void tracePart(std::FILE* out, char const* format, Numbers... numbers) {
    std::fprintf(out, format, numbers...);
}

} // namespace qzsignal

// The generator hands the parse parameter to the error report as well, which has no use for it.
static void experror(void*, char const* message) {
    experror(message);
}

static ExpParser& program(void* parser) {
    return *static_cast<ExpParser*>(parser);
}
}

%token <d_number> NUM
%token <d_name> STRING
%token RELEASED PRESSED PRESSED_LONG    // states of a key
%token HIGH LOW                         // levels of a digital input

// Lowest first.
%precedence D2BOOL                      // an exp becomes a condition only if nothing can continue it
%left LAND LOR                          // of one level: a && b || k is (a && b) || k
%left '<' '>' NE EQ GE LE
%left '-' '+'
%left '*' '/'
%precedence '!' NEG                     // prefix operators
%precedence '^'                         // kept for a power operator; no rule uses it

%%

line: boolexp '\n'
    | exp '\n'
    ;

boolexp: exp %prec D2BOOL               { program(parser).add(&ExpParser::opnz); }
    | exp NE exp                        { program(parser).add(&ExpParser::opdne); }
    | exp LE exp                        { program(parser).add(&ExpParser::ople); }
    | exp '<' exp                       { program(parser).add(&ExpParser::oplt); }
    | exp GE exp                        { program(parser).add(&ExpParser::opge); }
    | exp '>' exp                       { program(parser).add(&ExpParser::opgt); }
    | exp EQ exp                        { program(parser).add(&ExpParser::opdeq); }
    | '!' boolexp                       { program(parser).add(&ExpParser::opnot); }
    | boolexp LOR boolexp               { program(parser).add(&ExpParser::oplor); }
    | boolexp LAND boolexp              { program(parser).add(&ExpParser::opland); }
    | boolexp EQ boolexp                { program(parser).add(&ExpParser::opbeq); }
    | boolexp NE boolexp                { program(parser).add(&ExpParser::opbne); }
    | '(' boolexp ')'
    ;

exp: CONST
    | NUM                               { program(parser).add($NUM); }
    | STRING                            { program(parser).add($STRING); }
    | exp '+' exp                       { program(parser).add(&ExpParser::opplus); }
    | exp '-' exp                       { program(parser).add(&ExpParser::opminus); }
    | exp '*' exp                       { program(parser).add(&ExpParser::opmult); }
    | exp '/' exp                       { program(parser).add(&ExpParser::opdiv); }
    | '-' exp %prec NEG                 { program(parser).add(&ExpParser::opneg); }
    | '+' exp
    | '(' exp ')'
    ;

CONST: RELEASED                         { program(parser).add(0.0); }
    | PRESSED                           { program(parser).add(1.0); }
    | PRESSED_LONG                      { program(parser).add(2.0); }
    | HIGH                              { program(parser).add(1.0); }
    | LOW                               { program(parser).add(0.0); }
    ;
